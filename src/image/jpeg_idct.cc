#include "image/jpeg_idct.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace brisk::image {
namespace {

// Unsigned throughout: damaged data overflows, and unsigned arithmetic wraps where signed may not.
using Vector = std::array<uint32_t, 8>;

constexpr uint32_t Times(uint32_t value, int32_t factor) {
  return value * static_cast<uint32_t>(factor);
}

constexpr uint32_t ShiftRight(uint32_t value, int bits) {
  return static_cast<uint32_t>(static_cast<int32_t>(value) >> bits);
}

// One dimension: the even part from inputs 0, 2, 4, 6, the odd one from 1, 3, 5, 7, then the
// butterfly of both.
Vector Transform(const Vector& in, int scaleBits) {
  uint32_t z1 = Times(in[2] + in[6], dct::k0_541196100);
  const uint32_t tmp2 = z1 - Times(in[6], dct::k1_847759065);
  const uint32_t tmp3 = z1 + Times(in[2], dct::k0_765366865);
  const uint32_t tmp0 = (in[0] + in[4]) << scaleBits;
  const uint32_t tmp1 = (in[0] - in[4]) << scaleBits;
  const uint32_t tmp10 = tmp0 + tmp3;
  const uint32_t tmp13 = tmp0 - tmp3;
  const uint32_t tmp11 = tmp1 + tmp2;
  const uint32_t tmp12 = tmp1 - tmp2;

  z1 = Times(in[7] + in[1], -dct::k0_899976223);
  const uint32_t z2 = Times(in[5] + in[3], -dct::k2_562915447);
  const uint32_t z5 = Times(in[7] + in[3] + in[5] + in[1], dct::k1_175875602);
  const uint32_t z3 = Times(in[7] + in[3], -dct::k1_961570560) + z5;
  const uint32_t z4 = Times(in[5] + in[1], -dct::k0_390180644) + z5;
  const uint32_t t0 = Times(in[7], dct::k0_298631336) + z1 + z3;
  const uint32_t t1 = Times(in[5], dct::k2_053119869) + z2 + z4;
  const uint32_t t2 = Times(in[3], dct::k3_072711026) + z2 + z3;
  const uint32_t t3 = Times(in[1], dct::k1_501321110) + z1 + z4;

  return {tmp10 + t3, tmp11 + t2, tmp12 + t1, tmp13 + t0,
          tmp13 - t0, tmp12 - t1, tmp11 - t2, tmp10 - t3};
}

// The short cut for flat columns and rows is part of the arithmetic: where sums overflow, it gives
// other bits than the whole transform.
bool OnlyFirst(const Vector& in) {
  return (in[1] | in[2] | in[3] | in[4] | in[5] | in[6] | in[7]) == 0;
}

Vector TransformColumn(const int32_t* coefficients) {
  Vector in;
  for (size_t i = 0; i < 8; ++i) in[i] = static_cast<uint32_t>(coefficients[8 * i]);
  if (OnlyFirst(in)) {
    in.fill(in[0] << dct::kColumnScaleBits);
    return in;
  }
  return Transform(in, dct::kColumnScaleBits);
}

Vector TransformRow(Vector in) {
  if (OnlyFirst(in)) {
    in.fill(ShiftRight(in[0], dct::kFlatRowShift));
    return in;
  }
  for (const unsigned i : {1, 2, 3, 5, 6, 7}) in[i] = ShiftRight(in[i], dct::kRowInputShift);
  in = Transform(in, dct::kRowScaleBits);
  for (uint32_t& value : in) value = ShiftRight(value, dct::kOutputShift);
  return in;
}

uint8_t Sample(uint32_t value) {
  return static_cast<uint8_t>(
      std::clamp(static_cast<int32_t>(value) + dct::kLevelShift, int32_t{0}, int32_t{255}));
}

}  // namespace

void InverseDct(const int32_t* coefficients, uint8_t* samples, size_t stride) {
  std::array<Vector, 8> rows;
  for (unsigned x = 0; x < 8; ++x) {
    const Vector column = TransformColumn(coefficients + x);
    for (unsigned y = 0; y < 8; ++y) rows[y][x] = column[y];
  }
  for (unsigned y = 0; y < 8; ++y) {
    const Vector row = TransformRow(rows[y]);
    for (unsigned x = 0; x < 8; ++x) samples[y * stride + x] = Sample(row[x]);
  }
}

void InverseDctOfDc(int32_t coefficient, uint8_t* samples, size_t stride) {
  const uint32_t column = static_cast<uint32_t>(coefficient) << dct::kColumnScaleBits;
  const uint8_t sample = Sample(ShiftRight(column, dct::kFlatRowShift));
  for (unsigned y = 0; y < 8; ++y) std::memset(samples + y * stride, sample, 8);
}

}  // namespace brisk::image
