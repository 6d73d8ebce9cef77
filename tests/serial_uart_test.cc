// Device type 3 byte by byte: handshake, frames, waits and their edges, raw register frames.
#include <cstdint>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_serial.h"

#include "support/bench_test.h"
#include "support/calls.h"
#include "support/scripted_port.h"

namespace brisk {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

constexpr uint8_t kPort = 12;

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

  // Answers frame after frame: `a` acknowledges, `n` does not, a byte in two digits is data behind
  // a good status, `#` data behind a bad one. Frames beyond them stay without an answer.
  void AnswerFrames(const std::string& answers) {
    line.onWrite =
        [this, words = std::make_shared<std::istringstream>(answers)](std::string_view written) {
          const auto code = static_cast<uint8_t>(written[0]);
          std::string word;
          if ((code >= 0xFA && code <= 0xFC) || !(*words >> word)) return;
          if (word == "a" || word == "n") return line.Reply(word == "a" ? "\xFF\0"sv : "\xFF\1"sv);
          const bool bad = word[0] == '#';
          line.Reply(bad ? "\xFF\3zz\xFF"sv : "\xFF\0\xFF"sv);
          const std::vector<uint8_t> data = Unhex(word.substr(bad ? 1 : 0));
          line.Reply({reinterpret_cast<const char*>(data.data()), data.size()});
        };
  }

  // The frames that were sent: S and r and P for the conditions, a byte to transmit, one to receive
  // as <0 or <1.
  std::string TakeFrames() {
    std::string text;
    const std::string sent = line.TakeSent();
    for (size_t i = 0; i < sent.size(); ++i) {
      const auto code = static_cast<uint8_t>(sent[i]);
      if (!text.empty()) text += ' ';
      if (code >= 0xFA && code <= 0xFC) {
        text += "SrP"[code - 0xFA];
      } else if (i + 1 == sent.size() || (code != 0xFD && code != 0xFE)) {
        text += "?";
      } else {
        const auto byte = static_cast<uint8_t>(sent[++i]);
        text += code == 0xFE ? "<" + std::to_string(byte) : Hex(&byte, 1);
      }
    }
    return text;
  }

  ScriptedLine line;
};

