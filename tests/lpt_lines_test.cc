// The parallel port's registers, access by access: what every primitive puts on which of them, and
// how long a write lasts.
#include <cstdint>
#include <cstdio>
#include <deque>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "brisk/brisk.h"

#include "support/bench_test.h"
#include "support/calls.h"

namespace brisk {
namespace {

// A parallel port that writes down its accesses: "8FE" is 0xFE to the data register at 0x378, "AFF"
// 0xFF to the control register, "r" a read of the status register.
class Recorder final : public sim::PortDevice {
 public:
  void Write(unsigned offset, uint8_t value) override {
    char access[8];
    std::snprintf(access, sizeof access, "%X%02X", 8 + offset, unsigned{value});
    Add(access);
    sim::bench().clock().Spend(writeCost);
  }
  uint8_t Read(unsigned offset) override {
    EXPECT_EQ(offset, 1u);
    Add("r");
    if (status.empty()) return idle;
    const uint8_t value = status.front();
    status.pop_front();
    return value;
  }

  std::deque<uint8_t> status;
  uint8_t idle = 0xFF;
  uint64_t writeCost = 0;  // ns
  std::string text;

 private:
  void Add(const char* access) { text += (text.empty() ? "" : " ") + std::string(access); }
};

class LptLines : public BenchTest {
 protected:
  LptLines() {
    Configure("adapter=none");
    EXPECT_TRUE(bench().ports().Connect(0x378, 3, port));
    Select(0);
  }
  ~LptLines() override { DetachLibrary(); }

  void Select(uint8_t deviceType) {
    BriskSetDevice(deviceType);
    I2c_Stop();
    port.text.clear();
  }
  // The status bytes that the call reads, and its row.
  void Check(const std::deque<uint8_t>& status, const CallCase& row) {
    port.status = status;
    EXPECT_EQ(Call(row.call), row.outcome) << row.call;
    EXPECT_EQ(std::exchange(port.text, {}), row.seen) << row.call;
  }

