// Any bytes as a JPEG file. Pictures of more than a megapixel are left out: they only take time.
#include "image/jpeg.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "image/jpeg_headers.h"
#include "tests/support/picture_services.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace brisk::image;
  JpegHeaders headers;
  const JpegStatus headerStatus = ReadJpegHeaders({data, size}, headers);
  if (uint64_t{headers.width} * headers.height > uint64_t{1} << 20) return 0;
  DecodeRequest request;
  DecodeJpeg(brisk::TestPictureServices(), request, data, size);
  const bool decoded = request.status == JpegStatus::kDecoded;
  if (decoded != (request.pixels != nullptr)) std::abort();
  if (headerStatus != JpegStatus::kDecoded && request.status != headerStatus) std::abort();
  return 0;
}