TEST_F(UartTest, ConnectSendsTheHandshakeAtTheRate) {
  EXPECT_TRUE(uart_connect(kPort, 115200));
  EXPECT_EQ(line.TakeSent(), "TalvoCli\nuart_2_i2c\n");
  EXPECT_EQ(line.rates(), std::vector<uint32_t>{115200});
  // A connect while connected leaves first; at no rate it does nothing.
  EXPECT_TRUE(uart_connect(kPort, 9600));
  EXPECT_EQ(line.TakeSent(), "uartleave\nTalvoCli\nuart_2_i2c\n");
  EXPECT_EQ(line.closed(), 1);
  EXPECT_FALSE(uart_connect(kPort, 0));
  EXPECT_NE(DebugText().find("rate"), std::string::npos);
  EXPECT_EQ(line.closed(), 1);
  EXPECT_EQ(uart_disconnect(), 77);
  EXPECT_EQ(line.TakeSent(), "uartleave\n");
  EXPECT_EQ(line.closed(), 2);
  EXPECT_EQ(uart_disconnect(), 0);
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

TEST_F(UartTest, MissingFirstTokenCostsASecondOnly) {
  AnswerHandshake("", "junk\xFF UI2C_ACK rest");
  EXPECT_NEAR(static_cast<double>(Took([] { EXPECT_TRUE(uart_connect(kPort, 115200)); })),
              1001.0 * kMs, 1.0 * kMs);
  EXPECT_EQ(line.Unread(), 5u);  // " rest" stays in the port
  // A token may follow its own beginning.
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

struct FrameCase {
  const char* call;
  const char* answers;
  const char* outcome;
  const char* frames;
};

const FrameCase kFrames[] = {
    {"I2c_Start", "", "", "S"},
    {"I2c_RStart", "", "", "r"},
    {"I2c_Stop", "", "", "P"},
    {"I2c_Tx 1F4", "a", "0", "F4"},
    {"I2c_Tx 0", "n", "1", "00"},
    {"I2c_Tx FD", "a", "0", "FD"},
    {"I2cWrite 12", "n", "0", "12"},
    {"I2c_Rx 101", "A5", "0 A5", "<1"},
    {"I2c_Rx 0", "#5A", "3 5A", "<0"},  // stored all the same
    {"I2c_Rx 0", "#", "1", "<0"},
    {"I2cRead 1 1", "11", "1 11", "<1"},
    {"I2cRead 1 1", "#22", "0", "<1"},
    {"I2cLib_Write 9 A1 1213 34", "a a a a", "1", "S A0 12 13 34 P"},
    {"I2cLib_Write 0 A0 1213 34", "n", "0", "S A0 P"},
    {"I2cLib_Write 0 A0 1213 34", "a n a", "0", "S A0 12 13 P"},
    {"I2cLib_Write 0 F334 34 -", "n n", "0", "S F2 34 P"},
    {"I2cLib_Read 0 F234 1", "a a 55", "1 55", "r F3 34 <1 P"},
    {"I2cLib_Read 0 A0 2", "a #44 66", "1 EE66", "r A1 <1 <1 P"},  // that is no failure
    {"I2cLib_WriteRead 0 A0 1213 1", "a n a", "0", "S A0 12 13"},
};

TEST_F(UartTest, Frames) {
  Connected();
  for (const FrameCase& test : kFrames) {
    AnswerFrames(test.answers);
    EXPECT_EQ(Call(test.call), test.outcome) << test.call << ": " << test.answers;
    EXPECT_EQ(TakeFrames(), test.frames) << test.call << ": " << test.answers;
  }
  for (const auto& [reply, result] :
       {std::pair("junk\xFF\x01", 1u), {"\xFF\x05", 5u}, {"\xFF\xFF", 0xFFu}}) {
    line.onWrite = [this, text = reply](std::string_view) { line.Reply(text); };
    EXPECT_EQ(I2c_Tx(0xFF), result);
  }
}

// Marker and value have the whole time each.
TEST_F(UartTest, ReplyTimeoutAtItsEdges) {
  for (const auto& [rate, timeout] : {std::pair<uint32_t, uint64_t>(57600, 30),
                                      {115200, 20},
                                      {9600, 130},
                                      {1152000, 11},
                                      {4000000, 10}}) {
    SCOPED_TRACE(rate);
    const uint64_t equal = timeout * kMs + kMs / 2;  // T whole milliseconds have passed
    const struct {
      uint64_t marker;
      uint64_t value;  // after the marker
      uint64_t took;
      uint32_t result;
    } cases[] = {{equal, 0, timeout, 0},
                 {equal + kMs, 0, timeout + 1, 1},
                 {equal, (timeout - 1) * kMs, 2 * timeout - 1, 0},
                 {0, equal + kMs, timeout + 1, 1}};
    for (const auto& [marker, value, took, result] : cases) {
      // Connecting anew forgets an answer that came too late.
      AnswerHandshake("CLI_ACK", "UI2C_ACK");
      Connected(rate);
      line.onWrite = [&, after = marker + value, at = marker](std::string_view) {
        line.Reply("\xFF", at);
        line.Reply("\0"sv, after);
      };
      EXPECT_EQ(Took([expected = result] { EXPECT_EQ(I2c_Tx(0), expected); }) / kMs, took);
    }
  }
}

TEST_F(UartTest, AnswersAmongJunk) {
  Connected();
  // Junk does not prolong the wait for the marker.
  line.onWrite = [this](std::string_view) {
    for (unsigned i = 0; i < 100; ++i) line.Reply("j", i * kMs);
  };
  EXPECT_NEAR(static_cast<double>(Took([] { EXPECT_EQ(I2c_Tx(0), 1u); })), 21.0 * kMs, 0.1 * kMs);
  // An answer is taken within microseconds.
  AnswerHandshake("CLI_ACK", "UI2C_ACK");
  Connected();
  line.onWrite = [this](std::string_view) { line.Reply("\xFF\0"sv, 3 * kMs); };
  EXPECT_NEAR(static_cast<double>(Took([] { EXPECT_EQ(I2c_Tx(0), 0u); })), 3.05 * kMs, 0.05 * kMs);
}

// Each wait begins where the last one ended and ends with the first millisecond past 30.
TEST_F(UartTest, ClosedOperationsFailInTheirTimeout) {
  const struct {
    const char* call;
    const char* outcome;
    unsigned timeouts;
  } kCases[] = {{"I2c_Start", "", 0},
                {"I2c_Tx A0", "1", 1},
                {"I2c_Rx 1", "1", 1},
                {"I2cRead 1 1", "0", 1},
                {"I2cLib_Write 0 F234 0102 0102", "0", 2},
                {"I2cLib_WriteRead 0 A0 01 2", "0", 1}};
  for (const auto& [call, outcome, timeouts] : kCases) {
    std::string got;
    const uint64_t took = Took([&, text = call] { got = Call(text); });
    EXPECT_EQ(got, outcome) << call;
    EXPECT_NEAR(static_cast<double>(took), 31.0 * kMs * timeouts, 0.01 * kMs) << call;
  }
  char count = 3;
  EXPECT_EQ(Took([&] { EXPECT_EQ(I2c_ReadString(&count, "50E81A"), 1u); }) / kMs, 31u);
  EXPECT_EQ(Took([&] { EXPECT_EQ(I2c_WriteString(&count, "50E11A"), 1u); }) / kMs, 31u);
  EXPECT_EQ(count, 3);
  EXPECT_EQ(line.TakeSent(), "");
}

struct RegisterCase {
  const char* name;
  bool write;
  uint8_t count;
  std::string text;
  const char* reply;  // in hexadecimal; empty for silence
  uint32_t result;
  uint8_t countAfter;
  const char* sent = nullptr;  // where it is not what the text says
};

const std::string kLongest(40, 'f');
const RegisterCase kRegisters[] = {
    {"one byte", false, 3, "50E81A", "FF01A5", 0xA5, 1},
    {"two bytes", false, 3, "50E91A", "FF021234", 0x1234, 2},
    {"four bytes", false, 3, "50EB1A", "FF04FEDCBA98", 0xFEDCBA98, 4},
    {"width of one for two", false, 3, "50E91A", "FF01A5", 1, 3},
    {"width of two for four", false, 3, "50001A", "FF02A5A5", 1, 3},
    {"one-byte frame", false, 1, "50", "FF0400000007", 7, 4},
    {"twenty bytes", false, 20, kLongest, "FF0400000009", 9, 4},
    {"more than twenty", false, 21, kLongest + "ff", "", 1, 21, ""},
    {"none", false, 0, "50E81A", "", 1, 0, ""},
    {"text too short", false, 3, "50E81", "", 1, 3, ""},
    {"silence", false, 3, "50E81A", "", 1, 3},
    {"no data", false, 3, "50E81A", "FF01", 1, 3},
    {"half of the data", false, 3, "50E91A", "FF0212", 1, 3},
    {"a pair of junk", false, 3, "50E81A", "6A6BFF0121", 0x21, 1},
    {"junk takes the marker along", false, 3, "50E81A", "6AFF0121", 1, 3},
    {"write one byte", true, 4, "50E11Aa5", "FF01", 255, 1},
    {"write two bytes", true, 5, "50e21A1234", "FF02", 255, 2},
    {"write four bytes", true, 3, "50E41A", "FF04", 255, 4},
    {"read code", true, 3, "50E81A", "FF01", 1, 3},
    {"other width", true, 3, "50E11A", "FF02", 1, 3},
    {"silent write", true, 3, "50E11A", "", 1, 3},
    {"digits through the alphabet", true, 4, "GzgZ3~\xB5v", "", 1, 4, "2323301F"},
    {"not digits", true, 6, "/1:1@1[1`1{1", "", 1, 6, "010101010101"},
};

TEST_F(UartTest, RawRegisterFrames) {
  for (const RegisterCase& test : kRegisters) {
    SCOPED_TRACE(test.name);
    AnswerHandshake("CLI_ACK", "UI2C_ACK");
    Connected();
    line.onWrite = [&](std::string_view) {
      const std::vector<uint8_t> reply = Unhex(test.reply);
      line.Reply({reinterpret_cast<const char*>(reply.data()), reply.size()});
    };
    auto count = static_cast<char>(test.count);
    EXPECT_EQ((test.write ? I2c_WriteString : I2c_ReadString)(&count, test.text.c_str()),
              test.result);
    EXPECT_EQ(static_cast<uint8_t>(count), test.countAfter);
    const std::vector<uint8_t> sent = Unhex(test.sent != nullptr ? test.sent : test.text);
    EXPECT_EQ(line.TakeSent(), std::string(sent.begin(), sent.end()));
  }
  char count = 3;
  EXPECT_EQ(I2c_WriteString(nullptr, "50E11A"), 1u);
  EXPECT_EQ(I2c_ReadString(&count, nullptr), 1u);
}

// Each in its reply time-out of 20 ms.
TEST_F(UartTest, RawRegisterPartsMayComeOneByOne) {
  for (const auto& [gap, result] : {std::pair(19 * kMs, 0x01020304u), {22 * kMs, 1u}}) {
    AnswerHandshake("CLI_ACK", "UI2C_ACK");
    Connected();
    line.onWrite = [this, each = gap](std::string_view) {
      for (uint64_t i = 0; i < 6; ++i) line.Reply("\xFF\4\1\2\3\4"sv.substr(i, 1), i * each);
    };
    char count = 3;
    EXPECT_EQ(I2c_ReadString(&count, "50EB1A"), result);
    EXPECT_EQ(count, result == 1 ? 3 : 4);
  }
}

}  // namespace
}  // namespace brisk
