#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
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

inline RgbPicture MakeNoise(size_t width, size_t height, uint32_t seed = 1) {
  std::mt19937 random(seed);
  RgbPicture picture(width, height);
  for (uint8_t& byte : picture.bytes) byte = static_cast<uint8_t>(random());
  return picture;
}

inline void WritePpm(const std::string& path, const RgbPicture& picture) {
  std::ofstream file(path, std::ios::binary);
  file << "P6\n" << picture.width << ' ' << picture.height << "\n255\n";
  file.write(reinterpret_cast<const char*>(picture.bytes.data()),
             static_cast<std::streamsize>(picture.bytes.size()));
}

inline RgbPicture ReadPpm(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string magic;
  size_t width = 0;
  size_t height = 0;
  size_t maximum = 0;
  file >> magic >> width >> height >> maximum;
  file.get();
  RgbPicture picture(width, height);
  file.read(reinterpret_cast<char*>(picture.bytes.data()),
            static_cast<std::streamsize>(picture.bytes.size()));
  if (!file || magic != "P6") return {};
  return picture;
}

struct PictureDifference {
  std::array<int, 3> largest{};  // per channel: red, green, blue
  std::array<double, 3> mean{};
};

inline PictureDifference Compare(const RgbPicture& a, const RgbPicture& b) {
  PictureDifference difference;
  for (size_t i = 0; i < a.bytes.size(); ++i) {
    const int distance = std::abs(int{a.bytes[i]} - int{b.bytes[i]});
    difference.largest[i % 3] = std::max(difference.largest[i % 3], distance);
    difference.mean[i % 3] += distance;
  }
  for (double& mean : difference.mean) mean /= static_cast<double>(a.bytes.size()) / 3;
  return difference;
}

}  // namespace brisk
