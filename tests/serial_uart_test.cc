// Device type 3 byte by byte: handshake, frames, waits and their edges, raw register frames.
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

using namespace std::string_literals;
using namespace std::string_view_literals;

constexpr uint8_t kPort = 12;
constexpr char kLeave[] = "uartleave\n";

class UartTest : public BenchTest {
 protected:
  UartTest() {
    Configure("adapter=none");
    BriskSetDevice(3);
    line.PlugInto(bench(), kPort);
    AnswerHandshake("CLI_ACK", "UI2C_ACK");
  }
  ~UartTest() override {
    line.onWrite = [](std::string_view) {};
  }

  void AnswerHandshake(const std::string& first, const std::string& second) {
    line.onWrite = [this, first, second](std::string_view written) {
      if (written == "TalvoCli\n") line.Reply(first);
      if (written == "uart_2_i2c\n") line.Reply(second);
    };
  }

  void Connected(uint32_t rate = 115200) {
    ASSERT_TRUE(uart_connect(kPort, rate));
    line.TakeSent();
    line.TakeWrites();
  }

  // Answers frame after frame, in order; frames beyond them stay without an answer.
  void AnswerFrames(std::vector<std::string> replies) {
    line.onWrite = [this, replies, next = size_t{0}](std::string_view written) mutable {
      const auto code = static_cast<uint8_t>(written[0]);
      if (code >= 0xFA && code <= 0xFC) return;
      if (next < replies.size()) line.Reply(replies[next++]);
    };
  }

  // To the beginning of a millisecond, where the waits' clock changes.
  ScriptedLine line;
};

TEST_F(UartTest, ConnectSendsTheHandshakeAtTheRate) {
  EXPECT_TRUE(uart_connect(kPort, 115200));
  EXPECT_EQ(line.TakeSent(), "TalvoCli\nuart_2_i2c\n");
  EXPECT_EQ(line.rates(), std::vector<uint32_t>{115200});
  EXPECT_EQ(uart_disconnect(), 77);
  EXPECT_EQ(line.TakeSent(), kLeave);
  EXPECT_EQ(line.closed(), 1);
  EXPECT_EQ(uart_disconnect(), 0);
  EXPECT_EQ(line.TakeSent(), "");
}

TEST_F(UartTest, ConnectWhileConnectedLeavesFirst) {
  Connected();
  EXPECT_TRUE(uart_connect(kPort, 9600));
  EXPECT_EQ(line.TakeSent(), "uartleave\nTalvoCli\nuart_2_i2c\n");
  EXPECT_EQ(line.closed(), 1);
}

TEST_F(UartTest, ConnectFailuresNameTheStep) {
  EXPECT_FALSE(uart_connect(99, 115200));
  EXPECT_NE(DebugText().find("uart_connect fails : can't open the com port\n"), std::string::npos);
  EXPECT_NE(DebugText().find("COM99"), std::string::npos);

  ClearDebugText();
  AnswerHandshake("CLI_ACK", "UI2C_NAK");
  EXPECT_FALSE(uart_connect(kPort, 9600));
  EXPECT_EQ(DebugText(), "uart_connect fails : slave doesn't ack\n");
  EXPECT_EQ(line.TakeSent(), "TalvoCli\nuart_2_i2c\nuartleave\n");
  EXPECT_EQ(line.closed(), 1);
  // The rate of the failed connect was not recorded: 57600 still counts.
  EXPECT_NEAR(static_cast<double>(Took([] { I2c_Tx(0); })), 31.0 * kMs, 0.01 * kMs);
}

TEST_F(UartTest, RateZeroLeavesAnOpenPortAlone) {
  Connected();
  ClearDebugText();
  EXPECT_FALSE(uart_connect(kPort, 0));
  EXPECT_NE(DebugText().find("rate"), std::string::npos);
  EXPECT_EQ(line.TakeSent(), "");
  EXPECT_EQ(line.closed(), 0);
}

TEST_F(UartTest, MissingFirstTokenCostsASecondOnly) {
  AnswerHandshake("", "junk\xFF UI2C_ACK rest");
  EXPECT_NEAR(static_cast<double>(Took([] { EXPECT_TRUE(uart_connect(kPort, 115200)); })),
              1001.0 * kMs, 1.0 * kMs);
  EXPECT_EQ(line.Unread(), 5u);  // " rest" stays in the port
}

