// The words of every operation, one by one.
#include <cstdint>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "image/transfer.h"
#include "support/files.h"

namespace brisk::image {
namespace {

using Word = std::pair<uint32_t, uint32_t>;  // length, value
using Words = std::vector<Word>;

class Recorder : public WordWriter, public RegisterReader, public ProgressReporter {
 public:
  void SendWord(uint32_t bits, uint32_t value) override { words.emplace_back(bits, value); }
  int32_t ReadRegister(const char* command) override {
    const auto found = registers.find(command);
    return found == registers.end() ? -2 : found->second;
  }
  bool Report(uint32_t done, uint32_t total) override {
    reports.emplace_back(done, total);
    return done == stopAt;
  }

  std::map<std::string, int32_t> registers{{"F4-70-F5=", 4}, {"F4-72-F5=", 2}, {"F4-02-F5-", 0},
                                           {"F4-66-F5-", 8}, {"F4-42-F5=", 4}, {"F4-4A-F5=", 2},
                                           {"F4-32-F5-", 0}, {"F4-6C-F5-", 2}};
  Words words;
  Words reports;
  uint32_t stopAt = 0;
};

class PictureStream : public testing::Test {
 protected:
  void SetFrame(int width, int height) {
    recorder.registers["F4-70-F5="] = width;
    recorder.registers["F4-72-F5="] = height;
  }
  // A bitmap whose pixel (x, y) is blue 0x10 x + y, green 0x80 + x, red 0x40 + 0x10 y.
  std::string Bitmap(int width, int height) {
    const size_t row = static_cast<size_t>(3 * width + 3) / 4 * 4;
    std::vector<uint8_t> file(54 + row * static_cast<size_t>(height));
    file[18] = static_cast<uint8_t>(width);
    file[19] = static_cast<uint8_t>(width >> 8);
    file[22] = static_cast<uint8_t>(height);
    file[23] = static_cast<uint8_t>(height >> 8);
    file[26] = 1;
    file[28] = 24;
    for (int y = 0; y < height; ++y) {
      uint8_t* bytes = file.data() + 54 + static_cast<size_t>(height - 1 - y) * row;
      for (int x = 0; x < width; ++x) {
        *bytes++ = static_cast<uint8_t>(0x10 * x + y);
        *bytes++ = static_cast<uint8_t>(0x80 + x);
        *bytes++ = static_cast<uint8_t>(0x40 + 0x10 * y);
      }
    }
    WriteFile(folder.File("a.bmp"), file);
    return folder.File("a.bmp");
  }
  uint32_t Show(int width, int height, uint32_t plane = 0) {
    recorder.words.clear();
    testing::internal::CaptureStdout();
    const uint32_t result = transfer.Sddi_Bitmap(Bitmap(width, height).c_str(), plane);
    output = testing::internal::GetCapturedStdout();
    return result;
  }

