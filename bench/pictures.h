#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace brisk {

// A picture as PPM files and their tools have it: red, green, blue, top row first.
struct RgbPicture {
  size_t width = 0;
  size_t height = 0;
  std::vector<uint8_t> bytes;

  RgbPicture() = default;
  RgbPicture(size_t w, size_t h) : width(w), height(h), bytes(3 * w * h) {}
  uint8_t* At(size_t x, size_t y) { return bytes.data() + 3 * (y * width + x); }
  const uint8_t* At(size_t x, size_t y) const { return bytes.data() + 3 * (y * width + x); }
};

// Something like a photo: soft structures of several sizes, grain, and a few hard edges.
inline RgbPicture MakePhoto(size_t width, size_t height, uint32_t seed = 1) {
  std::mt19937 random(seed);
  std::normal_distribution<float> normal;
  RgbPicture picture(width, height);
  std::vector<float> sum(width * height * 3, 128.0F);
  for (const size_t scale : {256, 64, 16, 6}) {
    const size_t columns = width / scale + 2;
    std::vector<float> grid(columns * (height / scale + 2) * 3);
    for (float& value : grid) value = normal(random) * std::sqrt(static_cast<float>(scale)) * 3;
    for (size_t y = 0; y < height; ++y) {
      const float fy = static_cast<float>(y % scale) / static_cast<float>(scale);
      for (size_t x = 0; x < width; ++x) {
        const float fx = static_cast<float>(x % scale) / static_cast<float>(scale);
        const float* corner = &grid[(y / scale * columns + x / scale) * 3];
        for (size_t c = 0; c < 3; ++c) {
          const float top = corner[c] * (1 - fx) + corner[c + 3] * fx;
          const float bottom =
              corner[c + 3 * columns] * (1 - fx) + corner[c + 3 * columns + 3] * fx;
          sum[(y * width + x) * 3 + c] += top * (1 - fy) + bottom * fy;
        }
      }
    }
  }
  for (size_t y = 0; y < height; ++y) {
    for (size_t x = 0; x < width; ++x) {
      const float grain = normal(random) * 3;
      const float edge = (y / 16) % 9 == 4 && x / 7 % 2 == 1 ? 70.0F : 0.0F;
      for (size_t c = 0; c < 3; ++c) {
        const float value = sum[(y * width + x) * 3 + c] + grain + edge;
        picture.At(x, y)[c] = static_cast<uint8_t>(std::clamp(value, 0.0F, 255.0F));
      }
    }
  }
  return picture;
}

}  // namespace brisk
