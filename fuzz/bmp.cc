// Any bytes as a BMP file.
#include "image/bmp.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "image/picture.h"
#include "tests/support/memory_file.h"

// The messages of rejected files would fill the terminal.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  return std::freopen("/dev/null", "w", stdout) == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace brisk::image;
  brisk::MemoryFile file(std::vector<uint8_t>(data, data + size));
  const auto header = ReadBmpHeader(file);
  PictureBuffer picture;
  if (!header || !picture.Allocate(header->width, header->height)) return 0;
  ReadBmpPixels(file, picture);
  picture.ConvertToYCbCr();
  return 0;
}
