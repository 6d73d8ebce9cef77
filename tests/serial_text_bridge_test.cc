// Device type 7 character by character.
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_serial.h"

#include "support/bench_test.h"
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

TEST_F(TextBridgeTest, RateZeroLeavesAnOpenPortAlone) {
  Connected();
  EXPECT_FALSE(uart_mag_connect(kPort, 0));
  EXPECT_EQ(line.closed(), 0);
  EXPECT_EQ(line.TakeSent(), "");
}

TEST_F(TextBridgeTest, FailedOpenKeepsTheRate) {
  EXPECT_FALSE(uart_mag_connect(99, 9600));
  EXPECT_TRUE(uart_mag_connect(kPort, 9600));
  EXPECT_EQ(line.rates(), std::vector<uint32_t>{115200});
}

TEST_F(TextBridgeTest, SendsEveryByteAsTwoDigits) {
  Connected();
  const char digits[] = "0123456789ABCDEF";
  for (unsigned byte = 0; byte < 256; ++byte) {
    EXPECT_EQ(I2c_Tx(byte | 0xABC00), 0u);
    EXPECT_EQ(line.TakeSent(), (std::string{digits[byte / 16], digits[byte % 16]}));
    EXPECT_EQ(I2cWrite(static_cast<uint8_t>(byte)), 1u);
    line.TakeSent();
  }
}

TEST_F(TextBridgeTest, DecodesEveryPairOfCharacters) {
  Connected();
  for (unsigned high = 0; high < 256; ++high) {
    for (unsigned low = 0; low < 256; low += 3) {
      line.Reply(std::string{static_cast<char>(high), static_cast<char>(low)});
      uint32_t word = 0xFFFFFFFF;
      ASSERT_EQ(I2c_Rx(&word, 0), 0u);
      const unsigned expected = ((high - 48) * 16 % 256 + (low - 48) % 16) % 256;
      ASSERT_EQ(word, expected) << high << ' ' << low;
    }
  }
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

TEST_F(TextBridgeTest, Transactions) {
  Connected();
  const uint8_t first[] = {0x12, 0xF3};
  const uint8_t second[] = {0x34};
  uint8_t got[2] = {};
  struct Case {
    const char* name;
    std::vector<std::string> replies;
    std::function<uint32_t()> call;
    uint32_t result;
    const char* sent;
  };
  const Case cases[] = {
      {"W2Bytes", {"1\n"}, [] { return I2cLib_W2Bytes(0, 0xA0, 0x12, 0x34); }, 1, "A01234\n"},
      {"not acknowledged", {"0\n"}, [] { return I2cLib_W1Byte(0, 0xA1, 0x12); }, 0, "A012\n"},
      {"any other digit", {"2\n"}, [] { return I2cLib_W1Byte(0, 0xA0, 0x12); }, 0, "A012\n"},
      {"second character dropped",
       {"1x"},
       [] { return I2cLib_W1Byte(0, 0xA0, 0x12); },
       1,
       "A012\n"},
      {"silent bridge", {}, [] { return I2cLib_W1Byte(0, 0xA0, 0x12); }, 0, "A012\n"},
      {"digit alone", {"1"}, [] { return I2cLib_W1Byte(0, 0xA0, 0x12); }, 1, "A012\n"},
      {"write to 10 bits",
       {"1\n"},
       [&] { return I2cLib_Write(0, 0xF334, first, 2, second, 1); },
       1,
       "F23412F334\n"},
      {"read", {"1\n12?0x"}, [&] { return I2cLib_Read(0, 0xA0, got, 2); }, 1, "A1\n1\n"},
      {"read from 10 bits",
       {"1\n56x"},
       [&] { return I2cLib_Read(0, 0xF234, got, 1); },
       1,
       "F334\n1\n"},
      {"read, not acknowledged",
       {"0\n"},
       [&] { return I2cLib_Read(0, 0xA0, got, 2); },
       0,
       "A1\n1\n"},
      {"read, silent bridge", {}, [&] { return I2cLib_Read(0, 0xA0, got, 2); }, 0, "A1\n1\n"},
      {"W1ByteR1Byte",
       {"1\n78x"},
       [&] { return I2cLib_W1ByteR1Byte(0, 0xA0, 0x05, got); },
       1,
       "A005A1\n1\n"},
      {"write and read 10 bits",
       {"1\n", "1\n9:x"},
       [&] { return I2cLib_WriteRead(0, 0xF234, first, 2, got, 1); },
       1,
       "F23412F3\nF334\n1\n"},
      {"write and read 10 bits, no",
       {"0\n", "1\n11x"},
       [&] { return I2cLib_WriteRead(0, 0xF234, first, 1, got, 1); },
       0,
       "F23412\n1\n"},
      {"I2cWriteData",
       {"1\n"},
       [&] { return I2cWriteData(0xF4, second, 1, first, 2); },
       1,
       "F43412F3\n"},
      {"I2cReadData",
       {"1\n;<x"},
       [&] { return I2cReadData(0xF4, second, 1, got, 1); },
       1,
       "F434F5\n1\n"},
      {"null buffer", {}, [] { return I2cLib_Write(0, 0xA0, nullptr, 1, nullptr, 0); }, 0, ""},
      {"I2cWriteByte is no operation", {"1\n"}, [] { return I2cWriteByte(0xF4, 1, 2); }, 0, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    AnswerLines(c.replies);
    EXPECT_EQ(c.call(), c.result);
    EXPECT_EQ(line.TakeSent(), c.sent);
    EXPECT_EQ(line.Unread(), 0u);
  }
  EXPECT_EQ(got[0], 0xBC);  // the last case's
  EXPECT_EQ(got[1], 0xF0);  // of "read"
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
  const std::vector<uint8_t> bytes(1000, 0xAB);
  EXPECT_EQ(I2cLib_Write(0, 0xA0, bytes.data(), 1000, nullptr, 0), 1);
  std::string expected = "A0";
  for (int i = 0; i < 1000; ++i) expected += "AB";
  EXPECT_EQ(line.TakeSent(), expected + "\n");
}

TEST_F(TextBridgeTest, ClosedOperationsSendNothing) {
  uint8_t byte = 1;
  EXPECT_EQ(Took([] { EXPECT_EQ(I2cLib_W1Byte(0, 0xA0, 1), 0); }) / kMs, 21u);
  EXPECT_EQ(Took([&] { EXPECT_EQ(I2cLib_Read(0, 0xA0, &byte, 1), 0); }) / kMs, 21u);
  EXPECT_EQ(Took([&] { EXPECT_EQ(I2cLib_WriteRead(0, 0xF234, &byte, 1, &byte, 1), 0); }) / kMs,
            21u);
  EXPECT_EQ(I2c_Tx(1), 0u);
  EXPECT_EQ(I2cWrite(1), 1u);
  EXPECT_EQ(byte, 1);
  EXPECT_EQ(line.TakeSent(), "");
}

}  // namespace
}  // namespace brisk
