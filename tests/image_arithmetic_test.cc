// BMP files made byte by byte, and the arithmetic of colours and of the JPEG decoder, bit by bit.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <random>
#include <span>
#include <vector>

#include "image/bmp.h"
#include "image/jpeg_idct.h"
#include "image/jpeg_kernels.h"
#include "image/picture.h"
#include "support/files.h"
#include "support/memory_file.h"
#include "support/picture_services.h"

namespace brisk::image {
namespace {

struct Fields {
  int32_t width = 1;
  int32_t height = 1;
  uint32_t planes = 1;
  uint32_t bits = 24;
  uint32_t compression = 0;
};

// Fields that nobody looks at are filled with 0xEE.
std::vector<uint8_t> MakeBmp(const Fields& fields, const std::vector<uint8_t>& pixels = {}) {
  std::vector<uint8_t> file(54 + pixels.size(), 0xEE);
  const auto put = [&](size_t offset, uint32_t value, size_t size) {
    for (size_t i = 0; i < size; ++i) file[offset + i] = static_cast<uint8_t>(value >> 8 * i);
  };
  put(18, static_cast<uint32_t>(fields.width), 4);
  put(22, static_cast<uint32_t>(fields.height), 4);
  put(26, fields.planes, 2);
  put(28, fields.bits, 2);
  put(30, fields.compression, 4);
  for (size_t i = 0; i < pixels.size(); ++i) file[54 + i] = pixels[i];
  return file;
}

TEST(BmpHeader, ChecksInOrder) {
  constexpr char kShort[] = "\nHeader of the BMP is too short";
  constexpr char kTooLarge[] = "\nSize of the BMP is too large";
  constexpr char kPlanes[] = "\nColor planes of the BMP is not 1";
  constexpr char kBits[] = "\nThis BMP is not a 24 bit picture";
  constexpr char kCompressed[] = "\nThis BMP is a compressed picture";
  constexpr char kEmpty[] = "\nSize of the BMP is zero or negative";
  struct {
    Fields fields;
    const char* message;  // empty = accepted
    size_t length = 54;
  } const kCases[] = {
      {{1600, 1200}, ""},
      {{1, 1}, ""},
      {{1601, 1}, kTooLarge},
      {{1, 1201}, kTooLarge},
      {{0x7FFFFFFF, 0x7FFFFFFF}, kTooLarge},
      {{1601, 1, 2, 32, 1}, kTooLarge},
      {{10, 10, 2, 32, 1}, kPlanes},
      {{10, 10, 0}, kPlanes},
      {{10, 10, 0x101}, kPlanes},
      {{10, 10, 1, 32, 1}, kBits},
      {{10, 10, 1, 8}, kBits},
      {{10, 10, 1, 24, 1}, kCompressed},
      {{10, 10, 1, 24, 0x10000}, kCompressed},
      {{0, 10}, kEmpty},
      {{10, 0}, kEmpty},
      {{-1, 10}, kEmpty},
      {{10, -10}, kEmpty},
      {{10, -10, 1, 32}, kBits},
      {{INT32_MIN, INT32_MIN}, kEmpty},
      {{1601, 1}, kShort, 53},
      {{}, kShort, 0},
  };
  for (const auto& c : kCases) {
    auto bytes = MakeBmp(c.fields);
    bytes.resize(c.length);
    MemoryFile file(bytes);
    testing::internal::CaptureStdout();
    const auto size = ReadBmpHeader(file);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), c.message)
        << c.fields.width << " x " << c.fields.height;
    ASSERT_EQ(size.has_value(), *c.message == '\0');
    if (size) {
      EXPECT_EQ(size->width, c.fields.width);
      EXPECT_EQ(size->height, c.fields.height);
    }
  }
}

// The bottom row and one pixel and a half of the row above.
TEST(BmpPixels, WhatAShortFileLacksIsBlack) {
  MemoryFile file(MakeBmp({2, 3}, {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11}));
  ASSERT_TRUE(ReadBmpHeader(file));
  PictureBuffer picture;
  ASSERT_TRUE(picture.Allocate(TestPictureServices().system, 2, 3));
  ReadBmpPixels(file, picture, TestPictureServices().log);
  EXPECT_EQ(std::vector(picture.Row(0), picture.Row(3)),
            (std::vector<uint32_t>{0, 0, 0x090807, 0, 0x030201, 0x060504}));
}