TEST_F(UartTest, TokenMayFollowItsOwnBeginning) {
  AnswerHandshake("CLI_CLI_ACK", "UI2UI2C_ACK");
  EXPECT_LT(Took([] { EXPECT_TRUE(uart_connect(kPort, 115200)); }), 10 * kMs);
}

TEST_F(UartTest, TokenWaitEndsAfterTheSecond) {
  const auto lateBy = [this](uint64_t ns) {
    line.onWrite = [this, ns](std::string_view written) {
      if (written == "TalvoCli\n") {
        line.Reply("CLI_ACK");
      } else if (written == "uart_2_i2c\n") {
        AlignClock();
        line.Reply("UI2C_ACK", ns);
      }
    };
    return uart_connect(kPort, 115200);
  };
  EXPECT_TRUE(lateBy(1000 * kMs + kMs / 2));
  EXPECT_FALSE(lateBy(1001 * kMs + kMs / 2));
}

TEST_F(UartTest, EndlessJunkHoldsNothing) {
  Connected();
  line.BabbleForEver();
  char count = 3;
  EXPECT_EQ(Took([] { EXPECT_EQ(I2c_Tx(0), 1u); }) / kMs, 21u);
  EXPECT_EQ(Took([&] { EXPECT_EQ(I2c_ReadString(&count, "50E81A"), 1u); }) / kMs, 21u);
  EXPECT_EQ(Took([] { EXPECT_FALSE(uart_connect(kPort, 115200)); }) / kMs, 2002u);
}

TEST_F(UartTest, PrimitiveFrames) {
  Connected();
  I2c_Start();
  I2c_RStart();
  I2c_Stop();
  EXPECT_EQ(line.TakeWrites(), (std::vector{"\xFA"s, "\xFB"s, "\xFC"s}));

  AnswerFrames({"\xFF\x00"s, "junk\xFF\x01", "\xFF\x05", "\xFF\xFF"});
  EXPECT_EQ(I2c_Tx(0x1F4), 0u);
  EXPECT_EQ(I2c_Tx(0x00), 1u);
  EXPECT_EQ(I2c_Tx(0xFD), 5u);
  EXPECT_EQ(I2c_Tx(0xFF), 0xFFu);
  EXPECT_EQ(line.TakeWrites(), (std::vector{"\xFD\xF4"s, "\xFD\x00"s, "\xFD\xFD"s, "\xFD\xFF"s}));

  AnswerFrames({"\xFF\x00"s, "\xFF\x02"});
  EXPECT_EQ(I2cWrite(0x12), 1u);
  EXPECT_EQ(I2cWrite(0x12), 0u);
}

TEST_F(UartTest, ReceiveFrames) {
  Connected();
  AnswerFrames({"\xFF\x00\xFF\xA5"s, "\xFF\x03zz\xFF\x5A", "\xFF\x00\xFF"s});
  uint32_t word = 0xFFFFFFFF;
  EXPECT_EQ(I2c_Rx(&word, 0x101), 0u);
  EXPECT_EQ(word, 0xA5u);
  EXPECT_EQ(I2c_Rx(&word, 0), 3u);  // stored all the same
  EXPECT_EQ(word, 0x5Au);
  EXPECT_EQ(I2c_Rx(&word, 0), 1u);
  EXPECT_EQ(word, 0x5Au);
  EXPECT_EQ(line.TakeWrites(), (std::vector{"\xFE\x01"s, "\xFE\x00"s, "\xFE\x00"s}));

  AnswerFrames({"\xFF\x00\xFF\x11"s, "\xFF\x01\xFF\x22"s});
  uint8_t byte = 0;
  EXPECT_EQ(I2cRead(&byte, 1), 1u);
  EXPECT_EQ(byte, 0x11);
  EXPECT_EQ(I2cRead(&byte, 1), 0u);
  EXPECT_EQ(byte, 0x11);
}

struct RateCase {
  uint32_t rate;
  uint64_t timeoutMs;
};

