// Pictures through the exported functions, over the parallel port's lines, into frame memory.
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "brisk/brisk.h"

#include "image/jpeg.h"
#include "sim/board/picture_receiver.h"
#include "sim/board/timing_controller.h"
#include "support/bench_test.h"
#include "support/files.h"
#include "support/jpeg_model.h"

namespace brisk {
namespace {

using sim::PictureReceiver;
using sim::TimingController;

class PicturePort : public BenchTest, public testing::WithParamInterface<int> {
 protected:
  void UseFrame(const std::string& frame) {
    const char* const adapter = GetParam() == 0 ? "lpt" : GetParam() == 5 ? "lpt-b" : "lpt-c";
    Configure(std::string("adapter=") + adapter + ",frame=" + frame);
    BriskSetDevice(static_cast<uint8_t>(GetParam()));
  }
  static PictureReceiver& receiver() { return bench().board().receiver(); }
  static void ExpectNoFaults() {
    for (const auto fault :
         {PictureReceiver::Fault::kUnknownWord, PictureReceiver::Fault::kBeyondMemory,
          PictureReceiver::Fault::kPixelBeforeStart}) {
      EXPECT_EQ(receiver().faults(fault), 0U) << receiver().Report();
    }
  }
  TemporaryFolder folder;
};

TEST_P(PicturePort, WordsAreFramedByTheIdleState) {
  UseFrame("64x48");
  Lpt_Output(0xFC);  // leaves the ZERO line high in the base byte
  const uint64_t before = HardwareAccesses();
  Sddi_Tx(7, 0x13);
  EXPECT_EQ(HardwareAccesses() - before, 15U);
  EXPECT_EQ(receiver().words(), 1U);
  Sddi_Tx(0, 1);
  Sddi_Tx(33, 1);
  EXPECT_EQ(HardwareAccesses() - before, 15U);
  Sddi_Tx(32, 0xFFFFFFFF);
  EXPECT_EQ(receiver().Pixel(false, 1, 0), 0xFFFFFFU);
  ExpectNoFaults();
  Sddi_Tx(9, 0x155);
  EXPECT_EQ(receiver().faults(PictureReceiver::Fault::kUnknownWord), 1U);
}

TEST_P(PicturePort, FillPatternAndCopy) {
  UseFrame("64x48");
  Sddi_Erase(0x001F001F);  // red
  EXPECT_EQ(receiver().Pixel(false, 0, 0), 0xFF0000U);
  EXPECT_EQ(receiver().Pixel(false, 63, 44), 0xFF0000U);
  Sddi_Bitblt(8, 16, 0);
  // Row 0 is 0x2000: the third pixel.
  EXPECT_EQ(receiver().Pixel(false, 10, 16), 0x0000FFU);
  EXPECT_EQ(receiver().Pixel(false, 11, 16), 0xFFFFFFU);
  EXPECT_EQ(receiver().Pixel(false, 24, 16), 0xFF0000U);
  Sddi_Bitblt_Copy(8, 16, 32, 20, 16, 8);
  for (uint32_t y = 0; y < 8; ++y) {
    for (uint32_t x = 0; x < 16; ++x) {
      ASSERT_EQ(receiver().Pixel(false, 32 + x, 20 + y), receiver().Pixel(false, 8 + x, 16 + y));
    }
  }
  EXPECT_EQ(receiver().Pixel(false, 48, 20), 0xFF0000U);
  ExpectNoFaults();
}

// In 24-bit mode nothing is lost: a decoded picture comes back out of a snapshot, and the snapshot
// shown again gives itself.
TEST_P(PicturePort, JpegToSnapshotToBitmap) {
  UseFrame("64x48");
  bench().board().controller().SetRegister(TimingController::kMainDepth, 0);
  JpegModel model;
  model.width = 64;
  model.height = 48;
  model.SetSampling(2, 2);
  model.Fill(9, 10, 12);
  const std::string jpeg = folder.File("a.jpg");
  WriteFile(jpeg, EncodeModel(model));
  testing::internal::CaptureStdout();
  ASSERT_EQ(Sddi_Jpeg(jpeg.c_str(), 0), 0U);
  const auto expected = SlowDecode(model);
  const auto check = [&] {
    for (size_t y = 0; y < 48; ++y) {
      for (size_t x = 0; x < 64; ++x) {
        const uint8_t* p = &expected[3 * (y * 64 + x)];
        ASSERT_EQ(receiver().Pixel(false, static_cast<uint32_t>(x), static_cast<uint32_t>(y)),
                  p[0] | p[1] << 8U | p[2] << 16U)
            << x << ' ' << y;
      }
    }
  };
  ASSERT_NO_FATAL_FAILURE(check());
  const auto snapshot = receiver().Snapshot(false);
  WriteFile(folder.File("a.bmp"), snapshot);
  Sddi_Erase(0);
  EXPECT_EQ(receiver().Pixel(false, 20, 20), 0U);
  ASSERT_EQ(Sddi_Bitmap(folder.File("a.bmp").c_str(), 0), 0U);
  ASSERT_NO_FATAL_FAILURE(check());
  EXPECT_EQ(receiver().Snapshot(false), snapshot);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Source Size= 64  48\nSource Size= 64  48\n");
  ExpectNoFaults();
}

TEST_P(PicturePort, SecondPlaneLeavesTheMainOneAlone) {
  UseFrame("64x48");
  std::vector<uint8_t> bmp(54 + 12, 0x80);
  for (size_t i = 18; i < 34; ++i) bmp[i] = 0;
  bmp[18] = 4;
  bmp[22] = 1;
  bmp[26] = 1;
  bmp[28] = 24;
  WriteFile(folder.File("a.bmp"), bmp);
  ASSERT_EQ(Sddi_Bitmap(folder.File("a.bmp").c_str(), 1), 0U);
  EXPECT_EQ(receiver().Pixel(true, 3, 0), 0x848284U);
  EXPECT_EQ(receiver().Pixel(true, 4, 0), 0U);
  EXPECT_EQ(receiver().Pixel(false, 0, 0), 0U);
  ExpectNoFaults();
}

// A controller that does not answer: the start word goes out and nothing else.
TEST_P(PicturePort, SilentControllerEndsThePicture) {
  UseFrame("64x48");
  const std::string wrong = bench().SetFault("nak:controller");
  if (!wrong.empty()) GTEST_SKIP() << wrong;
  std::vector<uint8_t> bmp(54 + 12);
  bmp[18] = 4;
  bmp[22] = 1;
  bmp[26] = 1;
  bmp[28] = 24;
  WriteFile(folder.File("a.bmp"), bmp);
  EXPECT_EQ(Sddi_Bitmap(folder.File("a.bmp").c_str(), 0), 1U);
  EXPECT_EQ(receiver().words(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Wirings, PicturePort, testing::Values(0, 5, 9));

}  // namespace
}  // namespace brisk
