// Decodes a JPEG file into a PPM on the standard output, as djpeg does: for comparing whole
// processes.
#include <cstdio>
#include <vector>

#include "image/jpeg.h"
#include "tests/support/picture_services.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: jpeg_decode FILE.jpg > FILE.ppm\n", stderr);
    return 2;
  }
  brisk::image::DecodeRequest request;
  request.path = argv[1];
  brisk::image::DecodeJpeg(brisk::TestPictureServices(), request);
  if (request.status != brisk::image::JpegStatus::kDecoded) return 1;
  std::printf("P6\n%u %u\n255\n", request.imageWidth, request.imageHeight);
  std::vector<unsigned char> row(size_t{3} * request.imageWidth);
  for (size_t y = 0; y < request.imageHeight; ++y) {
    const unsigned char* pixel = request.pixels.get() + y * request.stride;
    for (size_t x = 0; x < row.size(); x += 3, pixel += 3) {
      row[x] = pixel[2];
      row[x + 1] = pixel[1];
      row[x + 2] = pixel[0];
    }
    std::fwrite(row.data(), 1, row.size(), stdout);
  }
  return 0;
}
