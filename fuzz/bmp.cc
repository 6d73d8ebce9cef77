// Any bytes as a BMP file.
#include "image/bmp.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "image/picture.h"
#include "tests/support/memory_file.h"
#include "tests/support/picture_services.h"

// The messages of rejected files would fill the terminal.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  return std::freopen("/dev/null", "w", stdout) == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace brisk::image;
  const PictureServices services = brisk::TestPictureServices();
  brisk::MemoryFile file(std::vector<uint8_t>(data, data + size));
  const auto header = ReadBmpHeader(file);
  PictureBuffer picture;
  if (!header || !picture.Allocate(services.system, header->width, header->height)) return 0;
  ReadBmpPixels(file, picture, services.log);
  picture.ConvertToYCbCr();
  return 0;
}