TEST_F(UartTest, ReplyTimeoutAtItsEdges) {
  constexpr RateCase kCases[] = {
      {57600, 30}, {115200, 20}, {9600, 130}, {1152000, 11}, {4000000, 10}};
  for (const RateCase& test : kCases) {
    const uint32_t rate = test.rate;
    const uint64_t timeout = test.timeoutMs;
    SCOPED_TRACE(rate);
    uint64_t marker = 0;
    uint64_t value = 0;
    // Connecting anew forgets an answer that came too late.
    const auto connect = [&] {
      AnswerHandshake("CLI_ACK", "UI2C_ACK");
      Connected(rate);
      line.onWrite = [&](std::string_view) {
        line.Reply("\xFF", marker);
        line.Reply("\0"sv, marker + value);
      };
    };
    connect();
    const uint64_t equal = timeout * kMs + kMs / 2;  // T whole milliseconds have passed
    const uint64_t greater = equal + kMs;
    marker = equal;
    EXPECT_EQ(Took([] { EXPECT_EQ(I2c_Tx(0), 0u); }) / kMs, timeout);
    marker = greater;
    EXPECT_EQ(Took([] { EXPECT_EQ(I2c_Tx(0), 1u); }) / kMs, timeout + 1);
    connect();
    // Each byte has the whole time.
    marker = equal;
    value = timeout * kMs - kMs;
    EXPECT_EQ(Took([] { EXPECT_EQ(I2c_Tx(0), 0u); }) / kMs, 2 * timeout - 1);
    marker = 0;
    value = greater;
    EXPECT_EQ(Took([] { EXPECT_EQ(I2c_Tx(0), 1u); }) / kMs, timeout + 1);
  }
}

TEST_F(UartTest, JunkDoesNotProlongTheMarkerWait) {
  Connected();
  line.onWrite = [this](std::string_view) {
    for (unsigned i = 0; i < 100; ++i) line.Reply("j", i * kMs);
  };
  EXPECT_NEAR(static_cast<double>(Took([] { EXPECT_EQ(I2c_Tx(0), 1u); })), 21.0 * kMs, 0.1 * kMs);
}

