#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace brisk::image {

// What a chroma sample adds to the luma, truncated toward zero.
using ColourTable = std::array<int16_t, 256>;

constexpr ColourTable MakeColourTable(double factor) {
  ColourTable table{};
  for (int c = 0; c < 256; ++c) {
    table[static_cast<size_t>(c)] = static_cast<int16_t>(factor * (c - 128));
  }
  return table;
}

inline constexpr ColourTable kCrToRed = MakeColourTable(1.402);
inline constexpr ColourTable kCbToGreen = MakeColourTable(-0.34414);
inline constexpr ColourTable kCrToGreen = MakeColourTable(-0.71414);
inline constexpr ColourTable kCbToBlue = MakeColourTable(1.772);

// Rows of samples into pixels of three bytes: blue, green, red. The doubled form has one chroma
// sample for two pixels; its width is even.
void ConvertRow(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, size_t width,
                uint8_t* pixels);
void ConvertRowDoubled(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, size_t width,
                       uint8_t* pixels);

}  // namespace brisk::image
