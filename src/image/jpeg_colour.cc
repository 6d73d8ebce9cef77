#include "image/jpeg_colour.h"

#include <algorithm>

namespace brisk::image {
namespace {

struct Chroma {
  int blue;
  int green;
  int red;
};

Chroma ChromaOf(uint8_t cb, uint8_t cr) {
  return {kCbToBlue[cb], kCbToGreen[cb] + kCrToGreen[cr], kCrToRed[cr]};
}

uint8_t Clamp(int value) { return static_cast<uint8_t>(std::clamp(value, 0, 255)); }

void StorePixel(uint8_t y, const Chroma& chroma, uint8_t* pixel) {
  pixel[0] = Clamp(y + chroma.blue);
  pixel[1] = Clamp(y + chroma.green);
  pixel[2] = Clamp(y + chroma.red);
}

}  // namespace

void ConvertRow(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, size_t width,
                uint8_t* pixels) {
  for (size_t x = 0; x < width; ++x) StorePixel(y[x], ChromaOf(cb[x], cr[x]), pixels + 3 * x);
}

void ConvertRowDoubled(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, size_t width,
                       uint8_t* pixels) {
  for (size_t x = 0; x < width; x += 2) {
    const Chroma chroma = ChromaOf(cb[x / 2], cr[x / 2]);
    StorePixel(y[x], chroma, pixels + 3 * x);
    StorePixel(y[x + 1], chroma, pixels + 3 * x + 3);
  }
}

}  // namespace brisk::image