  TemporaryFolder folder;
  Recorder recorder;
  PictureTransfer transfer{recorder, recorder, recorder};
  std::string output;
};

TEST_F(PictureStream, SixteenBitRgb) {
  // Pixel (x, y): green 0x80 + x -> 0x20, blue 0x10 x -> 2 x, red 0x40 -> 8 (row 1: 0x50 -> 0xA).
  ASSERT_EQ(Show(1, 1), 0U);
  EXPECT_EQ(output, "Source Size=  1   1\n");
  EXPECT_EQ(recorder.words, (Words{{7, 0x13}, {22, 0}, {32, 0x00008008}, {32, 0}}));

  ASSERT_EQ(Show(3, 1), 0U);
  EXPECT_EQ(recorder.words, (Words{{7, 0x13}, {22, 0}, {32, 0x80488008}, {32, 0x00008088}}));

  ASSERT_EQ(Show(2, 2), 0U);
  EXPECT_EQ(recorder.words,
            (Words{{7, 0x13}, {22, 0}, {32, 0x80488008}, {32, 0}, {32, 0x804A800A}, {32, 0}}));

  // Clipped at the right and at the bottom; of an odd frame the last pair takes the next cell.
  SetFrame(3, 1);
  ASSERT_EQ(Show(5, 4), 0U);
  EXPECT_EQ(recorder.words, (Words{{7, 0x13}, {22, 0}, {32, 0x80488008}, {32, 0x80C88088}}));
  // As wide as the frame there is none.
  ASSERT_EQ(Show(3, 1), 0U);
  EXPECT_EQ(recorder.words, (Words{{7, 0x13}, {22, 0}, {32, 0x80488008}, {32, 0x00008088}}));
}

TEST_F(PictureStream, SixteenBitYCbCr) {
  // (0x00, 0x80, 0x40): Y 97.5 -> 0x61, Cb 82 -> 0x52, Cr 109.5 -> 0x6D;
  // (0x10, 0x81, 0x40): Y 99.6 -> 0x63.
  recorder.registers["F4-02-F5-"] = 2;
  ASSERT_EQ(Show(1, 1), 0U);
  EXPECT_EQ(recorder.words, (Words{{7, 0x13}, {22, 0}, {32, 0x1061526D}, {32, 0x10108080}}));
  ASSERT_EQ(Show(2, 1), 0U);
  EXPECT_EQ(recorder.words, (Words{{7, 0x13}, {22, 0}, {32, 0x6361526D}, {32, 0x10108080}}));
}

TEST_F(PictureStream, TwentyFourBit) {
  recorder.registers["F4-66-F5-"] = 0xF7;
  SetFrame(3, 1);
  ASSERT_EQ(Show(3, 1), 0U);  // the third pixel's green is never sent
  EXPECT_EQ(recorder.words, (Words{{7, 0x13}, {22, 0}, {32, 0x40800040}, {32, 0x20408110}}));
  SetFrame(4, 1);
  ASSERT_EQ(Show(3, 1), 0U);
  EXPECT_EQ(recorder.words,
            (Words{{7, 0x13}, {22, 0}, {32, 0x40800040}, {32, 0x20408110}, {32, 0x00000082}}));
  // The packer runs over the end of a row: two rows of three.
  SetFrame(3, 2);
  ASSERT_EQ(Show(3, 2), 0U);
  EXPECT_EQ(recorder.words, (Words{{7, 0x13},
                                   {22, 0},
                                   {32, 0x40800040},
                                   {32, 0x20408110},
                                   {32, 0x80015082},
                                   {32, 0x50811150}}));
}

TEST_F(PictureStream, SecondPlaneIsAlwaysSixteenBit) {
  recorder.registers["F4-66-F5-"] = 0;
  recorder.registers["F4-42-F5="] = 2;
  ASSERT_EQ(Show(2, 1, 1), 0U);
  EXPECT_EQ(recorder.words, (Words{{7, 0x13}, {22, 0x4000}, {32, 0x80488008}}));
}

TEST_F(PictureStream, SmallPictureInALargeFrame) {
  SetFrame(1024, 768);
  ASSERT_EQ(Show(800, 600), 0U);
  EXPECT_EQ(recorder.words.size(), 2U + 600 * (400 + 112));
  EXPECT_EQ(recorder.words[2 + 400], Word(32, 0));
  EXPECT_EQ(recorder.words[2 + 512].second & 0xFFFF, 0x800AU);  // row 1 begins
  ASSERT_EQ(recorder.reports.size(), 600U);
  EXPECT_EQ(recorder.reports.back(), Word(600, 600));
}

TEST_F(PictureStream, StopEndsAfterTheRow) {
  recorder.stopAt = 1;
  EXPECT_EQ(Show(2, 2), 1U);
  EXPECT_EQ(recorder.words, (Words{{7, 0x13}, {22, 0}, {32, 0x80488008}, {32, 0}}));
}

TEST_F(PictureStream, FailedRegisterReadSendsNothingMore) {
  for (const auto& [name, plane] : std::map<std::string, uint32_t>{{"F4-70-F5=", 0},
                                                                   {"F4-72-F5=", 0},
                                                                   {"F4-02-F5-", 0},
                                                                   {"F4-66-F5-", 0},
                                                                   {"F4-42-F5=", 1},
                                                                   {"F4-4A-F5=", 1},
                                                                   {"F4-32-F5-", 1},
                                                                   {"F4-6C-F5-", 1}}) {
    const auto node = recorder.registers.extract(name);
    EXPECT_EQ(Show(2, 2, plane), 1U) << name;
    EXPECT_EQ(recorder.words, (Words{{7, 0x13}})) << name;
    recorder.words.clear();
    if (name == "F4-70-F5=" || name == "F4-72-F5=") {
      transfer.Sddi_Erase(1);
      transfer.Sddi_Bitblt(1, 1);
      transfer.Sddi_Bitblt_Copy(1, 1, 2, 2, 2, 2);
      EXPECT_TRUE(recorder.words.empty()) << name;
    }
    recorder.registers[name] = node.mapped();
  }
}

TEST_F(PictureStream, Erase) {
  SetFrame(30, 12);
  transfer.Sddi_Erase(0x12345678);
  EXPECT_EQ(
      recorder.words,
      (Words{
          {7, 0x13}, {19, 0x5678}, {19, 0x11234}, {22, 0}, {12, 0x277}, {12, 0x277}, {12, 0x277}}));
  recorder.words.clear();
  SetFrame(1024, 768);
  transfer.Sddi_Erase(0);
  EXPECT_EQ(recorder.words.size(), 4U + 6553);
}

TEST_F(PictureStream, Pattern) {
  SetFrame(100, 100);
  transfer.Sddi_Bitblt(7, 3);
  ASSERT_EQ(recorder.words.size(), 2U + 32);
  EXPECT_EQ(recorder.words[0], Word(19, 0x03E0));
  EXPECT_EQ(recorder.words[1], Word(19, 0x1FFFF));
  EXPECT_EQ(recorder.words[2], Word(22, 153));  // (3 x 100 + 7) / 2
  EXPECT_EQ(recorder.words[3], Word(19, 0x42000));
  EXPECT_EQ(recorder.words[4], Word(22, 203));
  EXPECT_EQ(recorder.words[5], Word(19, 0x410F8));
  EXPECT_EQ(recorder.words[30], Word(22, 853));
  EXPECT_EQ(recorder.words[29], Word(19, 0x44B04));
}

TEST_F(PictureStream, BlockCopy) {
  SetFrame(100, 100);
  transfer.Sddi_Bitblt_Copy(10, 20, 30, 40, 16, 5);
  EXPECT_EQ(recorder.words,
            (Words{{22, 2015}, {12, 0x82A}, {22, 0x200000 + 1005}, {12, 0x82A}, {12, 0x658}}));
}

TEST_F(PictureStream, FilesThatCannotBeShown) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(transfer.Sddi_Bitmap(folder.File("none").c_str(), 0), 1U);
  EXPECT_EQ(transfer.Sddi_Bitmap(nullptr, 0), 1U);
  EXPECT_EQ(transfer.Sddi_Jpeg(folder.File("none").c_str(), 0), 1U);
  EXPECT_EQ(transfer.Sddi_Jpeg(nullptr, 0), 1U);
  EXPECT_EQ(transfer.Sddi_Jpeg(Bitmap(2, 2).c_str(), 0), 1U);
  std::string expected;
  for (int i = 0; i < 5; ++i) expected += "\nCan't open the input file.";
  EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
  testing::internal::CaptureStdout();
  EXPECT_EQ(transfer.Sddi_Bitmap(Bitmap(1601, 1).c_str(), 0), 1U);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nSize of the BMP is too large");
  EXPECT_TRUE(recorder.words.empty());
}

}  // namespace
}  // namespace brisk::image
