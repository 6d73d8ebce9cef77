// BMP files made byte by byte, and the colour conversion.
#include "image/bmp.h"

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

#include "image/picture.h"
#include "support/memory_file.h"

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

std::vector<uint32_t> Cells(const PictureBuffer& picture) {
  return {picture.Row(0), picture.Row(picture.height())};
}

std::vector<uint32_t> ReadCells(const std::vector<uint8_t>& bytes) {
  MemoryFile file(bytes);
  const auto size = ReadBmpHeader(file);
  PictureBuffer picture;
  if (!size || !picture.Allocate(size->width, size->height)) return {};
  ReadBmpPixels(file, picture);
  return Cells(picture);
}

TEST(BmpHeader, ChecksInOrder) {
  constexpr char kTooLarge[] = "\nSize of the BMP is too large";
  constexpr char kPlanes[] = "\nColor planes of the BMP is not 1";
  constexpr char kBits[] = "\nThis BMP is not a 24 bit picture";
  constexpr char kCompressed[] = "\nThis BMP is a compressed picture";
  constexpr char kEmpty[] = "\nSize of the BMP is zero or negative";
  struct {
    Fields fields;
    const char* message;  // empty = accepted
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
  };
  for (const auto& c : kCases) {
    MemoryFile file(MakeBmp(c.fields));
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

TEST(BmpHeader, ShortHeaderIsRejected) {
  for (const size_t length : {0, 1, 14, 53}) {
    auto bytes = MakeBmp({});
    bytes.resize(length);
    MemoryFile file(bytes);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(ReadBmpHeader(file).has_value());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nHeader of the BMP is too short");
  }
}

TEST(BmpPixels, RowsArePaddedAndBottomUp) {
  // 3 x 2: nine bytes and three of padding per row.
  EXPECT_EQ(ReadCells(MakeBmp({3, 2}, {1,  2,  3,  4,  5,  6,  7,  8,  9,  0xAA, 0xBB, 0xCC,  //
                                       11, 12, 13, 14, 15, 16, 17, 18, 19, 0xAA, 0xBB, 0xCC})),
            (std::vector<uint32_t>{0x0D0C0B, 0x100F0E, 0x131211, 0x030201, 0x060504, 0x090807}));
  // 4 x 1 has none; what follows the last row is not looked at.
  EXPECT_EQ(ReadCells(MakeBmp({4, 1}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 99, 99})),
            (std::vector<uint32_t>{0x030201, 0x060504, 0x090807, 0x0C0B0A}));
  // One and two pixels: one byte and two of padding.
  EXPECT_EQ(ReadCells(MakeBmp({1, 2}, {1, 2, 3, 0, 4, 5, 6, 0})),
            (std::vector<uint32_t>{0x060504, 0x030201}));
  EXPECT_EQ(ReadCells(MakeBmp({2, 2}, {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0})),
            (std::vector<uint32_t>{0x090807, 0x0C0B0A, 0x030201, 0x060504}));
}

TEST(BmpPixels, WhatAShortFileLacksIsBlack) {
  // The bottom row and one pixel and a half of the row above.
  EXPECT_EQ(ReadCells(MakeBmp({2, 3}, {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11})),
            (std::vector<uint32_t>{0, 0, 0x090807, 0, 0x030201, 0x060504}));
  EXPECT_EQ(ReadCells(MakeBmp({2, 1})), (std::vector<uint32_t>{0, 0}));
}

TEST(PictureBuffer, RefusesEmptyAndImpossibleSizes) {
  PictureBuffer picture;
  EXPECT_FALSE(picture.Allocate(0, 5));
  EXPECT_FALSE(picture.Allocate(5, 0));
  EXPECT_FALSE(picture.Allocate(-1, -1));
  EXPECT_TRUE(picture.Allocate(2, 3));
  EXPECT_EQ(Cells(picture), std::vector<uint32_t>(6, 0));
}

// The formula as it stands, in double precision, with its clamps.
double Rounded(double value, double low, double high) {
  if (value < low) return low;
  if (value >= high + 1) return high;
  return std::trunc(value);
}

uint32_t SlowYCbCr(int red, int green, int blue) {
  const double y = (66 * red + 129 * green + 25 * blue) / 256.0 + 16.5;
  const double cb = (-38 * red - 74 * green + 112 * blue) / 256.0 + 128.5;
  const double cr = (112 * red - 94 * green - 18 * blue) / 256.0 + 128.5;
  return static_cast<uint32_t>(Rounded(cb, 16, 240)) |
         static_cast<uint32_t>(Rounded(y, 16, 235)) << 8 |
         static_cast<uint32_t>(Rounded(cr, 16, 240)) << 16;
}

TEST(YCbCr, EveryColourIsExact) {
  PictureBuffer picture;
  ASSERT_TRUE(picture.Allocate(4096, 4096));
  for (uint32_t i = 0; i < 1U << 24; ++i) picture.Row(0)[i] = i;
  picture.ConvertToYCbCr();
  for (uint32_t i = 0; i < 1U << 24; ++i) {
    const int blue = i & 255;
    const int green = i >> 8 & 255;
    const int red = static_cast<int>(i >> 16);
    ASSERT_EQ(picture.Row(0)[i], SlowYCbCr(red, green, blue)) << red << ' ' << green << ' ' << blue;
  }
}

TEST(YCbCr, KnownColours) {
  EXPECT_EQ(RgbToYCbCr(MakeCell(255, 255, 255)), MakeCell(128, 235, 128));
  EXPECT_EQ(RgbToYCbCr(MakeCell(0, 0, 0)), MakeCell(128, 16, 128));
  EXPECT_EQ(RgbToYCbCr(MakeCell(0, 0, 255)), MakeCell(90, 82, 240));  // red
}

}  // namespace
}  // namespace brisk::image
