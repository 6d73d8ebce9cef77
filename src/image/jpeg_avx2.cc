#include "image/jpeg_avx2.h"

#include <immintrin.h>

#include "image/jpeg_colour.h"
#include "image/jpeg_idct.h"

// The kernels of jpeg_idct.cc and jpeg_colour.cc in vectors of 256 bits, with the same results bit
// for bit.

// Per function, not per file: nothing that other files share may be compiled for AVX2.
#define BRISK_AVX2 __attribute__((target("avx2")))
#define BRISK_AVX2_INLINE __attribute__((target("avx2"), always_inline)) inline

namespace brisk::image {
namespace {

using Vectors = __m256i[8];

BRISK_AVX2_INLINE __m256i Times(__m256i value, int32_t factor) {
  return _mm256_mullo_epi32(value, _mm256_set1_epi32(factor));
}
BRISK_AVX2_INLINE __m256i Add(__m256i a, __m256i b) { return _mm256_add_epi32(a, b); }
BRISK_AVX2_INLINE __m256i Sub(__m256i a, __m256i b) { return _mm256_sub_epi32(a, b); }

// Eight one-dimensional transforms at once, one per lane.
template <int kScaleBits>
BRISK_AVX2_INLINE void Transform(Vectors& v) {
  const __m256i even = Times(Add(v[2], v[6]), dct::k0_541196100);
  const __m256i tmp2 = Sub(even, Times(v[6], dct::k1_847759065));
  const __m256i tmp3 = Add(even, Times(v[2], dct::k0_765366865));
  const __m256i tmp0 = _mm256_slli_epi32(Add(v[0], v[4]), kScaleBits);
  const __m256i tmp1 = _mm256_slli_epi32(Sub(v[0], v[4]), kScaleBits);
  const __m256i tmp10 = Add(tmp0, tmp3);
  const __m256i tmp13 = Sub(tmp0, tmp3);
  const __m256i tmp11 = Add(tmp1, tmp2);
  const __m256i tmp12 = Sub(tmp1, tmp2);

  const __m256i z1 = Times(Add(v[7], v[1]), -dct::k0_899976223);
  const __m256i z2 = Times(Add(v[5], v[3]), -dct::k2_562915447);
  const __m256i sum73 = Add(v[7], v[3]);
  const __m256i sum51 = Add(v[5], v[1]);
  const __m256i z5 = Times(Add(sum73, sum51), dct::k1_175875602);
  const __m256i z3 = Add(Times(sum73, -dct::k1_961570560), z5);
  const __m256i z4 = Add(Times(sum51, -dct::k0_390180644), z5);
  const __m256i t0 = Add(Times(v[7], dct::k0_298631336), Add(z1, z3));
  const __m256i t1 = Add(Times(v[5], dct::k2_053119869), Add(z2, z4));
  const __m256i t2 = Add(Times(v[3], dct::k3_072711026), Add(z2, z3));
  const __m256i t3 = Add(Times(v[1], dct::k1_501321110), Add(z1, z4));

  v[0] = Add(tmp10, t3);
  v[7] = Sub(tmp10, t3);
  v[1] = Add(tmp11, t2);
  v[6] = Sub(tmp11, t2);
  v[2] = Add(tmp12, t1);
  v[5] = Sub(tmp12, t1);
  v[3] = Add(tmp13, t0);
  v[4] = Sub(tmp13, t0);
}

// Rows become columns: 8 x 8 values of 32 bits.
BRISK_AVX2_INLINE void Transpose(Vectors& v) {
  Vectors a;
  for (int i = 0; i < 8; i += 2) {
    a[i] = _mm256_unpacklo_epi32(v[i], v[i + 1]);
    a[i + 1] = _mm256_unpackhi_epi32(v[i], v[i + 1]);
  }
  Vectors b;
  for (int i = 0; i < 8; i += 4) {
    b[i] = _mm256_unpacklo_epi64(a[i], a[i + 2]);
    b[i + 1] = _mm256_unpackhi_epi64(a[i], a[i + 2]);
    b[i + 2] = _mm256_unpacklo_epi64(a[i + 1], a[i + 3]);
    b[i + 3] = _mm256_unpackhi_epi64(a[i + 1], a[i + 3]);
  }
  for (int i = 0; i < 4; ++i) {
    v[i] = _mm256_permute2x128_si256(b[i], b[i + 4], 0x20);
    v[i + 4] = _mm256_permute2x128_si256(b[i], b[i + 4], 0x31);
  }
}

// Below this size of every coefficient the sums of a column stay below 2^29, so that a row scales
// its first entry without overflow. Then the short cut for rows with one entry, which the vectors
// do not take, makes no difference. Undamaged pictures stay far below.
constexpr int32_t kSafeCoefficient = 4096;

BRISK_AVX2_INLINE bool AreSafe(const Vectors& v) {
  __m256i bits = _mm256_setzero_si256();
  for (const __m256i& row : v) {
    bits = _mm256_or_si256(bits, _mm256_xor_si256(row, _mm256_srai_epi32(row, 31)));
  }
  return _mm256_testz_si256(bits, _mm256_set1_epi32(-kSafeCoefficient)) != 0;
}

// Four columns of samples: byte x of the 32-bit group y is sample (x, y); rows 4 to 7 are in the
// upper lane.
BRISK_AVX2_INLINE __m256i PackColumns(const __m256i* v) {
  const __m256i shift = _mm256_set1_epi16(dct::kLevelShift);
  const __m256i low = _mm256_add_epi16(_mm256_packs_epi32(v[0], v[1]), shift);
  const __m256i high = _mm256_add_epi16(_mm256_packs_epi32(v[2], v[3]), shift);
  const __m256i order = _mm256_broadcastsi128_si256(
      _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
  return _mm256_shuffle_epi8(_mm256_packus_epi16(low, high), order);
}

BRISK_AVX2_INLINE void StoreTwoRows(__m128i rows, uint8_t* samples, size_t stride) {
  _mm_storel_epi64(reinterpret_cast<__m128i*>(samples), rows);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(samples + stride), _mm_unpackhi_epi64(rows, rows));
}

// What 16 chroma samples add, as kCrToRed and its like have it. The fractions are 16-bit fixed
// point, rounded up; the assertion below holds them against the tables.
constexpr int kCrToRedFraction = 26346;    // 0.402, beside a whole 1
constexpr int kCbToBlueFraction = 50594;   // 0.772, beside a whole 1
constexpr int kCbToGreenFraction = 22554;  // 0.34414
constexpr int kCrToGreenFraction = 46802;  // 0.71414

constexpr bool Matches(const ColourTable& table, int whole, int fraction, int sign) {
  for (int c = 0; c < 256; ++c) {
    const int size = c < 128 ? 128 - c : c - 128;
    const int product = whole * size + (size * fraction >> 16);
    if (table[static_cast<size_t>(c)] != (c < 128 ? -sign : sign) * product) return false;
  }
  return true;
}
static_assert(Matches(kCrToRed, 1, kCrToRedFraction, 1));
static_assert(Matches(kCbToBlue, 1, kCbToBlueFraction, 1));
static_assert(Matches(kCbToGreen, 0, kCbToGreenFraction, -1));
static_assert(Matches(kCrToGreen, 0, kCrToGreenFraction, -1));

struct Chroma {
  __m256i blue;
  __m256i green;
  __m256i red;
};

BRISK_AVX2_INLINE __m256i Load16(const uint8_t* bytes) {
  return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)));
}

