#pragma once

#include <cstddef>
#include <cstdint>

namespace brisk::image {

// The kernels for processors with AVX2. To be called on no others.
void InverseDctAvx2(const int32_t* coefficients, uint8_t* samples, size_t stride);
void ConvertRowAvx2(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, size_t width,
                    uint8_t* pixels);
void ConvertRowDoubledAvx2(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, size_t width,
                           uint8_t* pixels);

}  // namespace brisk::image
