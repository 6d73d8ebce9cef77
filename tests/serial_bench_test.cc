// The bridges of the bench, from the exports to the board's wires, and what the line can do to
// them.
#include <cstdint>
#include <gtest/gtest.h>
#include <string>

#include "brisk/brisk.h"
#include "brisk/brisk_serial.h"

#include "sim/adapters/bridges/bridge_adapter.h"
#include "sim/board/register_file.h"
#include "sim/board/timing_controller.h"
#include "support/bench_test.h"
#include "support/i2c_monitor.h"

namespace brisk {
namespace {

class BridgesOnTheBench : public BenchTest {
 protected:
  // Closing the ports still moves the wires that the monitor listens on.
  ~BridgesOnTheBench() override { DetachLibrary(); }

  void Connect(uint8_t deviceType, uint32_t rate = 115200) {
    Configure("adapter=uart+text-bridge,ten-bit=0x134");
    BriskSetDevice(deviceType);
    monitor = {};
    bench().board().i2c().AddDevice(monitor);
    EXPECT_TRUE(deviceType == 3 ? uart_connect(3, rate) : uart_mag_connect(7, rate));
  }

  std::string Wires() {
    for (const char* name : {"uart", "text-bridge"}) {
      static_cast<sim::BridgeAdapter*>(bench().adapter(name))->line().Settle();
    }
    return monitor.Take();
  }