  Recorder port;
};

std::string Times(int count, const std::string& accesses) {
  std::string text;
  for (int i = 0; i < count; ++i) text += (i == 0 ? "" : " ") + accesses;
  return text;
}

TEST_F(LptLines, WiringA) {
  const std::string one = "8FD 8FF 8FD";
  const std::string zero = "8FC 8FE 8FC";
  Check({}, {"I2c_Start", "", "8FF 8FF 8FE 8FC"});
  // Bit 4 low: acknowledged.
  Check({0xEF}, {"I2c_Tx FFFFFFA5", "0",
                 one + " " + zero + " " + one + " " + zero + " " + zero + " " + one + " " + zero +
                     " " + one + " 8FD 8FF r 8FD"});
  Check({0x10}, {"I2c_Tx 0", "1", Times(8, zero) + " 8FD 8FF r 8FD"});
  Check({}, {"I2c_Stop", "", "8FC 8FE 8FF"});
  const std::deque<uint8_t> bits = {0x10, 0xEF, 0x10, 0xEF, 0xEF, 0x10, 0xEF, 0x10};
  const std::string read = Times(8, "8FD 8FF r 8FD");
  // The clock is still high behind the stop.
  Check(bits, {"I2c_Rx 0", "0 A5", "8FF" + read.substr(3) + " " + zero});
  Check(bits, {"I2c_Rx 1", "0 A5", read + " " + one});
  Check(bits, {"I2c_Rx 7", "0 A5", read + " " + one});
}

// One register a line. Bit 7 of the status byte is the level on wiring B and its inverse on C.
TEST_F(LptLines, WiringsBAndC) {
  for (const uint8_t type : {5, 9}) {
    Select(type);
    Check({}, {"I2c_Start", "", "AFF 87F 8FF AF7"});
    const std::string byte = "87F AFF AF7 " + Times(7, "8FF AFF AF7") + " 87F AFF r AF7";
    Check({0x80}, {"I2c_Tx 80", type == 5 ? "1" : "0", byte});
    Check({0x7F}, {"I2c_Tx 80", type == 5 ? "0" : "1", byte});
    Check({}, {"I2c_Stop", "", "8FF AFF 87F"});
  }
}

// Single bits are built from the output byte. The clock bit of wiring C is cleared at the end of a
// sent bit, but not of a read one; what is read is never inverted.
TEST_F(LptLines, SingleBits) {
  const struct {
    uint8_t deviceType;
    const char* output;
    const char *one, *zero, *in;
    uint8_t mask;
  } kCases[] = {{0, "Lpt_Output 57", "855 857 855", "854 856 854", "855 857 r 855", 0x10},
                {5, "Lpt_Output 57", "8D4 8DC 8D4", "854 85C 854", "8D4 8DC r 8D4", 0x80},
                {9, "Lpt_Output 0F", "88C 88C 884", "80C 80C 804", "88C 88C r 88C", 0x80}};
  for (const auto& test : kCases) {
    Select(test.deviceType);
    Call(test.output);
    port.text.clear();
    Check({}, {"I2c_BitOut 80", "", test.one});
    Check({}, {"I2c_BitOut 0", "", test.zero});
    Check({test.mask}, {"I2c_BitIn", "1", test.in});
    Check({static_cast<uint8_t>(~test.mask)}, {"I2c_BitIn", "0", test.in});
  }
}

// Low bit first: data, then the rising clock.
TEST_F(LptLines, DebugBits) {
  Check({}, {"C1_TxDebug 3 4", "", "800 800 820 800 800 820 800 810 830"});
}

std::string SpiBits(uint32_t value, int count, bool lowAtTheEnd) {
  std::string text;
  for (int bit = count - 1; bit >= 0; --bit) {
    const bool high = (value >> bit & 1) != 0;
    text += high ? " 840 844" : " 800 804";
    if (lowAtTheEnd || bit == 0) text += high ? " 840" : " 800";
  }
  return text;
}

// Reading and deselecting leave the data line as it is. A data byte is sampled before the clock
// rises, a status byte after.
TEST_F(LptLines, FlashPins) {
  const std::string select = "84C 848 840";
  Check({}, {"SPIInit", "", "800"});
  const std::deque<uint8_t> bits = {0x40, 0xBF, 0x40, 0xBF, 0xBF, 0x40, 0xBF, 0x40};
  Check(bits, {"SPIReadByte FF800001", "A5",
               select + SpiBits(0x03, 8, false) + SpiBits(0x800001, 24, true) + " " +
                   Times(8, "r 844 840") + " 848"});
  port.idle = 0;  // ready at the first look
  Check({}, {"SPISectorErase FF800001", "",
             select + SpiBits(0x06, 8, false) + " 808 " + select + SpiBits(0xD8, 8, false) +
                 SpiBits(0x800001, 24, true) + " 848 " + select + SpiBits(0x05, 8, false) + " " +
                 Times(8, "844 r 840") + " 848"});
}

// The wait ends as long after the moment before the write as asked, however long the write took:
// here the bus's microsecond and what the port spends. One rate for all parallel ports; 0 leaves
// the last one in force.
TEST_F(LptLines, SettleTime) {
  const struct {
    uint8_t deviceType;
    uint32_t kHz;
    uint64_t cost, end;  // ns
  } kCases[] = {{0, 1000, 0, 1000}, {0, 1000, 7000, 8000}, {0, 100, 0, 5000}, {0, 100, 3000, 5000},
                {5, 0, 7000, 8000}, {5, 0, 0, 5000},       {9, 400, 0, 1000}, {0, 33, 0, 15000},
                {5, 3, 0, 166000},  {9, 0, 0, 166000},     {0, 500, 0, 1000}, {5, 501, 0, 1000}};
  for (const auto& given : kCases) {
    BriskSetDevice(given.deviceType);
    I2cSetClockRate(given.kHz);
    port.writeCost = given.cost;
    const uint64_t took = Took([] { Lpt_Output(0); });
    EXPECT_GE(took, given.end) << given.kHz << ' ' << given.cost;
    EXPECT_LE(took, given.end + 100) << given.kHz << ' ' << given.cost;
  }
}

class LptTiming : public BenchTest {};

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
