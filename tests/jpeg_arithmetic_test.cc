// The decoder's arithmetic, bit by bit, against the formulas written out.
#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "image/jpeg_colour.h"
#include "image/jpeg_idct.h"
#include "image/jpeg_kernels.h"
#include "support/jpeg_model.h"

namespace brisk::image {
namespace {

using Coefficients = std::array<int32_t, 64>;

struct Named {
  const char* name;
  const JpegKernels& kernels;
};
const std::array<Named, 2> kKernels{
    {{"portable", PortableJpegKernels()}, {"fastest", FastestJpegKernels()}}};

std::array<uint8_t, 64> Run(const JpegKernels& kernels, const Coefficients& in) {
  constexpr size_t kStride = 24;
  std::array<uint8_t, 8 * kStride> plane;
  plane.fill(0xA5);
  kernels.inverseDct(in.data(), plane.data() + 8, kStride);
  std::array<uint8_t, 64> samples{};
  for (size_t y = 0; y < 8; ++y) {
    for (size_t x = 0; x < kStride; ++x) {
      const uint8_t value = plane[y * kStride + x];
      if (x >= 8 && x < 16) {
        samples[8 * y + x - 8] = value;
      } else {
        EXPECT_EQ(value, 0xA5) << "written outside the block";
      }
    }
  }
  return samples;
}

void Check(const Coefficients& in, const char* what) {
  const auto expected = SlowInverseDct(in);
  for (const Named& k : kKernels) {
    ASSERT_EQ(Run(k.kernels, in), expected) << k.name << ", " << what;
  }
}

TEST(InverseDct, OneCoefficientAtATime) {
  for (size_t i = 0; i < 64; ++i) {
    for (const int32_t value : {1, -1, 7, -8, 100, -1024, 1023, 4095, 4096, -4096, -4097, 32767,
                                -32768, 65535, 65536, 1 << 20, -(1 << 28), INT32_MAX, INT32_MIN}) {
      Coefficients in{};
      in[i] = value;
      ASSERT_NO_FATAL_FAILURE(Check(in, "single"));
    }
  }
}

TEST(InverseDct, RandomBlocks) {
  struct {
    uint32_t range;  // of each coefficient, both signs
    int density;     // of 64
    const char* what;
  } const kKinds[] = {{30, 4, "sparse"},         {200, 12, "usual"},   {1024, 64, "dense"},
                      {4096, 64, "just safe"},   {40000, 30, "large"}, {1U << 30, 64, "absurd"},
                      {60000, 2, "large sparse"}};
  std::mt19937 random(3);
  for (const auto& kind : kKinds) {
    for (int i = 0; i < 4000; ++i) {
      Coefficients in{};
      for (int32_t& c : in) {
        if (static_cast<int>(random() % 64) >= kind.density) continue;
        c = static_cast<int32_t>(random() % (2 * kind.range)) - static_cast<int32_t>(kind.range);
      }
      ASSERT_NO_FATAL_FAILURE(Check(in, kind.what));
    }
  }
}

TEST(InverseDct, TheShortFormForOneCoefficientIsTheSame) {
  for (const int32_t value : {0, 1, 7, 8, -1, -7, -8, -9, 1016, 1024, -1024, 65536, 1 << 18,
                              INT32_MAX, INT32_MIN, 12345678}) {
    Coefficients in{value};
    std::array<uint8_t, 64> samples{};
    InverseDctOfDc(value, samples.data(), 8);
    EXPECT_EQ(samples, SlowInverseDct(in)) << value;
  }
}

TEST(Colour, TablesAreTheTruncatedProducts) {
  for (int c = 0; c < 256; ++c) {
    const auto i = static_cast<size_t>(c);
    EXPECT_EQ(kCrToRed[i], static_cast<int>(std::trunc(1.402 * (c - 128))));
    EXPECT_EQ(kCbToGreen[i], static_cast<int>(std::trunc(-0.34414 * (c - 128))));
    EXPECT_EQ(kCrToGreen[i], static_cast<int>(std::trunc(-0.71414 * (c - 128))));
    EXPECT_EQ(kCbToBlue[i], static_cast<int>(std::trunc(1.772 * (c - 128))));
  }
  EXPECT_EQ(kCrToRed[0], -179);
  EXPECT_EQ(kCbToBlue[255], 225);
}

// Every pair of chroma samples, with lumas that meet both clamps, in rows of every remainder.
TEST(Colour, EveryChromaPair) {
  for (const Named& k : kKernels) {
    for (size_t cr = 0; cr < 256; ++cr) {
      const size_t width = 2048 + 8 * (cr % 4);
      std::vector<uint8_t> y(width);
      std::vector<uint8_t> cbs(width);
      std::vector<uint8_t> crs(width);
      for (size_t x = 0; x < width; ++x) {
        y[x] = static_cast<uint8_t>(x / 256 * 36 + x * 7);
        cbs[x] = static_cast<uint8_t>(x);
        crs[x] = static_cast<uint8_t>(cr + x / 256 % 2);
      }
      std::vector<uint8_t> pixels(3 * width + 1, 0x5A);
      k.kernels.convertRow(y.data(), cbs.data(), crs.data(), width, pixels.data());
      for (size_t x = 0; x < width; ++x) {
        const auto expected = SlowColour(y[x], cbs[x], crs[x]);
        for (size_t i = 0; i < 3; ++i) ASSERT_EQ(pixels[3 * x + i], expected[i]) << k.name << x;
      }
      ASSERT_EQ(pixels.back(), 0x5A);

      k.kernels.convertRowDoubled(y.data(), cbs.data(), crs.data(), width, pixels.data());
      for (size_t x = 0; x < width; ++x) {
        const auto expected = SlowColour(y[x], cbs[x / 2], crs[x / 2]);
        for (size_t i = 0; i < 3; ++i) ASSERT_EQ(pixels[3 * x + i], expected[i]) << k.name << x;
      }
      ASSERT_EQ(pixels.back(), 0x5A);
    }
  }
}

}  // namespace
}  // namespace brisk::image
