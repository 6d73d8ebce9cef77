// Settle time and clock measurement, by counting counter reads on the simulated clock.
#include <cstdint>
#include <gtest/gtest.h>
#include <string>

#include "brisk/brisk.h"

#include "support/bench_test.h"

namespace brisk {
namespace {

class LptTiming : public BenchTest {
 protected:
  // Nanoseconds that one Lpt_Output takes on the virtual clock.
  uint64_t OutputTime() {
    const uint64_t before = bench().clock().Now();
    Lpt_Output(0);
    return bench().clock().Now() - before;
  }
};

TEST_F(LptTiming, RateSetsTheSettleTime) {
  struct Case {
    uint32_t kHz;
    uint64_t microseconds;
  };
  const uint64_t unpaced = OutputTime();
  // A rate of 0 leaves the last one in force.
  for (const Case& test : {Case{100, 5}, Case{400, 1}, Case{33, 15}, Case{3, 166}, Case{0, 166},
                           Case{500, 1}, Case{501, 0}, Case{1000, 0}, Case{0, 0}}) {
    SCOPED_TRACE(test.kHz);
    I2cSetClockRate(test.kHz);
    const uint64_t time = OutputTime();
    EXPECT_GE(time, test.microseconds * 1000);
    EXPECT_LE(time, test.microseconds * 1000 + unpaced + 100);
  }
}

TEST_F(LptTiming, OneRateForAllParallelPorts) {
  BriskSetDevice(5);
  I2cSetClockRate(100);
  for (const uint8_t type : {0, 9}) {
    BriskSetDevice(type);
    EXPECT_GE(OutputTime(), 5000u) << int{type};
  }
  BriskSetDevice(9);
  I2cSetClockRate(1000);
  BriskSetDevice(0);
  EXPECT_LT(OutputTime(), 5000u);
}

TEST_F(LptTiming, AttachMeasuresTheClockAndSaysSo) {
  EXPECT_NE(DebugText().find("In Dllmain\n"), std::string::npos);
  EXPECT_NE(DebugText().find("CPU frequency=3000 MHz\n"), std::string::npos) << DebugText();
}

}  // namespace
}  // namespace brisk
