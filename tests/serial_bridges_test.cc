// Device type 7 character by character, and both bridges from the exports to the board's wires.
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_serial.h"

#include "sim/adapters/bridges/bridge_adapter.h"
#include "sim/board/timing_controller.h"
#include "support/bench_test.h"
#include "support/calls.h"
#include "support/i2c_monitor.h"
#include "support/scripted_port.h"

namespace brisk {
namespace {

constexpr uint8_t kPort = 12;

class TextBridgeTest : public BenchTest {
 protected:
  TextBridgeTest() {
    Configure("adapter=none");
    BriskSetDevice(7);
    line.PlugInto(bench(), kPort);
    line.onWrite = [this](std::string_view written) {
      if (written == "MagicCli\n") line.Reply("noise CLIMagic\n");
    };
  }
  ~TextBridgeTest() override {
    line.onWrite = [](std::string_view) {};
  }

  void Connected(uint32_t rate = 115200) {
    ASSERT_TRUE(uart_mag_connect(kPort, rate));
    line.TakeSent();
  }

  // One reply for each line end, in order.
  void AnswerLines(std::vector<std::string> replies) {
    line.onWrite = [this, replies, next = size_t{0}](std::string_view written) mutable {
      if (written == "\n" && next < replies.size()) line.Reply(replies[next++]);
    };
  }

  ScriptedLine line;
};

TEST_F(TextBridgeTest, LineRunsAtThePreviousRate) {
  EXPECT_TRUE(uart_mag_connect(kPort, 9600));
  EXPECT_EQ(line.TakeSent(), "MagicCli\n");
  uint32_t word = 0;
  EXPECT_EQ(Took([&] { EXPECT_EQ(I2c_Rx(&word, 0), 1u); }) / kMs, 131u);
  EXPECT_TRUE(uart_mag_connect(kPort, 57600));
  EXPECT_EQ(line.closed(), 1);
  EXPECT_EQ(line.rates(), (std::vector<uint32_t>{115200, 9600}));
  EXPECT_EQ(line.TakeSent(), "MagicCli\n");
  EXPECT_EQ(uart_mag_disconnect(), 77);
  EXPECT_EQ(uart_mag_disconnect(), 0);
  EXPECT_EQ(line.TakeSent(), "");
}

TEST_F(TextBridgeTest, ConnectsWithoutABridge) {
  line.onWrite = [this](std::string_view) { line.Reply("CLIMagic"); };  // no line feed
  EXPECT_EQ(Took([] { EXPECT_TRUE(uart_mag_connect(kPort, 9600)); }) / kMs, 1001u);
  EXPECT_EQ(line.TakeSent(), "MagicCli\nFail connect\n");
  EXPECT_FALSE(uart_mag_connect(99, 9600));
  EXPECT_NE(DebugText().find("uart_connect fails : can't open the com port\n"), std::string::npos);
  EXPECT_EQ(line.closed(), 1);
}

TEST_F(TextBridgeTest, WhatFailsKeepsPortAndRate) {
  EXPECT_FALSE(uart_mag_connect(99, 9600));
  Connected(9600);
  EXPECT_FALSE(uart_mag_connect(kPort, 0));
  EXPECT_EQ(line.rates(), std::vector<uint32_t>{115200});
  EXPECT_EQ(line.closed(), 0);
  EXPECT_EQ(line.TakeSent(), "");
}

TEST_F(TextBridgeTest, ReceiveTimesOut) {
  Connected();
  uint32_t word = 7;
  uint8_t byte = 7;
  EXPECT_EQ(Took([&] { EXPECT_EQ(I2c_Rx(&word, 0), 1u); }) / kMs, 21u);
  line.Reply("1");
  EXPECT_EQ(Took([&] { EXPECT_EQ(I2cRead(&byte, 0), 0u); }) / kMs, 21u);
  EXPECT_EQ(word, 7u);
  EXPECT_EQ(byte, 7);
  line.Reply("1");
  line.Reply("2", 20 * kMs);
  EXPECT_EQ(I2cRead(&byte, 0), 1u);
  EXPECT_EQ(byte, 0x12);
}

const struct {
  const char* call;
  std::vector<std::string> replies;  // one for each line end
  const char* outcome;
  const char* sent;
} kTransactions[] = {
    {"I2c_Tx FFA5", {}, "0", "A5"},
    {"I2cWrite C3", {}, "1", "C3"},
    {"I2cLib_Write 0 A0 0123456789 ABCDEF", {"1\n"}, "1", "A00123456789ABCDEF\n"},
    {"I2cLib_W1Byte 0 A1 12", {"0\n"}, "0", "A012\n"},
    {"I2cLib_W1Byte 0 A0 12", {"2\n"}, "0", "A012\n"},
    {"I2cLib_W1Byte 0 A0 12", {"1x"}, "1", "A012\n"},  // the second character is dropped
    {"I2cLib_W1Byte 0 A0 12", {}, "0", "A012\n"},
    {"I2cLib_W1Byte 0 A0 12", {"1"}, "1", "A012\n"},
    {"I2cLib_Write 0 F334 12F3 34", {"1\n"}, "1", "F23412F334\n"},
    {"I2cLib_Read 0 A0 2", {"1\n12?0x"}, "1 12F0", "A1\n1\n"},
    {"I2cLib_Read 0 A0 4", {"1\n//AF0\xFFz@x"}, "1 FF160FA0", "A1\n1\n"},  // no digits at all
    {"I2cLib_Read 0 F234 1", {"1\n56x"}, "1 56", "F334\n1\n"},
    {"I2cLib_Read 0 A0 2", {"0\n"}, "0", "A1\n1\n"},
    {"I2cLib_Read 0 A0 2", {}, "0", "A1\n1\n"},
    {"I2cLib_W1ByteR1Byte 0 A0 5 1", {"1\n78x"}, "1 78", "A005A1\n1\n"},
    {"I2cLib_WriteRead 0 F234 12F3 1", {"1\n", "1\n9:x"}, "1 9A", "F23412F3\nF334\n1\n"},
    {"I2cLib_WriteRead 0 F234 12 1", {"0\n", "1\n11x"}, "0", "F23412\n1\n"},
    {"I2cWriteData F4 34 12F3", {"1\n"}, "1", "F43412F3\n"},
    {"I2cReadData F4 34 1", {"1\n;<x"}, "1 BC", "F434F5\n1\n"},
    {"I2cWriteByte F4 1 2", {"1\n"}, "0", ""},
};

TEST_F(TextBridgeTest, Transactions) {
  Connected();
  for (const auto& [call, replies, outcome, sent] : kTransactions) {
    SCOPED_TRACE(call);
    AnswerLines(replies);
    EXPECT_EQ(Call(call), outcome);
    EXPECT_EQ(line.TakeSent(), sent);
    EXPECT_EQ(line.Unread(), 0u);
  }
}

// The bridge sends on until it is told that the PC has enough: the rest is nobody's answer.
TEST_F(TextBridgeTest, SurplusOfAReadIsDropped) {
  Connected();
  line.onWrite = [this](std::string_view written) {
    if (written == "\n") line.Reply("1\n78xyz");
    if (written == "1\n") line.Reply("0");
  };
  uint8_t byte = 0;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(I2cLib_W1ByteR1Byte(0, 0xA0, 0x05, &byte), 1);
    EXPECT_EQ(byte, 0x78);
  }

