// Block transfers of the USB boards on the I2C lines, judged by sigrok from the bench's trace.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <numeric>
#include <string>
#include <vector>

#include "brisk/brisk.h"

#include "sim/board/timing_controller.h"
#include "support/bench_test.h"
#include "support/files.h"

namespace brisk {
namespace {

using Bytes = std::vector<uint8_t>;

// What the decoder must say, a word a line.
class Model {
 public:
  void Start(bool repeated = false) { text_ += repeated ? "Start repeat\n" : "Start\n"; }
  void Address(bool read) {
    text_ += read ? "Read\nAddress read: 7A\nACK\n" : "Write\nAddress write: 7A\nACK\n";
  }
  void Written(const Bytes& bytes) {
    for (const uint8_t byte : bytes) Data("write", byte, "ACK");
  }
  void Received(const Bytes& bytes) {
    for (size_t i = 0; i < bytes.size(); ++i) {
      Data("read", bytes[i], i + 1 < bytes.size() ? "ACK" : "NACK");
    }
  }
  void Stop() { text_ += "Stop\n"; }
  const std::string& text() const { return text_; }

 private:
  void Data(const char* direction, uint8_t byte, const char* answer) {
    char line[40];
    std::snprintf(line, sizeof line, "Data %s: %02X\n%s\n", direction, byte, answer);
    text_ += line;
  }

  std::string text_;
};

class UsbWires : public BenchTest {
 protected:
  UsbWires() : home_(std::filesystem::current_path()) {
    std::filesystem::current_path(std::filesystem::path(folder_.File("x")).parent_path());
    const std::string firmware = ":03000000020100FA\n:00000001FF\n";
    WriteFile("firmware.hex", Bytes(firmware.begin(), firmware.end()));
  }
  ~UsbWires() override { std::filesystem::current_path(home_); }

  // `stray`: what the board sends behind the data.
  void Write(const Bytes& command, uint32_t length, const Bytes& stray = {}) {
    Bytes data(length);
    std::iota(data.begin(), data.end(), static_cast<uint8_t>(length));
    EXPECT_EQ(I2cWriteData(0xF4, command.data(), static_cast<uint32_t>(command.size()), data.data(),
                           length),
              1u);
    model_.Start();
    model_.Address(false);
    model_.Written(command);
    model_.Written(data);
    model_.Written(stray);
  }

  void Read(const Bytes& command, uint32_t length) {
    Bytes data(length);
    EXPECT_EQ(I2cReadData(0xF4, command.data(), static_cast<uint32_t>(command.size()), data.data(),
                          length),
              1u);
    // The register pointer moves with the command's bytes behind the first.
    Bytes expected(length);
    for (uint32_t i = 0; i < length; ++i) {
      const auto at = static_cast<uint8_t>(command[0] + command.size() - 1 + i);
      expected[i] = bench().board().controller().Register(at);
    }
    EXPECT_EQ(data, expected) << command.size() << ", " << length;
    model_.Start();
    model_.Address(false);
    model_.Written(command);
    if (length == 0) return;
    model_.Start(true);
    model_.Address(true);
    model_.Received(expected);
    model_.Stop();
  }

  static void FillRegisters() {
    for (unsigned i = 0; i < 256; ++i) {
      bench().board().controller().SetRegister(static_cast<uint8_t>(i),
                                               static_cast<uint8_t>(i * 7 + 1));
    }
  }

  std::string Decoded() {
    bench().trace().Close();
    EXPECT_EQ(std::system("sigrok-cli -I vcd:downsample=500 -i t.vcd -P i2c:scl=scl:sda=sda "
                          "-A i2c=start:repeat-start:stop:ack:nack:address-read:address-write:"
                          "data-read:data-write | sed 's/^i2c-1: //' >decoded"),
              0);
    const Bytes text = ReadFile("decoded");
    return {text.begin(), text.end()};
  }

  // Compares by place: the whole texts have a hundred thousand lines.
  void ExpectDecoded() {
    const std::string decoded = Decoded();
    const auto [ours, theirs] =
        std::mismatch(model_.text().begin(), model_.text().end(), decoded.begin(), decoded.end());
    const auto around = [](const std::string& text, std::string::const_iterator place) {
      const auto at = static_cast<size_t>(place - text.begin());
      return text.substr(at < 200 ? 0 : at - 200, 400);
    };
    EXPECT_FALSE(model_.text().empty());
    EXPECT_TRUE(ours == model_.text().end() && theirs == decoded.end())
        << "expected ..." << around(model_.text(), ours) << "...\ndecoded ..."
        << around(decoded, theirs) << "...";
  }

  Model model_;

 private:
  TemporaryFolder folder_;
  std::filesystem::path home_;
};

constexpr uint32_t kMost = 200;
const Bytes kCommand = {0x10};

TEST_F(UsbWires, DebugBoard) {
  Configure("adapter=debug-board,trace=t.vcd");
  BriskSetDevice(2);
  for (uint32_t length = 0; length <= kMost; ++length) {
    // One position of the last packet is left over: a repeated start right before the stop, which
    // the decoder takes for the start of an address...
    if (length == 59) continue;
    // ... and further on a byte of the packet before.
    const bool over = length > 59 && (length - 59) % 63 == 0;
    Write(kCommand, length, over ? Bytes{static_cast<uint8_t>(length + length - 63)} : Bytes{});
    model_.Stop();
  }
  for (const uint32_t size : {58, 59, 60}) {
    for (const uint32_t length : {0, 1, 2, 3, 4, 61, 62}) {
      if ((size + length - 60) % 63 == 0) continue;  // as above
      Write(RandomBytes(size), length);
      model_.Stop();
    }
  }
  FillRegisters();
  for (uint32_t length = 1; length <= kMost; ++length) Read(kCommand, length);
  ExpectDecoded();
}

TEST_F(UsbWires, TimingControllerBoard) {
  Configure("adapter=tcon-usb,trace=t.vcd");
  EXPECT_EQ(BriskSetDevice(4), 1);
  for (uint32_t length = 0; length <= kMost; ++length) {
    Write(kCommand, length);
    model_.Stop();
  }
  FillRegisters();
  for (uint32_t length = 1; length <= kMost; ++length) Read(kCommand, length);
  Read(kCommand, 0);  // no stop condition: the write phase is all
  ExpectDecoded();
}

}  // namespace
}  // namespace brisk