TEST_F(UartTest, AnAnswerIsTakenWithinMicroseconds) {
  Connected();
  line.onWrite = [this](std::string_view) { line.Reply("\xFF\0"sv, 3 * kMs); };
  const uint64_t took = Took([] { EXPECT_EQ(I2c_Tx(0), 0u); });
  EXPECT_GE(took, 3 * kMs);
  EXPECT_LT(took, 3 * kMs + 100'000);
}

TEST_F(UartTest, ClosedOperationsFailInTheirTimeout) {
  uint8_t bytes[4] = {1, 2, 3, 4};
  uint32_t word = 9;
  char count = 3;
  struct Case {
    const char* name;
    std::function<uint32_t()> call;
    uint32_t result;
    unsigned timeouts;
  };
  const Case cases[] = {
      {"start", [] { return I2c_Start(), I2c_RStart(), I2c_Stop(), 0U; }, 0, 0},
      {"I2c_Tx", [] { return I2c_Tx(0xA0); }, 1, 1},
      {"I2c_Rx", [&] { return I2c_Rx(&word, 1); }, 1, 1},
      {"I2cWrite", [] { return I2cWrite(0xA0); }, 0, 1},
      {"I2cRead", [&] { return I2cRead(bytes, 1); }, 0, 1},
      {"I2c_ReadString", [&] { return I2c_ReadString(&count, "50E81A"); }, 1, 1},
      {"I2c_WriteString", [&] { return I2c_WriteString(&count, "50E11A"); }, 1, 1},
      {"I2cLib_Write", [&] { return I2cLib_Write(0, 0xA0, bytes, 2, bytes, 2); }, 0, 1},
      {"I2cLib_Write 10-bit", [&] { return I2cLib_Write(0, 0xF234, bytes, 2, bytes, 2); }, 0, 2},
      {"I2cLib_Read", [&] { return I2cLib_Read(0, 0xA0, bytes, 4); }, 0, 1},
      {"I2cLib_WriteRead", [&] { return I2cLib_WriteRead(0, 0xA0, bytes, 1, bytes, 2); }, 0, 1},
      {"I2cWriteByte", [] { return I2cWriteByte(0xF4, 1, 2); }, 0, 1},
      {"I2cReadByte", [&] { return I2cReadByte(0xF4, 1, bytes); }, 0, 1},
      {"I2cWriteData", [&] { return I2cWriteData(0xF4, bytes, 1, bytes, 2); }, 0, 1},
      {"I2cReadData", [&] { return I2cReadData(0xF4, bytes, 1, bytes, 2); }, 0, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    uint32_t result = 42;
    const uint64_t took = Took([&] { result = c.call(); });
    EXPECT_EQ(result, c.result);
    // Each wait begins where the last one ended and ends with the first millisecond past 30.
    EXPECT_NEAR(static_cast<double>(took), 31.0 * kMs * c.timeouts, 0.01 * kMs);
  }
  EXPECT_EQ(word, 9u);
  EXPECT_EQ(count, 3);
  EXPECT_EQ(bytes[0], 1);
  EXPECT_EQ(line.TakeSent(), "");
}

TEST_F(UartTest, Transactions) {
  Connected();
  const std::string ack = "\xFF\x00"s;
  const std::string nak = "\xFF\x01"s;
  const auto data = [](char byte) { return "\xFF\x00\xFF"s + byte; };
  const uint8_t first[] = {0x12, 0x13};
  const uint8_t second[] = {0x34};
  uint8_t got[2] = {};
  struct Case {
    const char* name;
    std::vector<std::string> replies;
    std::function<uint32_t()> call;
    uint32_t result;
    std::string sent;
  };
  const Case cases[] = {
      {"write",
       {ack, ack, ack, ack},
       [&] { return I2cLib_Write(9, 0xA1, first, 2, second, 1); },
       1,
       "\xFA\xFD\xA0\xFD\x12\xFD\x13\xFD\x34\xFC"s},
      {"write, address not acknowledged",
       {nak},
       [&] { return I2cLib_Write(0, 0xA0, first, 2, second, 1); },
       0,
       "\xFA\xFD\xA0\xFC"s},
      {"write, first byte not acknowledged",
       {ack, nak, ack},
       [&] { return I2cLib_Write(0, 0xA0, first, 2, second, 1); },
       0,
       "\xFA\xFD\xA0\xFD\x12\xFD\x13\xFC"s},
      {"write to 10 bits",
       {ack, ack, ack},
       [&] { return I2cLib_Write(0, 0xF234, second, 1, nullptr, 0); },
       1,
       "\xFA\xFD\xF2\xFD\x34\xFD\x34\xFC"s},
      {"write to 10 bits, neither acknowledged",
       {nak, nak},
       [&] { return I2cLib_Write(0, 0xF334, second, 1, nullptr, 0); },
       0,
       "\xFA\xFD\xF2\xFD\x34\xFC"s},
      {"read",
       {ack, data(0x55), data(0x66)},
       [&] { return I2cLib_Read(0, 0xA0, got, 2); },
       1,
       "\xFB\xFD\xA1\xFE\x01\xFE\x01\xFC"s},
      {"read from 10 bits",
       {ack, ack, data(0x55)},
       [&] { return I2cLib_Read(0, 0xF234, got, 1); },
       1,
       "\xFB\xFD\xF3\xFD\x34\xFE\x01\xFC"s},
      {"read, not acknowledged",
       {nak},
       [&] { return I2cLib_Read(0, 0xA0, got, 2); },
       0,
       "\xFB\xFD\xA1\xFC"s},
      {"read, a failed receive is not a failure",
       {ack, nak + nak, data(0x66)},
       [&] { return I2cLib_Read(0, 0xA0, got, 2); },
       1,
       "\xFB\xFD\xA1\xFE\x01\xFE\x01\xFC"s},
      {"write and read",
       {ack, ack, ack, data(0x77)},
       [&] { return I2cLib_WriteRead(0, 0xA0, second, 1, got, 1); },
       1,
       "\xFA\xFD\xA0\xFD\x34\xFB\xFD\xA1\xFE\x01\xFC"s},
      {"write and read, no stop without acknowledge",
       {ack, nak, ack},
       [&] { return I2cLib_WriteRead(0, 0xA0, first, 2, got, 1); },
       0,
       "\xFA\xFD\xA0\xFD\x12\xFD\x13"s},
      {"W1Byte",
       {ack, ack},
       [&] { return I2cLib_W1Byte(0, 0xA0, 0x12); },
       1,
       "\xFA\xFD\xA0\xFD\x12\xFC"s},
      {"W2Bytes",
       {ack, ack, ack},
       [&] { return I2cLib_W2Bytes(0, 0xA0, 0x12, 0x34); },
       1,
       "\xFA\xFD\xA0\xFD\x12\xFD\x34\xFC"s},
      {"W1ByteR1Byte",
       {ack, ack, ack, data(0x05)},
       [&] { return I2cLib_W1ByteR1Byte(0, 0xA0, 0x12, got); },
       1,
       "\xFA\xFD\xA0\xFD\x12\xFB\xFD\xA1\xFE\x01\xFC"s},
      {"I2cWriteByte",
       {ack, ack, ack},
       [&] { return I2cWriteByte(0xF4, 0x10, 0x55); },
       1,
       "\xFA\xFD\xF4\xFD\x10\xFD\x55\xFC"s},
      {"I2cReadByte",
       {ack, ack, ack, data(0x05)},
       [&] { return I2cReadByte(0xF4, 0x10, got); },
       1,
       "\xFA\xFD\xF4\xFD\x10\xFB\xFD\xF5\xFE\x01\xFC"s},
      {"I2cWriteData",
       {ack, ack, ack, ack},
       [&] { return I2cWriteData(0xF4, second, 1, first, 2); },
       1,
       "\xFA\xFD\xF4\xFD\x34\xFD\x12\xFD\x13\xFC"s},
      {"I2cReadData",
       {ack, ack, ack, data(0x01), data(0x02)},
       [&] { return I2cReadData(0xF4, second, 1, got, 2); },
       1,
       "\xFA\xFD\xF4\xFD\x34\xFB\xFD\xF5\xFE\x01\xFE\x01\xFC"s},
      {"null buffer", {}, [&] { return I2cLib_Write(0, 0xA0, nullptr, 1, nullptr, 0); }, 0, ""},
      {"null target", {}, [&] { return I2cLib_WriteRead(0, 0xA0, first, 1, nullptr, 1); }, 0, ""},
      {"nothing to say",
       {ack},
       [&] { return I2cLib_Write(0, 0xA0, nullptr, 0, nullptr, 0); },
       1,
       "\xFA\xFD\xA0\xFC"s},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    line.TakeSent();
    AnswerFrames(c.replies);
    EXPECT_EQ(c.call(), c.result);
    EXPECT_EQ(line.TakeSent(), c.sent);
  }
  EXPECT_EQ(got[0], 0x01);
  EXPECT_EQ(got[1], 0x02);
}

struct RegisterCase {
  const char* name;
  uint8_t count;
  std::string text;
  std::string sent;
  std::string reply;
  uint32_t result;
  uint8_t countAfter;
};

TEST_F(UartTest, RawRegisterReads) {
  Connected();
  const std::string longest(40, 'f');
  const RegisterCase cases[] = {
      {"one byte", 3, "50E81A", "\x50\xE8\x1A", "\xFF\x01\xA5", 0xA5, 1},
      {"two bytes", 3, "50E91A", "\x50\xE9\x1A", "\xFF\x02\x12\x34", 0x1234, 2},
      {"four bytes", 3, "50EB1A", "\x50\xEB\x1A", "\xFF\x04\xFE\xDC\xBA\x98", 0xFEDCBA98, 4},
      {"width of one for two", 3, "50E91A", "\x50\xE9\x1A", "\xFF\x01\xA5", 1, 3},
      {"width of two for four", 3, "50001A", "\x50\0\x1A"s, "\xFF\x02\xA5\xA5", 1, 3},
      {"one-byte frame", 1, "50", "\x50", "\xFF\x04\0\0\0\x07"s, 7, 4},
      {"twenty bytes", 20, longest, std::string(20, '\xFF'), "\xFF\x04\0\0\0\x09"s, 9, 4},
      {"more than twenty", 21, longest + "ff", "", "", 1, 21},
      {"none", 0, "50E81A", "", "", 1, 0},
      {"text too short", 3, "50E81", "", "", 1, 3},
      {"silence", 3, "50E81A", "\x50\xE8\x1A", "", 1, 3},
      {"no data", 3, "50E81A", "\x50\xE8\x1A", "\xFF\x01", 1, 3},
      {"half of the data", 3, "50E91A", "\x50\xE9\x1A", "\xFF\x02\x12", 1, 3},
      {"a pair of junk", 3, "50E81A", "\x50\xE8\x1A", "jk\xFF\x01\x21", 0x21, 1},
      {"junk takes the marker along", 3, "50E81A", "\x50\xE8\x1A", "j\xFF\x01\x21", 1, 3},
  };
  for (const RegisterCase& c : cases) {
    SCOPED_TRACE(c.name);
    AnswerHandshake("CLI_ACK", "UI2C_ACK");
    Connected();
    line.onWrite = [&](std::string_view) { line.Reply(c.reply); };
    auto count = static_cast<char>(c.count);
    EXPECT_EQ(I2c_ReadString(&count, c.text.c_str()), c.result);
    EXPECT_EQ(static_cast<uint8_t>(count), c.countAfter);
    EXPECT_EQ(line.TakeSent(), c.sent);
  }
}

TEST_F(UartTest, RawRegisterWrites) {
  Connected();
  const RegisterCase cases[] = {
      {"one byte", 4, "50E11Aa5", "\x50\xE1\x1A\xA5", "\xFF\x01", 255, 1},
      {"two bytes", 5, "50e21A1234", "\x50\xE2\x1A\x12\x34", "\xFF\x02", 255, 2},
      {"four bytes", 3, "50E41A", "\x50\xE4\x1A", "\xFF\x04", 255, 4},
      {"read code", 3, "50E81A", "\x50\xE8\x1A", "\xFF\x01", 1, 3},
      {"other width", 3, "50E11A", "\x50\xE1\x1A", "\xFF\x02", 1, 3},
      {"silence", 3, "50E11A", "\x50\xE1\x1A", "", 1, 3},
  };
  for (const RegisterCase& c : cases) {
    SCOPED_TRACE(c.name);
    line.onWrite = [&](std::string_view) { line.Reply(c.reply); };
    auto count = static_cast<char>(c.count);
    EXPECT_EQ(I2c_WriteString(&count, c.text.c_str()), c.result);
    EXPECT_EQ(static_cast<uint8_t>(count), c.countAfter);
    EXPECT_EQ(line.TakeSent(), c.sent);
  }
  EXPECT_EQ(I2c_WriteString(nullptr, "50E11A"), 1u);
  char count = 3;
  EXPECT_EQ(I2c_ReadString(&count, nullptr), 1u);
}

TEST_F(UartTest, RawRegisterPartsMayComeOneByOne) {
  Connected();
  uint64_t gap = 19 * kMs;
  line.onWrite = [&](std::string_view) {
    uint64_t at = 0;
    for (const char byte : {'\xFF', '\x04', '\x01', '\x02', '\x03', '\x04'}) {
      line.Reply({&byte, 1}, at += gap);
    }
  };
  char count = 3;
  EXPECT_EQ(I2c_ReadString(&count, "50EB1A"), 0x01020304u);
  AnswerHandshake("CLI_ACK", "UI2C_ACK");
  Connected();
  // A width byte that comes after the time-out.
  line.onWrite = [this](std::string_view) {
    line.Reply("\xFF");
    line.Reply("\x01", 22 * kMs);
  };
  count = 3;
  EXPECT_EQ(I2c_WriteString(&count, "50E11A"), 1u);
  EXPECT_EQ(count, 3);
}

TEST_F(UartTest, DigitsOfEveryCharacter) {
  Connected();
  line.onWrite = [this](std::string_view) { line.Reply("\xFF\x04"); };
  const std::string digits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  const std::string lower = "0123456789abcdefghijklmnopqrstuvwxyz";
  for (int c = 1; c < 256; ++c) {
    size_t value = digits.find(static_cast<char>(c));
    if (value == std::string::npos) value = lower.find(static_cast<char>(c));
    if (value == std::string::npos) value = 0;
    char count = 2;
    const char text[] = {static_cast<char>(c), '3', '2', static_cast<char>(c), '\0'};
    const char expected[] = {static_cast<char>(value * 16 + 3), static_cast<char>(32 + value)};
    I2c_WriteString(&count, text);
    EXPECT_EQ(line.TakeSent(), std::string(expected, 2)) << c;
  }
}

}  // namespace
}  // namespace brisk
