// The simulated I2C wires and the devices on them, driven by a master of the tests' own.
#include <gtest/gtest.h>
#include <optional>

#include "sim/board/eeprom.h"
#include "sim/board/timing_controller.h"
#include "support/wire_master.h"

namespace brisk {
namespace {

using Bytes = std::vector<uint8_t>;

class SimI2c : public testing::Test {
 protected:
  void Use(std::string_view options) {
    bench_ = MakeBench(options);
    master_.emplace(*bench_);
  }
  void SetUp() override { Use("adapter=none,frame=800x480"); }

  Bytes Read(const Bytes& address, size_t count) {
    Bytes data;
    if (master_->Send(address) == address.size()) {
      for (size_t i = 0; i < count; ++i) data.push_back(master_->Read(i + 1 < count));
    }
    master_->Stop();
    return data;
  }
  size_t Write(const Bytes& bytes) {
    const size_t acknowledged = master_->Send(bytes);
    master_->Stop();
    return acknowledged;
  }

  std::unique_ptr<sim::Bench> bench_;
  std::optional<I2cMaster> master_;
};

TEST_F(SimI2c, LinesAreTheAndOfAllDrivers) {
  sim::I2cWires& wires = bench_->board().i2c();
  const auto a = wires.AddDriver();
  const auto b = wires.AddDriver();
  wires.Drive(a, false, true);
  wires.Drive(b, false, false);
  wires.Drive(a, true, true);
  EXPECT_FALSE(wires.scl());
  EXPECT_FALSE(wires.sda());
  wires.Drive(b, true, true);
  EXPECT_TRUE(wires.scl());
  EXPECT_TRUE(wires.sda());
}

// Each device sees the same levels in the same order, whoever answers an edge from inside it.
TEST_F(SimI2c, EveryDeviceSeesTheSameSequence) {
  struct Recorder : sim::I2cDevice {
    void LinesChanged(bool scl, bool sda) override {
      levels.push_back(static_cast<uint8_t>((scl ? 2 : 0) | (sda ? 1 : 0)));
      if (answer != nullptr && !scl) answer->Drive(driver, true, false);
    }
    Bytes levels;
    sim::I2cWires* answer = nullptr;
    sim::I2cWires::Driver driver = 0;
  };
  sim::I2cWires& wires = bench_->board().i2c();
  Recorder first;
  Recorder second;
  first.answer = &wires;
  first.driver = wires.AddDriver();
  wires.AddDevice(first);
  wires.AddDevice(second);
  const auto master = wires.AddDriver();
  wires.Drive(master, false, true);
  EXPECT_EQ(first.levels, (Bytes{1, 0}));
  EXPECT_EQ(second.levels, first.levels);
}

TEST_F(SimI2c, ControllerStartsWithTheFrame) {
  ASSERT_EQ(Write({0xF4, 0x70}), 2u);
  EXPECT_EQ(Read({0xF5}, 4), (Bytes{0x20, 0x03, 0xE0, 0x01}));
}

TEST_F(SimI2c, ControllerWritesAndReadsOnWithARepeatedStart) {
  EXPECT_EQ(Write({0xF4, 0xFE, 0x11, 0x22, 0x33}), 5u);
  EXPECT_EQ(bench_->board().controller().Register(0x00), 0x33);  // wrapped
  EXPECT_EQ(master_->Send({0xF4, 0xFE}), 2u);
  EXPECT_EQ(Read({0xF5}, 3), (Bytes{0x11, 0x22, 0x33}));
}

TEST_F(SimI2c, NobodyAnswersAForeignAddress) {
  for (const uint8_t address : {0x00, 0xF2, 0xF6, 0xA2, 0x74}) {
    EXPECT_EQ(Write({address}), 0u) << unsigned{address};
  }
}

TEST_F(SimI2c, SimultaneousChangesAreNeitherStartNorStop) {
  // Into a message with both lines falling at once, and on with an address: nobody listens.
  master_->Set(false, false);
  EXPECT_FALSE(master_->Write(0xF4));
  // Out of a message with both lines rising at once: the message goes on.
  ASSERT_EQ(master_->Send({0xF4, 0x10}), 2u);
  master_->Set(false, false);
  master_->Set(true, true);  // this is the first data bit, a 1
  master_->Set(false, true);
  for (int bit = 0; bit < 7; ++bit) {
    master_->Set(false, false);
    master_->Set(true, false);
    master_->Set(false, false);
  }
  master_->Set(false, true);
  master_->Set(true, true);
  EXPECT_FALSE(bench_->board().i2c().sda());  // acknowledged
  master_->Set(false, true);
  master_->Stop();
  EXPECT_EQ(bench_->board().controller().Register(0x10), 0x80);
}

TEST_F(SimI2c, StopInTheMiddleOfAByteDropsIt) {
  ASSERT_EQ(master_->Send({0xF4, 0x20}), 2u);
  for (int bit = 0; bit < 5; ++bit) {
    master_->Set(false, false);
    master_->Set(true, false);
    master_->Set(false, false);
  }
  master_->Stop();
  EXPECT_EQ(bench_->board().controller().Register(0x20), 0);
  EXPECT_EQ(Write({0xF4, 0x20, 0x5A}), 3u);
  EXPECT_EQ(bench_->board().controller().Register(0x20), 0x5A);
}

TEST_F(SimI2c, TenBitDeviceAnswersItsTwoByteAddress) {
  EXPECT_EQ(Write({0xF2, 0xA5, 0x07}), 0u);
  Use("adapter=none,ten-bit=0x1A5");
  EXPECT_EQ(Write({0xF2, 0xA5, 0x07, 0x42, 0x43}), 5u);
  EXPECT_EQ(Write({0xF2, 0xA6}), 1u);
  EXPECT_EQ(master_->Send({0xF2, 0xA5, 0x07}), 3u);
  EXPECT_EQ(Read({0xF3, 0xA5}, 2), (Bytes{0x42, 0x43}));
}

TEST_F(SimI2c, EepromWrapsInsideItsPage) {
  EXPECT_EQ(Write({0xA0, 0x16, 1, 2, 3, 4}), 6u);
  bench_->clock().Advance(6'000'000);
  EXPECT_EQ(Write({0xA0, 0x10}), 2u);
  EXPECT_EQ(Read({0xA1}, 8), (Bytes{3, 4, 0xFF, 0xFF, 0xFF, 0xFF, 1, 2}));
}

TEST_F(SimI2c, EepromDoesNotAnswerDuringItsWriteCycle) {
  ASSERT_EQ(Write({0xA0, 0x00, 0x55}), 3u);
  EXPECT_EQ(Write({0xA0}), 0u);
  bench_->clock().Advance(4'500'000);
  EXPECT_EQ(Write({0xA0}), 0u);
  bench_->clock().Advance(500'000);
  EXPECT_EQ(Write({0xA0, 0x00}), 2u);
  EXPECT_EQ(Read({0xA1}, 1), (Bytes{0x55}));
}

TEST_F(SimI2c, EepromWritesOnlyAtAStop) {
  ASSERT_EQ(master_->Send({0xA0, 0x00, 0x55}), 3u);
  ASSERT_EQ(Write({0xA0, 0x00}), 2u);  // a repeated START: the byte is dropped
  EXPECT_EQ(Read({0xA1}, 1), (Bytes{0xFF}));
}

struct NakCase {
  const char* fault;
  Bytes bytes;
  size_t acknowledged;
};

TEST_F(SimI2c, MissingAcknowledges) {
  const NakCase cases[] = {
      {"nak", {0xF4, 0x10}, 0},
      {"nak:controller", {0xF4, 0x10}, 0},
      {"nak:eeprom", {0xF4, 0x10}, 2},
      {"nak:eeprom", {0xA0, 0x10}, 0},
      {"nak@1", {0xF4, 0x10}, 0},
      {"nak@3", {0xF4, 0x10, 0x11, 0x12}, 2},
      {"nak%0", {0xF4, 0x10, 0x11, 0x12}, 4},
      {"nak:ten-bit@2", {0xF4, 0x10, 0x11, 0x12}, 4},
  };
  for (const NakCase& test : cases) {
    Use("adapter=none");
    ASSERT_EQ(bench_->SetFault(test.fault), "");
    EXPECT_EQ(Write(test.bytes), test.acknowledged) << test.fault;
    bench_->ClearFaults();
    EXPECT_EQ(Write({0xF4, 0x10}), 2u) << "after " << test.fault;
  }
}

// The byte arrives; only its acknowledge is lost, and those of the bytes after it are not.
TEST_F(SimI2c, OneLostAcknowledgeLosesNothingElse) {
  ASSERT_EQ(bench_->SetFault("nak@3"), "");
  master_->Start();
  EXPECT_TRUE(master_->Write(0xF4));
  EXPECT_TRUE(master_->Write(0x10));
  EXPECT_FALSE(master_->Write(0x11));
  EXPECT_TRUE(master_->Write(0x12));
  master_->Stop();
  EXPECT_EQ(bench_->board().controller().Register16(0x10), 0x1211);
}

TEST_F(SimI2c, StuckLinesStayLow) {
  sim::I2cWires& wires = bench_->board().i2c();
  ASSERT_EQ(bench_->SetFault("sda-low"), "");
  EXPECT_FALSE(wires.sda());
  EXPECT_TRUE(wires.scl());
  ASSERT_EQ(bench_->SetFault("scl-low"), "");
  EXPECT_FALSE(wires.scl());
  Write({0xF4, 0x10, 0x99});  // no edge gets through
  bench_->ClearFaults();
  EXPECT_TRUE(wires.scl());
  EXPECT_TRUE(wires.sda());
  EXPECT_EQ(bench_->board().controller().Register(0x10), 0);
}

TEST_F(SimI2c, RandomFaultsRepeatWithTheSeed) {
  const auto run = [this](const char* options) {
    Use(options);
    Bytes pattern;
    for (int i = 0; i < 64; ++i) pattern.push_back(static_cast<uint8_t>(Write({0xF4, 1, 2})));
    return pattern;
  };
  const Bytes once = run("adapter=none,fault=nak%20,seed=7");
  EXPECT_EQ(run("adapter=none,fault=nak%20,seed=7"), once);
  EXPECT_NE(run("adapter=none,fault=nak%20,seed=8"), once);
}

}  // namespace
}  // namespace brisk
