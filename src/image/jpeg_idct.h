#pragma once

#include <cstddef>
#include <cstdint>

namespace brisk::image {

// Loeffler, Ligtenberg and Moschytz, "Practical fast 1-D DCT algorithms with 11 multiplications",
// in 13-bit fixed point. These stand for the factors named behind them.
namespace dct {
constexpr int32_t k0_298631336 = 2446;
constexpr int32_t k0_390180644 = 3196;
constexpr int32_t k0_541196100 = 4433;
constexpr int32_t k0_765366865 = 6270;
constexpr int32_t k0_899976223 = 7373;
constexpr int32_t k1_175875602 = 9633;
constexpr int32_t k1_501321110 = 12299;
constexpr int32_t k1_847759065 = 15137;
constexpr int32_t k1_961570560 = 16069;
constexpr int32_t k2_053119869 = 16819;
constexpr int32_t k2_562915447 = 20995;
constexpr int32_t k3_072711026 = 25172;
constexpr int kColumnScaleBits = 13;  // inputs 0 and 4 of a column
constexpr int kRowScaleBits = 2;      // inputs 0 and 4 of a row
constexpr int kRowInputShift = 11;    // the other inputs of a row
constexpr int kOutputShift = 18;
constexpr int kFlatRowShift = kOutputShift - kRowScaleBits;
constexpr int32_t kLevelShift = 128;
}  // namespace dct

// 8 x 8 coefficients in natural order into samples 0 to 255: columns first, then rows.
void InverseDct(const int32_t* coefficients, uint8_t* samples, size_t stride);
// The same for a block whose only coefficient is the first.
void InverseDctOfDc(int32_t coefficient, uint8_t* samples, size_t stride);

}  // namespace brisk::image
