// Pictures through the exported functions, the same scenario on every picture port: the words that
// come over its two lines, and what the controller's frame memory holds then.
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_extensions.h"

#include "sim/adapters/u2c/u2c_device.h"
#include "sim/board/picture_receiver.h"
#include "sim/board/timing_controller.h"
#include "support/adapters.h"
#include "support/files.h"

namespace brisk {
namespace {

using sim::PictureReceiver;
using sim::TimingController;
using Word = std::pair<uint32_t, uint32_t>;  // length, value
using Words = std::vector<Word>;

// Writes down the words and lets the receiver have the lines. Other protocols on the same cable
// show as words of one bit.
class WordRecorder final : public sim::PictureDevice {
 public:
  explicit WordRecorder(PictureReceiver& receiver) : receiver_(receiver) {}
  void LinesChanged(bool one, bool zero) override {
    receiver_.LinesChanged(one, zero);
    if (one && zero) {
      if (word_.first > 1) words_.push_back(word_);
      word_ = {};
    } else if (one || zero) {
      word_ = {word_.first + 1, word_.second << 1 | (one ? 1U : 0U)};
    }
  }
  Words Take() { return std::exchange(words_, {}); }

 private:
  PictureReceiver& receiver_;
  Word word_;
  Words words_;
};

// Row by row; of a pixel (x, y) blue is 0x10 x + y, green 0x80 + x, red 0x40 + 0x10 y.
std::vector<uint8_t> MakeBmp(int width, int height) {
  const size_t row = static_cast<size_t>(3 * width + 3) / 4 * 4;
  std::vector<uint8_t> file(54 + row * static_cast<size_t>(height));
  for (const auto& [at, value] : {std::pair{18, width}, {22, height}, {26, 1}, {28, 24}}) {
    file[static_cast<size_t>(at)] = static_cast<uint8_t>(value);
    file[static_cast<size_t>(at) + 1] = static_cast<uint8_t>(value >> 8);
  }
  for (int y = 0; y < height; ++y) {
    uint8_t* bytes = file.data() + 54 + static_cast<size_t>(height - 1 - y) * row;
    for (int x = 0; x < width; ++x) {
      *bytes++ = static_cast<uint8_t>(0x10 * x + y);
      *bytes++ = static_cast<uint8_t>(0x80 + x);
      *bytes++ = static_cast<uint8_t>(0x40 + 0x10 * y);
    }
  }
  return file;
}

class Pictures : public BenchTest, public testing::WithParamInterface<AdapterKind> {
 protected:
  Pictures() { Connect(4, 2); }
  ~Pictures() override {
    BriskSetProgressCallback(nullptr, nullptr);
    bench().board().picture().SetDevice(&receiver());
  }

  void Connect(unsigned width, unsigned height, const std::string& more = "") {
    Configure(std::string("adapter=") + GetParam().name + more);
    BriskSetDevice(GetParam().deviceType);
    controller().SetFrame(width, height);
    controller().SetRegister(TimingController::kSecondStart, 2);
    recorder = std::make_unique<WordRecorder>(receiver());
    bench().board().picture().SetDevice(recorder.get());
    I2c_Stop();  // connects
  }
  static TimingController& controller() { return bench().board().controller(); }
  static PictureReceiver& receiver() { return bench().board().receiver(); }
  static uint32_t Pixel(uint32_t x, uint32_t y) { return receiver().Pixel(false, x, y); }
  static void ExpectNoFaults() {
    for (const auto fault :
         {PictureReceiver::Fault::kUnknownWord, PictureReceiver::Fault::kBeyondMemory,
          PictureReceiver::Fault::kPixelBeforeStart}) {
      EXPECT_EQ(receiver().faults(fault), 0U) << receiver().Report();
    }
  }

  uint32_t Show(const std::vector<uint8_t>& file, uint32_t plane = 0) {
    WriteFile(path, file);
    testing::internal::CaptureStdout();
    const uint32_t result = Sddi_Bitmap(path.c_str(), plane);
    output = testing::internal::GetCapturedStdout();
    return result;
  }