BRISK_AVX2_INLINE __m256i Fraction(__m256i size, int fraction) {
  return _mm256_mulhi_epu16(size, _mm256_set1_epi16(static_cast<int16_t>(fraction)));
}

BRISK_AVX2_INLINE Chroma LoadChroma(const uint8_t* cb, const uint8_t* cr) {
  const __m256i middle = _mm256_set1_epi16(128);
  const __m256i b = _mm256_sub_epi16(Load16(cb), middle);
  const __m256i r = _mm256_sub_epi16(Load16(cr), middle);
  const __m256i bSize = _mm256_abs_epi16(b);
  const __m256i rSize = _mm256_abs_epi16(r);
  const __m256i blue = _mm256_add_epi16(bSize, Fraction(bSize, kCbToBlueFraction));
  const __m256i red = _mm256_add_epi16(rSize, Fraction(rSize, kCrToRedFraction));
  const __m256i green = _mm256_add_epi16(_mm256_sign_epi16(Fraction(bSize, kCbToGreenFraction), b),
                                         _mm256_sign_epi16(Fraction(rSize, kCrToGreenFraction), r));
  return {_mm256_sign_epi16(blue, b), _mm256_sub_epi16(_mm256_setzero_si256(), green),
          _mm256_sign_epi16(red, r)};
}

// Every sample of 16 twice: the first eight, the last eight.
struct Doubled {
  __m256i first;
  __m256i last;
};
BRISK_AVX2_INLINE Doubled Double(__m256i samples) {
  const __m256i low = _mm256_unpacklo_epi16(samples, samples);
  const __m256i high = _mm256_unpackhi_epi16(samples, samples);
  return {_mm256_permute2x128_si256(low, high, 0x20), _mm256_permute2x128_si256(low, high, 0x31)};
}

