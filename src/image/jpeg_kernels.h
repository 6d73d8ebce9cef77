#pragma once

#include <cstddef>
#include <cstdint>

namespace brisk::image {

// The two inner loops of the JPEG decoder. Every implementation gives the same bits.
struct JpegKernels {
  // Inverse DCT of 64 dequantised coefficients in natural order into 8 x 8 samples. 32-bit
  // arithmetic that wraps, shifts that truncate.
  void (*inverseDct)(const int32_t* coefficients, uint8_t* samples, size_t stride);
  // One row of pixels, blue, green, red, from one row of each plane. `width` is a multiple of 8;
  // the doubled form has one chroma sample for two pixels.
  void (*convertRow)(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, size_t width,
                     uint8_t* pixels);
  void (*convertRowDoubled)(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, size_t width,
                            uint8_t* pixels);
};

// The fastest that this processor runs.
const JpegKernels& FastestJpegKernels();
// The plain one, which the others are measured against.
const JpegKernels& PortableJpegKernels();

}  // namespace brisk::image