  TemporaryFolder folder;
  const std::string path = folder.File("a");
  std::unique_ptr<WordRecorder> recorder;
  std::string output;
};

INSTANTIATE_TEST_SUITE_P(Ports, Pictures, testing::ValuesIn(AdaptersOf(kLpt | kU2c)), AdapterName);

struct Shown {
  unsigned frameWidth, frameHeight;
  uint8_t mode, depth;  // of the main plane: 2 is YCbCr, 8 has 16 bits
  int width, height;
  uint32_t plane;
  std::vector<uint32_t> pixels;  // the words behind the start and the address
};

const Shown kShown[] = {
    // Green 0x80 + x -> 0x20, blue 0x10 x -> 2 x, red 0x40 -> 8 (row 1: 0x50 -> 0xA).
    {4, 2, 0, 8, 1, 1, 0, {0x00008008, 0}},
    {4, 2, 0, 8, 3, 1, 0, {0x80488008, 0x00008088}},
    {2, 2, 0, 8, 1, 2, 0, {0x00008008, 0x0000800A}},
    {4, 2, 0, 8, 2, 2, 0, {0x80488008, 0, 0x804A800A, 0}},
    // Clipped at the right and at the bottom; of an odd frame the last pair takes the next cell. As
    // wide as the frame there is none.
    {3, 1, 0, 8, 5, 4, 0, {0x80488008, 0x80C88088}},
    {3, 1, 0, 8, 3, 1, 0, {0x80488008, 0x00008088}},
    // (0x00, 0x80, 0x40): Y 97.5 -> 0x61, Cb 82 -> 0x52, Cr 109.5 -> 0x6D;
    // (0x10, 0x81, 0x40): Y 99.6 -> 0x63.
    {4, 2, 2, 8, 1, 1, 0, {0x1061526D, 0x10108080}},
    {4, 2, 2, 8, 2, 1, 0, {0x6361526D, 0x10108080}},
    // 24 bits: the third pixel's green is never sent; the packer runs over the end of a row.
    {3, 1, 0, 0xF7, 3, 1, 0, {0x40800040, 0x20408110}},
    {4, 1, 0, 0xF7, 3, 1, 0, {0x40800040, 0x20408110, 0x00000082}},
    {3, 2, 0, 0xF7, 3, 2, 0, {0x40800040, 0x20408110, 0x80015082, 0x50811150}},
    // The second plane has 16 bits always.
    {2, 1, 0, 0, 2, 1, 1, {0x80488008}},
};

TEST_P(Pictures, WordsOfBitmaps) {
  for (const Shown& test : kShown) {
    SCOPED_TRACE(&test - kShown);
    controller().SetFrame(test.frameWidth, test.frameHeight);
    controller().SetRegister(TimingController::kSecondStart, 2);
    controller().SetRegister(TimingController::kMainMode, test.mode);
    controller().SetRegister(TimingController::kMainDepth, test.depth);
    EXPECT_EQ(Show(MakeBmp(test.width, test.height), test.plane), 0U);
    EXPECT_EQ(output.substr(0, 15), "Source Size=  " + std::to_string(test.width));
    Words expected = {{7, 0x13}, {22, test.plane == 0 ? 0 : 0x4000}};
    for (const uint32_t pixel : test.pixels) expected.emplace_back(32, pixel);
    EXPECT_EQ(recorder->Take(), expected);
  }
}

struct Operation {
  unsigned width, height;
  const char* call;
  size_t count;
  Words first;
};

const Operation kOperations[] = {
    {30,
     12,
     "Sddi_Erase 12345678",
     7,
     {{7, 0x13}, {19, 0x5678}, {19, 0x11234}, {22, 0}, {12, 0x277}, {12, 0x277}, {12, 0x277}}},
    {1024, 768, "Sddi_Erase 0", 4 + 6553, {}},
    // The address is (3 x 100 + 7) / 2; two more words for every row.
    {100,
     100,
     "Sddi_Bitblt 7 3",
     2 + 32,
     {{19, 0x03E0}, {19, 0x1FFFF}, {22, 153}, {19, 0x42000}, {22, 203}, {19, 0x410F8}}},
    {100,
     100,
     "Sddi_Bitblt_Copy A 14 1E 28 10 5",
     5,
     {{22, 2015}, {12, 0x82A}, {22, 0x200000 + 1005}, {12, 0x82A}, {12, 0x658}}},
    // Addresses have 21 bits; the top one says source.
    {0xFFFF,
     100,
     "Sddi_Bitblt_Copy 7 64 7 64 10 5",
     5,
     {{22, 0x11FFD1}, {12, 0x7F7}, {22, 0x31FFD1}, {12, 0x7F7}, {12, 0x658}}},
};

TEST_P(Pictures, WordsOfOperations) {
  for (const Operation& test : kOperations) {
    Connect(test.width, test.height);
    Call(test.call);
    Words words = recorder->Take();
    ASSERT_EQ(words.size(), test.count) << test.call;
    if (test.count == 34) {
      EXPECT_EQ(words[30], Word(22, 853));
      EXPECT_EQ(words[29], Word(19, 0x44B04));
    }
    words.resize(test.first.size());
    EXPECT_EQ(words, test.first) << test.call;
  }
}

TEST_P(Pictures, WordsAreFramedByTheIdleState) {
  Lpt_Output(0xFC);  // leaves the ZERO line high in the base byte
  const auto cost = [] {
    return GetParam().kind == kU2c ? static_cast<sim::U2cDevice*>(bench().adapter("u2c"))->calls()
                                   : HardwareAccesses();
  };
  const uint64_t before = cost();
  Sddi_Tx(7, 0x13);
  // Idle, two states a bit; a U2C adapter needs three calls for each.
  EXPECT_EQ(cost() - before, GetParam().kind == kU2c ? 45U : 15U);
  EXPECT_EQ(recorder->Take(), (Words{{7, 0x13}}));
  Sddi_Tx(0, 1);
  Sddi_Tx(33, 1);
  EXPECT_EQ(recorder->Take(), Words());
  Sddi_Tx(32, 0xFFFFFFFF);
  EXPECT_EQ(Pixel(1, 0), 0xFFFFFFU);
  ExpectNoFaults();
  Sddi_Tx(9, 0x155);
  EXPECT_EQ(receiver().faults(PictureReceiver::Fault::kUnknownWord), 1U);
}

// One missing acknowledge in the n-th register that is read: the start word has gone out, and
// nothing more follows.
TEST_P(Pictures, FailedRegisterReadSendsNothingMore) {
  for (const int plane : {0, 1}) {
    for (const int reading : {0, 1, 2, 3}) {
      const std::string fault = ",fault=nak@" + std::to_string(3 * reading + 1);
      SCOPED_TRACE(fault);
      Connect(4, 2, fault);
      EXPECT_EQ(Show(MakeBmp(2, 2), static_cast<uint32_t>(plane)), 1U);
      EXPECT_EQ(recorder->Take(), (Words{{7, 0x13}}));
      if (reading > 1) continue;
      for (const char* call : {"Sddi_Erase 1", "Sddi_Bitblt 1 1", "Sddi_Bitblt_Copy 1 1 2 2 2 2"}) {
        Connect(4, 2, fault);
        Call(call);
        EXPECT_EQ(recorder->Take(), Words()) << call;
      }
    }
  }
}

int BRISK_CALL StopAtOnce(uint32_t done, uint32_t total, void* reports) {
  static_cast<Words*>(reports)->emplace_back(done, total);
  return 1;
}

TEST_P(Pictures, StopEndsAfterTheRow) {
  Words reports;
  BriskSetProgressCallback(StopAtOnce, &reports);
  EXPECT_EQ(Show(MakeBmp(2, 2)), 1U);
  EXPECT_EQ(recorder->Take(), (Words{{7, 0x13}, {22, 0}, {32, 0x80488008}, {32, 0}}));
  EXPECT_EQ(reports, (Words{{1, 2}}));
}

TEST_P(Pictures, SmallPictureInALargeFrame) {
  Connect(200, 60);
  ASSERT_EQ(Show(MakeBmp(120, 40)), 0U);
  const Words words = recorder->Take();
  ASSERT_EQ(words.size(), 2U + 40 * (60 + 40));
  EXPECT_EQ(words[2 + 60], Word(32, 0));
  EXPECT_EQ(words[2 + 100].second & 0xFFFF, 0x800AU);  // row 1 begins
}

TEST_P(Pictures, FilesThatCannotBeShown) {
  testing::internal::CaptureStdout();
  const std::string none = folder.File("none");
  WriteFile(path, MakeBmp(2, 2));
  for (const char* file : std::initializer_list<const char*>{none.c_str(), nullptr}) {
    EXPECT_EQ(Sddi_Bitmap(file, 0), 1U);
    EXPECT_EQ(Sddi_Jpeg(file, 0), 1U);
  }
  EXPECT_EQ(Sddi_Jpeg(path.c_str(), 0), 1U);
  std::string expected;
  for (int i = 0; i < 5; ++i) expected += "\nCan't open the input file.";
  EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
  EXPECT_EQ(Show(MakeBmp(1601, 1)), 1U);
  EXPECT_EQ(output, "\nSize of the BMP is too large");
  EXPECT_EQ(recorder->Take(), Words());
}

}  // namespace
}  // namespace brisk