BRISK_AVX2_INLINE __m128i Clamp(__m256i values) {
  return _mm_packus_epi16(_mm256_castsi256_si128(values), _mm256_extracti128_si256(values, 1));
}

// Where byte i of a 48-byte run of pixels comes from: its place among 16 samples when it belongs to
// channel i % 3, else nothing (a set top bit).
struct InterleaveMasks {
  alignas(16) int8_t bytes[3][3][16];  // by 16-byte part, by channel
};
constexpr InterleaveMasks MakeInterleaveMasks() {
  InterleaveMasks masks{};
  for (int i = 0; i < 48; ++i) {
    for (int channel = 0; channel < 3; ++channel) {
      masks.bytes[i / 16][channel][i % 16] = static_cast<int8_t>(i % 3 == channel ? i / 3 : -128);
    }
  }
  return masks;
}
constexpr InterleaveMasks kInterleave = MakeInterleaveMasks();

BRISK_AVX2_INLINE __m128i Spread(__m128i samples, int part, int channel) {
  const auto* mask = reinterpret_cast<const __m128i*>(kInterleave.bytes[part][channel]);
  return _mm_shuffle_epi8(samples, _mm_load_si128(mask));
}

BRISK_AVX2_INLINE void Store16Pixels(__m256i y, const Chroma& chroma, uint8_t* pixels) {
  const __m128i blue = Clamp(_mm256_add_epi16(y, chroma.blue));
  const __m128i green = Clamp(_mm256_add_epi16(y, chroma.green));
  const __m128i red = Clamp(_mm256_add_epi16(y, chroma.red));
  for (int part = 0; part < 3; ++part) {
    const __m128i bytes = _mm_or_si128(_mm_or_si128(Spread(blue, part, 0), Spread(green, part, 1)),
                                       Spread(red, part, 2));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pixels + ptrdiff_t{16} * part), bytes);
  }
}

}  // namespace

BRISK_AVX2 void InverseDctAvx2(const int32_t* coefficients, uint8_t* samples, size_t stride) {
  Vectors v;
  for (int i = 0; i < 8; ++i) {
    v[i] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(coefficients + ptrdiff_t{8} * i));
  }
  if (!AreSafe(v)) return InverseDct(coefficients, samples, stride);

  Transform<dct::kColumnScaleBits>(v);
  Transpose(v);
  for (const int i : {1, 2, 3, 5, 6, 7}) v[i] = _mm256_srai_epi32(v[i], dct::kRowInputShift);
  Transform<dct::kRowScaleBits>(v);
  for (__m256i& column : v) column = _mm256_srai_epi32(column, dct::kOutputShift);

  const __m256i left = PackColumns(v);
  const __m256i right = PackColumns(v + 4);
  const __m256i rows0145 = _mm256_unpacklo_epi32(left, right);
  const __m256i rows2367 = _mm256_unpackhi_epi32(left, right);
  StoreTwoRows(_mm256_castsi256_si128(rows0145), samples, stride);
  StoreTwoRows(_mm256_castsi256_si128(rows2367), samples + 2 * stride, stride);
  StoreTwoRows(_mm256_extracti128_si256(rows0145, 1), samples + 4 * stride, stride);
  StoreTwoRows(_mm256_extracti128_si256(rows2367, 1), samples + 6 * stride, stride);
}

BRISK_AVX2 void ConvertRowAvx2(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, size_t width,
                               uint8_t* pixels) {
  size_t x = 0;
  for (; x + 16 <= width; x += 16) {
    Store16Pixels(Load16(y + x), LoadChroma(cb + x, cr + x), pixels + 3 * x);
  }
  ConvertRow(y + x, cb + x, cr + x, width - x, pixels + 3 * x);
}

BRISK_AVX2 void ConvertRowDoubledAvx2(const uint8_t* y, const uint8_t* cb, const uint8_t* cr,
                                      size_t width, uint8_t* pixels) {
  size_t x = 0;
  for (; x + 32 <= width; x += 32) {
    const Chroma chroma = LoadChroma(cb + x / 2, cr + x / 2);
    const auto [blue0, blue1] = Double(chroma.blue);
    const auto [green0, green1] = Double(chroma.green);
    const auto [red0, red1] = Double(chroma.red);
    Store16Pixels(Load16(y + x), {blue0, green0, red0}, pixels + 3 * x);
    Store16Pixels(Load16(y + x + 16), {blue1, green1, red1}, pixels + 3 * x + 48);
  }
  ConvertRowDoubled(y + x, cb + x / 2, cr + x / 2, width - x, pixels + 3 * x);
}

}  // namespace brisk::image
