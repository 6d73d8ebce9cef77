// The serial ports of Linux over pseudo terminals.
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <pty.h>
#include <string>
#include <termios.h>
#include <unistd.h>

#include "platform/linux/serial_ports.h"
#include "tests/tty_speed.h"

namespace brisk::linux_system {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// A folder with COM7 linked to a pseudo terminal, whose other side plays the bridge.
class SerialTest : public testing::Test {
 public:
  SerialTest() {
    EXPECT_NE(mkdtemp(folder_.data()), nullptr);
    EXPECT_EQ(openpty(&bridge_, &terminal_, nullptr, nullptr, nullptr), 0);
    std::array<char, 64> name{};
    EXPECT_EQ(ttyname_r(terminal_, name.data(), name.size()), 0);
    path_ = folder_ + "/";
    EXPECT_EQ(symlink(name.data(), (path_ + "COM7").c_str()), 0);
    port_ = TtyPorts(path_.c_str()).Open(7, &whyNot_);
    close(terminal_);
  }
  ~SerialTest() override {
    port_.reset();
    if (bridge_ >= 0) close(bridge_);
    unlink((path_ + "COM7").c_str());
    rmdir(folder_.c_str());
  }

  // Waits for `count` bytes to be there, at most a second.
  std::string ReadPort(size_t count) {
    std::string got(count, '\0');
    size_t have = 0;
    const auto end = steady_clock::now() + milliseconds(1000);
    while (have < count && steady_clock::now() < end) {
      if (port_->BytesWaiting() == 0) continue;
      have += port_->Read(reinterpret_cast<uint8_t*>(&got[have]), count - have);
    }
    got.resize(have);
    return got;
  }
  std::string ReadBridge(size_t count) const {
    std::string got(count, '\0');
    size_t have = 0;
    while (have < count) {
      const ssize_t step = read(bridge_, &got[have], count - have);
      if (step <= 0) break;
      have += static_cast<size_t>(step);
    }
    got.resize(have);
    return got;
  }

  std::string folder_ = testing::TempDir() + "briskXXXXXX";
  std::string path_;
  std::string whyNot_;
  int bridge_ = -1;
  int terminal_ = -1;
  std::unique_ptr<SerialPort> port_;
};

std::string AllBytes() {
  std::string bytes;
  for (int value = 0; value < 256; ++value) bytes.push_back(static_cast<char>(value));
  return bytes;
}

TEST_F(SerialTest, EveryByteValuePassesBothWays) {
  ASSERT_NE(port_, nullptr) << whyNot_;
  port_->Configure(57600);
  const std::string bytes = AllBytes();
  port_->Write(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  EXPECT_EQ(ReadBridge(bytes.size()), bytes);
  ASSERT_EQ(write(bridge_, bytes.data(), bytes.size()), 256);
  EXPECT_EQ(ReadPort(bytes.size()), bytes);
  EXPECT_EQ(port_->BytesWaiting(), 0U) << "an echo of our own bytes";
}

TEST_F(SerialTest, SetsOddRatesAndKeepsHardwareFlowControl) {
  ASSERT_NE(port_, nullptr) << whyNot_;
  termios before{};
  ASSERT_EQ(tcgetattr(bridge_, &before), 0);
  before.c_cflag |= CRTSCTS;
  before.c_iflag |= IXON | ICRNL | ISTRIP;
  ASSERT_EQ(tcsetattr(bridge_, TCSANOW, &before), 0);
  port_->Configure(123457);
  termios after{};
  ASSERT_EQ(tcgetattr(bridge_, &after), 0);
  EXPECT_NE(after.c_cflag & CRTSCTS, 0U);
  EXPECT_EQ(after.c_cflag & CSIZE, static_cast<tcflag_t>(CS8));
  EXPECT_EQ(after.c_iflag, 0U);
  EXPECT_EQ(TtySpeed(bridge_), 123457U);
}

TEST_F(SerialTest, ReadsNeverBlock) {
  ASSERT_NE(port_, nullptr) << whyNot_;
  port_->Configure(115200);
  std::array<uint8_t, 4> buffer{};
  EXPECT_EQ(port_->Read(buffer.data(), buffer.size()), 0U);
  EXPECT_EQ(port_->BytesWaiting(), 0U);
}

TEST_F(SerialTest, IsExclusive) {
  ASSERT_NE(port_, nullptr) << whyNot_;
  std::string why;
  EXPECT_EQ(TtyPorts(path_.c_str()).Open(7, &why), nullptr);
  EXPECT_NE(why.find("in use"), std::string::npos) << why;
  EXPECT_NE(port_->Close(), 0);
  EXPECT_NE(TtyPorts(path_.c_str()).Open(7, &why), nullptr) << why;
}

TEST_F(SerialTest, UnpluggingIsSilence) {
  ASSERT_NE(port_, nullptr) << whyNot_;
  port_->Configure(115200);
  close(bridge_);
  bridge_ = -1;
  const auto start = steady_clock::now();
  std::array<uint8_t, 8> buffer{};
  port_->Write(buffer.data(), buffer.size());
  EXPECT_EQ(port_->BytesWaiting(), 0U);
  EXPECT_EQ(port_->Read(buffer.data(), buffer.size()), 0U);
  port_->Close();
  EXPECT_LT(steady_clock::now() - start, milliseconds(2000));
}

TEST_F(SerialTest, WritingToABridgeThatTakesNothingEnds) {
  ASSERT_NE(port_, nullptr) << whyNot_;
  port_->Configure(115200);
  const std::vector<uint8_t> bytes(1U << 20U, 0x55);
  const auto start = steady_clock::now();
  port_->Write(bytes.data(), bytes.size());
  port_->Close();
  EXPECT_LT(steady_clock::now() - start, milliseconds(4 * TtyPorts::kPatienceMs));
}

TEST_F(SerialTest, NamesThePortThatCannotBeOpened) {
  std::string why;
  EXPECT_EQ(TtyPorts(path_.c_str()).Open(3, &why), nullptr);
  EXPECT_NE(why.find("ttyS2"), std::string::npos) << why;
  ASSERT_EQ(symlink("gone", (path_ + "COM3").c_str()), 0);
  EXPECT_EQ(TtyPorts(path_.c_str()).Open(3, &why), nullptr);
  EXPECT_NE(why.find("COM3"), std::string::npos) << why;
  unlink((path_ + "COM3").c_str());
  ASSERT_EQ(symlink("/dev/null", (path_ + "COM3").c_str()), 0);
  EXPECT_EQ(TtyPorts(path_.c_str()).Open(3, &why), nullptr);
  EXPECT_NE(why.find("not a serial port"), std::string::npos) << why;
  unlink((path_ + "COM3").c_str());
  EXPECT_EQ(TtyPorts(path_.c_str()).Open(0, &why), nullptr);
}

}  // namespace
}  // namespace brisk::linux_system