  I2cMonitor monitor;
};

TEST_F(BridgesOnTheBench, UartMovesTheWires) {
  Connect(3);
  EXPECT_EQ(I2cWriteByte(0xF4, 0x10, 0x55), 1u);
  EXPECT_EQ(Wires(), "S F4+ 10+ 55+ P");
  EXPECT_EQ(bench().board().controller().Register(0x10), 0x55);
  uint8_t data[3] = {};
  EXPECT_EQ(I2cReadByte(0xF4, 0x10, data), 1u);
  EXPECT_EQ(data[0], 0x55);
  EXPECT_EQ(Wires(), "S F4+ 10+ Sr F5+ 55- P");
  EXPECT_EQ(I2cWriteByte(0x22, 0x10, 0x55), 0u);
  EXPECT_EQ(Wires(), "S 22- P");

  const uint8_t bytes[] = {0x20, 0x01, 0x02, 0x03};
  EXPECT_EQ(I2cWriteData(0xF4, bytes, 1, bytes + 1, 3), 1u);
  EXPECT_EQ(I2cReadData(0xF4, bytes, 1, data, 3), 1u);
  EXPECT_EQ(data[2], 0x03);
  EXPECT_EQ(Wires(), "S F4+ 20+ 01+ 02+ 03+ P S F4+ 20+ Sr F5+ 01+ 02+ 03- P");

  EXPECT_EQ(I2cLib_W2Bytes(0, 0xF234, 0x07, 0x77), 1);  // 10-bit address 0x134
  EXPECT_EQ(bench().board().tenBit()->Register(0x07), 0x77);
  EXPECT_EQ(I2cLib_W1ByteR1Byte(0, 0xF234, 0x07, data), 1);
  EXPECT_EQ(data[0], 0x77);
}

TEST_F(BridgesOnTheBench, UartRegisterFrames) {
  Connect(3);
  char count = 5;
  EXPECT_EQ(I2c_WriteString(&count, "50E2801234"), 255u);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(bench().board().controller().Register16(0x80), 0x1234);
  count = 3;
  Wires();
  EXPECT_EQ(I2c_ReadString(&count, "50E980"), 0x1234u);
  EXPECT_EQ(Wires(), "S F4+ 80+ Sr F5+ 34+ 12- P");
  ASSERT_EQ(bench().SetFault("line-width"), "");
  count = 3;
  EXPECT_EQ(I2c_ReadString(&count, "50E980"), 1u);
  EXPECT_EQ(count, 3);
}

TEST_F(BridgesOnTheBench, UartSurvivesReconnects) {
  Connect(3);
  for (const uint32_t rate : {9600U, 57600U, 3000000U}) {
    EXPECT_TRUE(uart_connect(3, rate));
    EXPECT_EQ(I2cWriteByte(0xF4, 0x10, static_cast<uint8_t>(rate >> 8)), 1u);
    EXPECT_EQ(bench().board().controller().Register(0x10), static_cast<uint8_t>(rate >> 8));
  }
  EXPECT_EQ(uart_disconnect(), 1);
  EXPECT_EQ(I2cWriteByte(0xF4, 0x10, 1), 0u);
}

TEST_F(BridgesOnTheBench, TextBridgeMovesTheWires) {
  Connect(7);
  EXPECT_EQ(I2cLib_W2Bytes(0, 0xF4, 0x10, 0xBE), 1);
  EXPECT_EQ(Wires(), "S F4+ 10+ BE+ P");
  EXPECT_EQ(I2cLib_W1Byte(0, 0x22, 0x10), 0);
  EXPECT_EQ(Wires(), "S 22- P");
  for (const uint32_t rate : {115200U, 9600U, 57600U}) {
    EXPECT_TRUE(uart_mag_connect(7, rate));
    Wires();
    uint8_t data[4] = {};
    EXPECT_EQ(I2cLib_W1ByteR1Byte(0, 0xF4, 0x10, data), 1);
    EXPECT_EQ(data[0], 0xBE);
    EXPECT_EQ(Wires(), "S F4+ 10+ Sr F5+ BE+ 00- P");  // one byte ahead of the PC
    const uint8_t block[] = {0x20, 0xFE, 0xDC, 0xBA, 0x98};
    EXPECT_EQ(I2cLib_Write(0, 0xF4, block, 5, nullptr, 0), 1);
    EXPECT_EQ(I2cLib_WriteRead(0, 0xF4, block, 1, data, 4), 1);
    EXPECT_EQ(data[0], 0xFE);
    EXPECT_EQ(data[3], 0x98);
  }
  EXPECT_EQ(I2cLib_W2Bytes(0, 0xF234, 0x07, 0x77), 1);
  uint8_t byte = 0;
  EXPECT_EQ(I2cLib_W1ByteR1Byte(0, 0xF234, 0x07, &byte), 1);
  EXPECT_EQ(byte, 0x77);
}

TEST_F(BridgesOnTheBench, LineFaults) {
  struct Case {
    const char* fault;
    uint32_t result;  // of a register write
  };
  for (const auto& [fault, result] :
       {Case{"line-junk:5", 1}, Case{"line-delay:15", 1}, Case{"line-delay:25", 0},
        Case{"line-split:15", 1}, Case{"line-split:25", 0}, Case{"line-silent@2", 0},
        Case{"line-gone", 0}, Case{"nak:controller@2", 0}}) {
    SCOPED_TRACE(fault);
    Connect(3);
    ASSERT_EQ(bench().SetFault(fault), "");
    EXPECT_EQ(I2cWriteByte(0xF4, 0x10, 0x55), result);
  }
  EXPECT_TRUE((bench().ClearFaults(), uart_connect(3, 115200)));
  ASSERT_EQ(bench().SetFault("line-gone"), "");
  EXPECT_FALSE(uart_connect(3, 115200));
  EXPECT_NE(DebugText().find("unplugged"), std::string::npos);
}

// Answers that come after their time-out are not taken for those of what is asked later.
TEST_F(BridgesOnTheBench, LateAnswersAreDropped) {
  for (const uint8_t deviceType : {uint8_t{3}, uint8_t{7}}) {
    SCOPED_TRACE(int{deviceType});
    Connect(deviceType);
    for (uint8_t i = 0; i < 8; ++i) {
      const uint8_t registers[] = {0x10, 0x20, 0x30};
      const uint8_t values[] = {i, static_cast<uint8_t>(0xA0 + i), static_cast<uint8_t>(0x50 - i)};
      uint8_t back = 0;
      ASSERT_EQ(bench().SetFault("line-delay:60@1"), "");
      I2cReadData(0xF4, registers, 1, &back, 1);
      bench().ClearFaults();
      bench().clock().Advance(uint64_t{100} * 1000000);
      for (int k = 0; k < 3; ++k) {
        SCOPED_TRACE(int{i} * 10 + k);
        ASSERT_EQ(I2cWriteData(0xF4, &registers[k], 1, &values[k], 1), 1u);
        ASSERT_EQ(I2cReadData(0xF4, &registers[k], 1, &back, 1), 1u);
        ASSERT_EQ(back, values[k]);
      }
    }
  }
}

// 14 bytes go over the line one after another: start and stop, three transmit frames, three
// replies. The bus has nine clocks for each of the three bytes besides.
TEST_F(BridgesOnTheBench, RegisterWriteTakesItsBytes) {
  Connect(3);
  constexpr int kWrites = 100;
  const uint64_t start = bench().clock().Now();
  for (int i = 0; i < kWrites; ++i) ASSERT_EQ(I2cWriteByte(0xF4, 0x10, 0x55), 1u);
  const double each = static_cast<double>(bench().clock().Now() - start) / kWrites;
  constexpr double kLineNs = 14 * 10 * 1e9 / 115200;
  constexpr double kBusNs = (27 * 4 + 4) * 2500.0;
  EXPECT_GE(each, kLineNs);
  EXPECT_LE(each, kLineNs * 1.05 + kBusNs);
  RecordProperty("microseconds", static_cast<int>(each / 1000));
}

}  // namespace
}  // namespace brisk
