#pragma once

#include <cstdint>

#include "base/debug.h"
#include "image/zeroed_array.h"
#include "platform/files.h"
#include "platform/message_queue.h"
#include "platform/system.h"

namespace brisk::image {

// What reading pictures asks of the system and of the log.
struct PictureServices {
  Files& files;
  System& system;
  MessageQueue& messages;
  CDebug& log;
};

// The bytes of a cell, lowest first: blue, green, red, or after the conversion Cb, Y, Cr. The
// fourth byte is 0 and means nothing.
constexpr uint32_t MakeCell(uint8_t blue, uint8_t green, uint8_t red) {
  return blue | uint32_t{green} << 8 | uint32_t{red} << 16;
}
constexpr uint8_t BlueOf(uint32_t cell) { return static_cast<uint8_t>(cell); }
constexpr uint8_t GreenOf(uint32_t cell) { return static_cast<uint8_t>(cell >> 8); }
constexpr uint8_t RedOf(uint32_t cell) { return static_cast<uint8_t>(cell >> 16); }

// ITU-R BT.601, studio range, coefficients scaled by 256 and each result rounded to nearest. The
// offset of 16.5 or 128.5 makes every sum positive, so that a shift is the rounding; over all
// colours the results stay within 16 to 235 (Y) and 16 to 240 (Cb, Cr) without a clamp.
constexpr uint32_t RgbToYCbCr(uint32_t cell) {
  const int32_t blue = BlueOf(cell);
  const int32_t green = GreenOf(cell);
  const int32_t red = RedOf(cell);
  constexpr int32_t kLumaOffset = 16 * 256 + 128;
  constexpr int32_t kChromaOffset = 128 * 256 + 128;
  const int32_t y = (66 * red + 129 * green + 25 * blue + kLumaOffset) >> 8;
  const int32_t cb = (-38 * red - 74 * green + 112 * blue + kChromaOffset) >> 8;
  const int32_t cr = (112 * red - 94 * green - 18 * blue + kChromaOffset) >> 8;
  return static_cast<uint32_t>(cb | y << 8 | cr << 16);
}

// The one form in which pictures reach the controller: width x height cells, top row first. Cells
// that nobody writes are black.
class PictureBuffer {
 public:
  PictureBuffer() = default;

  // False when either size is below 1 or the memory cannot be had; the buffer is then empty.
  bool Allocate(System& system, int32_t width, int32_t height);
  int32_t width() const { return width_; }
  int32_t height() const { return height_; }
  uint32_t* Row(int32_t y) { return cells_.get() + Offset(y); }
  const uint32_t* Row(int32_t y) const { return cells_.get() + Offset(y); }
  // Every cell, in place; once.
  void ConvertToYCbCr();

 private:
  size_t Offset(int32_t y) const { return static_cast<size_t>(y) * static_cast<size_t>(width_); }

  ZeroedArray<uint32_t> cells_;
  int32_t width_ = 0;
  int32_t height_ = 0;
};

}  // namespace brisk::image
