// Settle time and clock measurement, by counting counter reads on the simulated clock.
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

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

// Driver, clock, board library: in this order, the clock at the highest priorities, which are put
// back. Nothing but the measurement and the look for the driver takes time.
TEST_F(LptTiming, AttachKeepsItsOrder) {
  DetachLibrary();
  ClearDebugText();
  const size_t changes = bench().scheduler().changes().size();
  const uint64_t before = bench().clock().Now();
  AttachLibrary();
  EXPECT_LE(bench().clock().Now() - before, 62'500'000u + 50'000'000u);
  EXPECT_EQ(DebugText(),
            "In Dllmain\n"
            "brisk-- the port-access driver cannot be opened (file 3, service 1)\n"
            "brisk-- no direct port access: parallel-port operations will fault\n"
            "CPU frequency=3000 MHz\n"
            "Error: Load WinIo.dll fail.");
  using Change = sim::PriorityRecorder::Change;
  const auto& all = bench().scheduler().changes();
  EXPECT_EQ(std::vector<Change>(all.begin() + static_cast<ptrdiff_t>(changes), all.end()),
            (std::vector<Change>{{false, 0x100}, {true, 15}, {true, 0}, {false, 0x20}}));
}

}  // namespace
}  // namespace brisk
