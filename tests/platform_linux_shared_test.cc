// What processes share on Linux, serial ports over pseudo terminals and the section, when they
// come, go and are killed.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>
#include <pty.h>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

#include "platform/linux/serial_ports.h"
#include "platform/linux/shared_memory.h"
#include "support/child_process.h"
#include "tests/tty_speed.h"

namespace brisk::os {
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

  // What `take(where, most)` brings of `count` bytes within a second.
  template <typename Take>
  static std::string Gather(size_t count, Take take) {
    std::string got(count, '\0');
    size_t have = 0;
    const auto end = steady_clock::now() + milliseconds(1000);
    while (have < count && steady_clock::now() < end) {
      have += static_cast<size_t>(std::max<ssize_t>(0, take(&got[have], count - have)));
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

TEST_F(SerialTest, EveryByteValuePassesBothWays) {
  ASSERT_NE(port_, nullptr) << whyNot_;
  port_->Configure(57600);
  std::string bytes(256, '\0');
  std::iota(bytes.begin(), bytes.end(), '\0');
  port_->Write(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  EXPECT_EQ(Gather(bytes.size(), [&](char* to, size_t most) { return read(bridge_, to, most); }),
            bytes);
  ASSERT_EQ(write(bridge_, bytes.data(), bytes.size()), 256);
  const auto take = [&](char* to, size_t most) {
    return port_->BytesWaiting() == 0
               ? 0
               : static_cast<ssize_t>(port_->Read(reinterpret_cast<uint8_t*>(to), most));
  };
  EXPECT_EQ(Gather(bytes.size(), take), bytes);
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

class SharedObjectTest : public testing::Test {
 public:
  ~SharedObjectTest() override { shm_unlink(name_.c_str()); }

  bool Exists() const {
    const int file = shm_open(name_.c_str(), O_RDONLY, 0);
    if (file >= 0) close(file);
    return file >= 0;
  }

  const std::string name_ = "/brisk-test-" + std::to_string(getpid());
};

TEST_F(SharedObjectTest, FirstUserWritesInitialValuesAndLastUnlinks) {
  {
    const SharedObjectUser user(name_);
    ASSERT_NE(user.section(), nullptr) << user.WhyNot();
    EXPECT_TRUE(user.first());
    EXPECT_EQ(user.section()->dwDriverStatus, 1U);
    EXPECT_EQ(user.section()->wLptBase, 0x378);
    struct stat status {};
    ASSERT_EQ(stat(("/dev/shm" + name_).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
  }
  EXPECT_FALSE(Exists());
}

TEST_F(SharedObjectTest, ValuesOutliveAKilledFirstUserWhileASecondLives) {
  Gate arrived;
  Child first([&] {
    const SharedObjectUser user(name_);
    user.section()->bDeviceType = 9;
    arrived.Open();
    pause();
    return 0;
  });
  arrived.Pass();
  const SharedObjectUser second(name_);
  EXPECT_FALSE(second.first());
  first.Kill();
  const SharedObjectUser third(name_);
  EXPECT_FALSE(third.first());
  EXPECT_EQ(third.section()->bDeviceType, 9);
}

// Twenty processes arrive at once, over whatever a killed one left. Each raises the count and waits
// for all: a user who initialised after another had written, or who sat on an object of its own,
// makes the count come out wrong.
TEST_F(SharedObjectTest, OneOfTwentyAtOnceIsFirst) {
  constexpr int kUsers = 20;
  for (int round = 0; round < 25; ++round) {
    Gate start;
    Gate written;
    Gate leave;
    std::vector<Child> users;
    users.reserve(kUsers);
    for (int index = 0; index < kUsers; ++index) {
      users.emplace_back([&] {
        start.Pass();
        const SharedObjectUser user(name_);
        if (user.section() == nullptr) return 100;
        __atomic_add_fetch(&user.section()->dwRefCount, 1, __ATOMIC_SEQ_CST);
        written.Open();
        leave.Pass();
        const bool all = __atomic_load_n(&user.section()->dwRefCount, __ATOMIC_SEQ_CST) == kUsers;
        return (all ? 0 : 50) + (user.first() ? 1 : 0);
      });
    }
    start.Open(kUsers);
    for (int index = 0; index < kUsers; ++index) written.Pass();
    leave.Open(kUsers);
    int firsts = 0;
    for (Child& user : users) {
      const int result = user.Wait();
      EXPECT_TRUE(result == 0 || result == 1) << "round " << round << ": " << result;
      firsts += result;
    }
    ASSERT_EQ(firsts, 1) << "round " << round;
    ASSERT_FALSE(Exists()) << "round " << round;
    const Child leftOver([&] {
      const SharedObjectUser user(name_);
      user.section()->dwRefCount = 1000;
      raise(SIGKILL);
      return 0;
    });
  }
}

// Arrivals and leavings meet at the moment of the unlink. Everybody who is in must share one
// object.
TEST_F(SharedObjectTest, ComingAndGoingNeverSplitsTheUsers) {
  constexpr int kUsers = 6;
  std::vector<Child> users;
  users.reserve(kUsers);
  for (int index = 0; index < kUsers; ++index) {
    users.emplace_back([&] {
      for (int turn = 0; turn < 300; ++turn) {
        const SharedObjectUser user(name_);
        if (user.section() == nullptr) return 1;
        struct stat status {};
        // While we are in, the name must lead to an object: nobody else may have been the last.
        if (stat(("/dev/shm" + name_).c_str(), &status) != 0) return 2;
        const SharedObjectUser again(name_);
        if (again.first()) return 3;
        __atomic_store_n(&user.section()->dwIsNT, 1U, __ATOMIC_SEQ_CST);
        if (__atomic_load_n(&again.section()->dwIsNT, __ATOMIC_SEQ_CST) != 1) return 4;
      }
      return 0;
    });
  }
  for (Child& user : users) EXPECT_EQ(user.Wait(), 0);
  EXPECT_FALSE(Exists());
}

TEST_F(SharedObjectTest, ForkedChildKeepsTheObjectAliveOnItsOwn) {
  Gate isUser;
  Gate parentLeft;
  auto user = std::make_unique<SharedObjectUser>(name_);
  user->section()->bDeviceType = 3;
  Child child([&] {
    user->BecomeUserAfterFork();
    isUser.Open();
    parentLeft.Pass();
    const SharedObjectUser third(name_);
    return third.first() || third.section()->bDeviceType != 3 ? 1 : 0;
  });
  isUser.Pass();
  user.reset();
  EXPECT_TRUE(Exists());
  parentLeft.Open();
  EXPECT_EQ(child.Wait(), 0);
}

// Only the superuser can make another user's object.
TEST_F(SharedObjectTest, RefusesWhatOthersOwnOrCanOpen) {
  for (const bool ours : {true, false}) {
    if (!ours && geteuid() != 0) continue;
    const int file = shm_open(name_.c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_EQ(ours ? fchmod(file, 0666) : fchown(file, 1, 1), 0);
    const SharedObjectUser user(name_);
    EXPECT_EQ(user.section(), nullptr);
    EXPECT_NE(user.WhyNot().find(name_), std::string::npos) << user.WhyNot();
    EXPECT_EQ(user.WhyNot().find("another user") == std::string::npos, ours) << user.WhyNot();
    close(file);
    shm_unlink(name_.c_str());
  }
}

}  // namespace
}  // namespace brisk::os
