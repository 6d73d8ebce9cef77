#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <pty.h>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

#include "platform/linux/port_driver.h"
#include "platform/linux/serial_ports.h"
#include "platform/linux/shared_memory.h"
#include "platform/platform.h"
#include "tests/tty_speed.h"

namespace brisk::linux_system {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// A process that runs `body` and leaves without running this program's destructors.
class Child {
 public:
  explicit Child(const std::function<int()>& body) : id_(fork()) {
    if (id_ == 0) _exit(body());
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  Child(Child&& other) noexcept : id_(std::exchange(other.id_, -1)) {}
  ~Child() {
    if (id_ > 0) Wait();
  }

  void Kill() {
    kill(id_, SIGKILL);
    Wait();
  }
  int Wait() {
    int status = 0;
    waitpid(id_, &status, 0);
    id_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t id_;
};

// A one-byte signal between processes.
class Gate {
 public:
  Gate() { EXPECT_EQ(pipe2(ends_.data(), O_CLOEXEC), 0); }
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;
  ~Gate() {
    close(ends_[0]);
    close(ends_[1]);
  }
  void Open(int passes = 1) {
    const std::vector<char> bytes(static_cast<size_t>(passes), 'x');
    EXPECT_EQ(write(ends_[1], bytes.data(), bytes.size()), passes);
  }
  void Pass() {
    char byte = 0;
    while (read(ends_[0], &byte, 1) < 0 && errno == EINTR) {
    }
  }

 private:
  std::array<int, 2> ends_{};
};

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

TEST_F(SharedObjectTest, TwoProcessesSeeEachOther) {
  const SharedObjectUser user(name_);
  user.section()->bDeviceType = 8;
  Child other([&] {
    const SharedObjectUser second(name_);
    if (second.first() || second.section()->bDeviceType != 8) return 1;
    second.section()->dwDebug = 77;
    return 0;
  });
  EXPECT_EQ(other.Wait(), 0);
  EXPECT_EQ(user.section()->dwDebug, 77);
  EXPECT_TRUE(Exists()) << "the second user took the object away from the first";
}

TEST_F(SharedObjectTest, KilledOnlyUserLeavesNothing) {
  Gate arrived;
  Child victim([&] {
    const SharedObjectUser user(name_);
    user.section()->dwRefCount = 5;
    user.section()->bDeviceType = 4;
    arrived.Open();
    pause();
    return 0;
  });
  arrived.Pass();
  victim.Kill();
  ASSERT_TRUE(Exists());
  const SharedObjectUser next(name_);
  EXPECT_TRUE(next.first());
  EXPECT_EQ(next.section()->dwRefCount, 0U);
  EXPECT_EQ(next.section()->bDeviceType, 0);
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
  Gate checked;
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

TEST_F(SharedObjectTest, RefusesAnObjectThatOthersCanOpen) {
  const int file = shm_open(name_.c_str(), O_RDWR | O_CREAT, 0600);
  ASSERT_GE(file, 0);
  ASSERT_EQ(fchmod(file, 0666), 0);
  close(file);
  const SharedObjectUser user(name_);
  EXPECT_EQ(user.section(), nullptr);
  EXPECT_NE(user.WhyNot().find(name_), std::string::npos);
}

TEST_F(SharedObjectTest, RefusesAnObjectOfAnotherUser) {
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser can make one";
  const int file = shm_open(name_.c_str(), O_RDWR | O_CREAT, 0600);
  ASSERT_GE(file, 0);
  ASSERT_EQ(fchown(file, 1, 1), 0);
  close(file);
  const SharedObjectUser user(name_);
  EXPECT_EQ(user.section(), nullptr);
  EXPECT_NE(user.WhyNot().find("another user"), std::string::npos) << user.WhyNot();
}

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

TEST(LibrariesTest, NamesTheMissingFile) {
  std::string why;
  EXPECT_EQ(platform().libraries.Load("NoSuchVendor", &why), nullptr);
  EXPECT_NE(why.find("libNoSuchVendor.so"), std::string::npos) << why;
}

// The file lies in our own folder and is no library: the reason must name it, not the system's
// folders, where it is not.
TEST(LibrariesTest, LooksInItsOwnFolderFirstAndNeverInTheCurrentOne) {
  std::array<char, 4096> self{};
  ASSERT_GT(readlink("/proc/self/exe", self.data(), self.size() - 1), 0);
  const std::string own = std::string(self.data()).substr(0, std::string(self.data()).rfind('/'));
  const std::string file = own + "/libBroken.so";
  std::FILE* out = std::fopen(file.c_str(), "w");
  ASSERT_NE(out, nullptr);
  std::fputs("not a library", out);
  std::fclose(out);
  std::array<char, 4096> before{};
  ASSERT_NE(getcwd(before.data(), before.size()), nullptr);
  std::string why;
  EXPECT_EQ(platform().libraries.Load("Broken", &why), nullptr);
  EXPECT_NE(why.find(file), std::string::npos) << why;

  const std::string elsewhere = testing::TempDir() + "brisk-cwd";
  mkdir(elsewhere.c_str(), 0700);
  ASSERT_EQ(rename(file.c_str(), (elsewhere + "/libBroken.so").c_str()), 0);
  ASSERT_EQ(chdir(elsewhere.c_str()), 0);
  EXPECT_EQ(platform().libraries.Load("Broken", &why), nullptr);
  EXPECT_NE(why.find("No such file"), std::string::npos) << why;
  ASSERT_EQ(chdir(before.data()), 0);
  std::remove((elsewhere + "/libBroken.so").c_str());
  rmdir(elsewhere.c_str());
}

TEST(FilesTest, RoundTripAndFailures) {
  const std::string path = testing::TempDir() + "brisk-files-" + std::to_string(getpid());
  Files& files = platform().files;
  EXPECT_EQ(files.OpenForReading(path.c_str()), nullptr);
  EXPECT_EQ(files.Create((path + "/no/folder").c_str()), nullptr);
  auto out = files.Create(path.c_str());
  ASSERT_NE(out, nullptr);
  EXPECT_EQ(out->Write("a\r\n\x1a\0b", 6), 6U);
  EXPECT_TRUE(out->Close());
  auto in = files.OpenForReading(path.c_str());
  ASSERT_NE(in, nullptr);
  std::array<char, 16> buffer{};
  EXPECT_EQ(in->Read(buffer.data(), 6), 6U);
  EXPECT_FALSE(in->AtEnd());
  EXPECT_EQ(in->Read(buffer.data() + 6, 1), 0U);
  EXPECT_TRUE(in->AtEnd());
  EXPECT_EQ(std::memcmp(buffer.data(), "a\r\n\x1a\0b", 6), 0);
  EXPECT_TRUE(files.Remove(path.c_str()));
  EXPECT_FALSE(files.Remove(path.c_str()));
}

TEST(FilesTest, AFullDiskIsReportedAtTheLatestByClose) {
  auto out = platform().files.Create("/dev/full");
  ASSERT_NE(out, nullptr);
  out->Write("x", 1);
  EXPECT_FALSE(out->Close());
}

// Port permission as the kernel would record it.
struct Permission {
  std::array<bool, 65536> allowed{};
  bool refuse = false;
};
Permission* permission = nullptr;

int SetPermission(unsigned long first, unsigned long count, int allow) {
  if (first + count > 65536) {
    errno = EINVAL;
    return -1;
  }
  if (permission->refuse && allow != 0) {
    errno = EPERM;
    return -1;
  }
  for (unsigned long port = first; port < first + count; ++port) {
    permission->allowed[port] = allow != 0;
  }
  return 0;
}

class PermittedPorts final : public PortIo {
 public:
  void Out(uint16_t port, uint8_t value) override {
    EXPECT_TRUE(permission->allowed[port]);
    written.emplace_back(port, value);
  }
  uint8_t In(uint16_t port) override {
    EXPECT_TRUE(permission->allowed[port]);
    return static_cast<uint8_t>(port);
  }
  std::vector<std::pair<uint16_t, uint8_t>> written;
};

class Lines final : public DebugStream {
 public:
  void Write(const char* text) override { all += text; }
  std::string all;
};

class PortDriverTest : public testing::Test {
 public:
  PortDriverTest() { permission = permission_.get(); }
  ~PortDriverTest() override { device_.reset(); }

  bool Send(uint32_t code, std::array<uint8_t, 8> in, uint32_t inSize, uint32_t outSize) {
    buffer_ = in;
    return device_->Control(code, buffer_.data(), inSize, buffer_.data(), outSize, &returned_);
  }
  std::vector<unsigned> Allowed() const {
    std::vector<unsigned> ports;
    for (unsigned port = 0; port < 65536; ++port) {
      if (permission_->allowed[port]) ports.push_back(port);
    }
    return ports;
  }

  std::unique_ptr<Permission> permission_ = std::make_unique<Permission>();
  PermittedPorts ports_;
  Lines lines_;
  std::unique_ptr<PortDriverDevice> device_ =
      std::make_unique<PortDriverDevice>(ports_, lines_, SetPermission);
  std::array<uint8_t, 8> buffer_{};
  uint32_t returned_ = 0;
};

constexpr uint32_t kVersion = 0x9C402480;
constexpr uint32_t kSwitch = 0x9C40248C;
constexpr uint32_t kBase = 0x9C402494;
constexpr uint32_t kWrite = 0x9C4024E4;
constexpr uint32_t kRead = 0x9C4024E8;
using Ports = std::vector<unsigned>;

TEST_F(PortDriverTest, AnswersItsVersion) {
  EXPECT_TRUE(Send(kVersion, {}, 4, 4));
  EXPECT_EQ(buffer_, (std::array<uint8_t, 8>{0x0C, 0, 1, 0}));
  EXPECT_EQ(returned_, 4U);
  EXPECT_FALSE(Send(kVersion, {}, 4, 3));
  EXPECT_EQ(returned_, 4U);
}

TEST_F(PortDriverTest, SwitchesOnMovesAndSwitchesOff) {
  EXPECT_TRUE(Send(kSwitch, {0}, 4, 4));
  EXPECT_EQ(Allowed(), (Ports{0x378, 0x379, 0x37A}));
  EXPECT_TRUE(Send(kBase, {0x7A, 0x03}, 8, 8));
  EXPECT_EQ(returned_, 8U);
  EXPECT_EQ(buffer_[4], 0x19);
  EXPECT_EQ(Allowed(), (Ports{0x37A, 0x37B, 0x37C}));
  EXPECT_TRUE(Send(kSwitch, {1}, 1, 1));
  EXPECT_EQ(Allowed(), Ports{});
  EXPECT_TRUE(Send(kSwitch, {1}, 1, 1));
}

TEST_F(PortDriverTest, KeepsTheOldBaseWhenTheNewOneIsRefused) {
  EXPECT_TRUE(Send(kSwitch, {0}, 4, 4));
  EXPECT_FALSE(Send(kBase, {0xFF, 0xFF}, 8, 8));
  EXPECT_EQ(Allowed(), (Ports{0x378, 0x379, 0x37A}));
}

TEST_F(PortDriverTest, RefusalFailsTheRequestAndSaysWhy) {
  permission_->refuse = true;
  EXPECT_FALSE(Send(kSwitch, {0}, 4, 4));
  EXPECT_NE(lines_.all.find("Operation not permitted"), std::string::npos) << lines_.all;
  EXPECT_FALSE(Send(kWrite, {0x55}, 1, 1));
  EXPECT_TRUE(ports_.written.empty());
}

TEST_F(PortDriverTest, AccessesPortsOfItsOwnWithoutDirectAccess) {
  EXPECT_TRUE(Send(kWrite, {0x5A}, 1, 1));
  ASSERT_EQ(ports_.written.size(), 1U);
  EXPECT_EQ(ports_.written[0], std::make_pair(uint16_t{0x378}, uint8_t{0x5A}));
  EXPECT_TRUE(Send(kRead, {}, 1, 1));
  EXPECT_EQ(buffer_[0], 0x79);
  EXPECT_EQ(returned_, 1U);
  EXPECT_EQ(Allowed(), Ports{});
  EXPECT_FALSE(Send(kWrite, {}, 0, 0));
  EXPECT_FALSE(Send(kRead, {}, 0, 0));
}

TEST_F(PortDriverTest, ClosingGivesThePermissionBack) {
  EXPECT_TRUE(Send(kSwitch, {0}, 4, 4));
  device_.reset();
  EXPECT_EQ(Allowed(), Ports{});
}

TEST_F(PortDriverTest, FailsUnknownCodes) { EXPECT_FALSE(Send(0x9C402481, {}, 8, 8)); }

TEST(DevicesTest, OpensThePortDriverAndNothingElse) {
  EXPECT_NE(platform().devices.Open(R"(\\.\kgated)", {}), nullptr);
  EXPECT_EQ(platform().devices.Open(R"(\\.\kgated.vxd)", {}), nullptr);
}

TEST(ClockTest, CountersAgreeOverASleep) {
  Clock& clock = platform().clock;
  const int64_t counter = clock.PerformanceCounter();
  const uint32_t ticks = clock.TickCount();
  const int64_t local = clock.LocalTime();
  const uint64_t stamp = clock.TimeStampCounter();
  clock.Sleep(30);
  const int64_t passed = clock.PerformanceCounter() - counter;
  EXPECT_GE(passed, clock.PerformanceFrequency() * 30 / 1000);
  EXPECT_NEAR(clock.TickCount() - ticks, static_cast<double>(passed) / 1e6, 5);
  EXPECT_NEAR(static_cast<double>(clock.LocalTime() - local), static_cast<double>(passed) / 100,
              200'000);
  EXPECT_GT(clock.TimeStampCounter(), stamp);
}

TEST(ClockTest, LocalTimeCountsFrom1601InTheUsersZone) {
  const int64_t seconds = platform().clock.LocalTime() / 10'000'000 - 11'644'473'600;
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  EXPECT_NEAR(static_cast<double>(seconds), static_cast<double>(timegm(&local)), 2);
}

TEST(SchedulerTest, RestoresWhatItFound) {
  const Child child([] {
    Scheduler& scheduler = platform().scheduler;
    if (nice(3) != 3) return 1;
    const uint32_t priorityClass = scheduler.PriorityClass();
    const int level = scheduler.ThreadPriority();
    scheduler.SetPriorityClass(0x100);
    scheduler.SetThreadPriority(15);
    scheduler.SetThreadPriority(level);
    scheduler.SetPriorityClass(priorityClass);
    return nice(0) == 3 && sched_getscheduler(0) == SCHED_OTHER ? 0 : 2;
  });
  EXPECT_EQ(const_cast<Child&>(child).Wait(), 0);
}

TEST(PlatformTest, SectionIsOnePlace) {
  SharedSection& section = platform().sharedMemory.Section();
  EXPECT_EQ(&section, &platform().sharedMemory.Section());
  EXPECT_EQ(section.wLptBase, 0x378);
}

}  // namespace
}  // namespace brisk::linux_system