  // What comes too late to be dropped costs one transaction, not all that follow.
  AnswerLines({"01\n", "1\n"});
  EXPECT_EQ(I2cLib_W1Byte(0, 0xA0, 0x05), 0);
  EXPECT_EQ(I2cLib_W1Byte(0, 0xA0, 0x05), 1);
}

TEST_F(TextBridgeTest, LongWritesArriveWhole) {
  Connected();
  AnswerLines({"1\n"});
  EXPECT_EQ(Call("I2cLib_Write 0 A0 AA*1000 -"), "1");
  EXPECT_EQ(line.TakeSent(), "A0" + std::string(2000, 'A') + "\n");
}

TEST_F(TextBridgeTest, ClosedOperationsSendNothing) {
  for (const char* call : {"I2cLib_W1Byte 0 A0 1", "I2cLib_WriteRead 0 F234 01 1"}) {
    EXPECT_EQ(Took([&] { EXPECT_EQ(Call(call), "0"); }) / kMs, 21u) << call;
  }
  EXPECT_EQ(Call("I2c_Tx 1"), "0");
  EXPECT_EQ(Call("I2cWrite 1"), "1");
  EXPECT_EQ(line.TakeSent(), "");
}

class BridgesOnTheBench : public BenchTest {
 protected:
  // Closing the ports still moves the wires that the monitor listens on.
  ~BridgesOnTheBench() override { DetachLibrary(); }

  void Connect(uint8_t deviceType, uint32_t rate = 115200) {
    Configure("adapter=uart+text-bridge");
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

TEST_F(BridgesOnTheBench, SurviveReconnectsAtOtherRates) {
  for (const uint8_t deviceType : {uint8_t{3}, uint8_t{7}}) {
    SCOPED_TRACE(int{deviceType});
    Connect(deviceType);
    for (const uint32_t rate : {115200U, 9600U, 57600U}) {
      EXPECT_TRUE(deviceType == 3 ? uart_connect(3, rate) : uart_mag_connect(7, rate));
      EXPECT_EQ(Call("I2cLib_Write 0 F4 20FEDCBA98 -"), "1");
      EXPECT_EQ(Call("I2cLib_WriteRead 0 F4 20 4"), "1 FEDCBA98");
    }
    EXPECT_EQ(deviceType == 3 ? uart_disconnect() : uart_mag_disconnect(), 1);
    EXPECT_EQ(Call("I2cLib_W2Bytes 0 F4 10 1"), "0");
  }
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
      ASSERT_EQ(bench().SetFault("line-junk:3000@1"), "");
      I2cReadData(0xF4, registers, 1, &back, 1);
      bench().ClearFaults();
      bench().clock().Advance(400 * kMs);
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