// The digest is that of the formulas in double precision, with their clamps.
TEST(YCbCr, EveryColourIsExact) {
  PictureBuffer picture;
  ASSERT_TRUE(picture.Allocate(TestPictureServices().system, 4096, 4096));
  for (uint32_t i = 0; i < 1U << 24; ++i) picture.Row(0)[i] = i;
  picture.ConvertToYCbCr();
  EXPECT_EQ(Digest(std::span(picture.Row(0), size_t{1} << 24)), 0x2DE5DB85U);
}

using Coefficients = std::array<int32_t, 64>;

struct Named {
  const char* name;
  const JpegKernels& kernels;
};
const std::array<Named, 2> kKernels{
    {{"portable", PortableJpegKernels()}, {"fastest", FastestJpegKernels()}}};

std::array<uint8_t, 64> Transformed(const JpegKernels& kernels, const Coefficients& in) {
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

// Adds the samples to the digest, and compares the implementations.
void Add(const Coefficients& in, uint32_t& digest) {
  const auto samples = Transformed(PortableJpegKernels(), in);
  ASSERT_EQ(Transformed(FastestJpegKernels(), in), samples);
  digest = Digest(samples, digest);
}

// The digests are of samples that the transform gave when it was written down term by term, with
// 64-bit products and factors rounded from their decimals.
TEST(InverseDct, OneCoefficientAtATime) {
  uint32_t digest = Digest(Coefficients{});
  for (size_t i = 0; i < 64; ++i) {
    for (const int32_t value : {1, -1, 7, -8, 100, -1024, 1023, 4095, 4096, -4096, -4097, 32767,
                                -32768, 65535, 65536, 1 << 20, -(1 << 28), INT32_MAX, INT32_MIN}) {
      Coefficients in{};
      in[i] = value;
      ASSERT_NO_FATAL_FAILURE(Add(in, digest));
    }
  }
  EXPECT_EQ(digest, 0x6292BDBDU);
}

TEST(InverseDct, RandomBlocks) {
  constexpr struct {
    uint32_t range;  // of each coefficient, both signs
    int density;     // of 64
    uint32_t digest;
  } kKinds[] = {{30, 4, 0xD1F2D554},   {200, 12, 0x16DE5D81},   {1024, 64, 0xA91F413F},
                {4096, 64, 0xF9736CE}, {40000, 30, 0xF2F1A356}, {1U << 30, 64, 0xB1BECDC},
                {60000, 2, 0x852C772C}};
  std::mt19937 random(3);
  for (const auto& kind : kKinds) {
    uint32_t digest = Digest(Coefficients{});
    for (int i = 0; i < 4000; ++i) {
      Coefficients in{};
      for (int32_t& c : in) {
        if (static_cast<int>(random() % 64) >= kind.density) continue;
        c = static_cast<int32_t>(random() % (2 * kind.range)) - static_cast<int32_t>(kind.range);
      }
      ASSERT_NO_FATAL_FAILURE(Add(in, digest));
    }
    EXPECT_EQ(digest, kind.digest) << kind.range;
  }
}

TEST(InverseDct, TheShortFormForOneCoefficientIsTheSame) {
  for (const int32_t value : {0, 1, 7, 8, -1, -7, -8, -9, 1016, 1024, -1024, 65536, 1 << 18,
                              INT32_MAX, INT32_MIN, 12345678}) {
    std::array<uint8_t, 64> samples{};
    InverseDctOfDc(value, samples.data(), 8);
    EXPECT_EQ(samples, Transformed(PortableJpegKernels(), Coefficients{value})) << value;
  }
}

int Term(double factor, int chroma) {
  return static_cast<int>(std::trunc(factor * (chroma - 128)));
}

// Blue, green, red.
std::array<uint8_t, 3> SlowColour(int y, int cb, int cr) {
  const auto clamp = [](int value) { return static_cast<uint8_t>(std::clamp(value, 0, 255)); };
  return {clamp(y + Term(1.772, cb)), clamp(y + Term(-0.34414, cb) + Term(-0.71414, cr)),
          clamp(y + Term(1.402, cr))};
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
