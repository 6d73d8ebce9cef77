// Libraries, files, port permission, clock and priorities as Linux gives them.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <sched.h>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include "platform/linux/port_driver.h"
#include "platform/platform.h"
#include "support/child_process.h"

namespace brisk::os {
namespace {

// The file lies in our own folder and is no library: the reason must name it, not the system's
// folders, where it is not.
TEST(LibrariesTest, LooksInItsOwnFolderFirstAndNeverInTheCurrentOne) {
  std::array<char, 4096> self{};
  ASSERT_GT(readlink("/proc/self/exe", self.data(), self.size() - 1), 0);
  const std::string own = std::string(self.data()).substr(0, std::string(self.data()).rfind('/'));
  const std::string file = own + "/libBroken.so";
  std::ofstream(file) << "not a library";
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
  EXPECT_EQ(why.rfind("libBroken.so: cannot open", 0), 0U) << why;
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
  for (const size_t size : {1, 100'000}) {  // in the stream's buffer until the close, or not
    auto out = platform().files.Create("/dev/full");
    ASSERT_NE(out, nullptr);
    out->Write(std::string(size, 'x').data(), size);
    EXPECT_FALSE(out->Close()) << size;
  }
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

using Bytes = std::array<uint8_t, 8>;
const Ports kPorts = {0x378, 0x379, 0x37A};

// What a request answers and returns, and which ports are allowed then, in this order. Without
// direct access the driver allows its own accesses and takes that back.
const struct {
  uint32_t code;
  Bytes in;
  uint32_t inSize, outSize;
  bool good;
  uint32_t returned;
  Bytes out;  // as far as it is looked at
  Ports allowed;
} kRequests[] = {
    {kVersion, {}, 4, 4, true, 4, {0x0C, 0, 1, 0}, {}},
    {kVersion, {}, 4, 3, false, 4, {}, {}},
    {kWrite, {0x5A}, 1, 1, true, 0, {0x5A}, {}},
    {kWrite, {}, 0, 0, false, 0, {}, {}},
    {kRead, {}, 1, 1, true, 1, {0x79}, {}},
    {kRead, {}, 0, 0, false, 0, {}, {}},
    {kSwitch, {0}, 4, 4, true, 0, {}, kPorts},
    {kBase, {0xFF, 0xFF}, 8, 8, false, 0, {0xFF, 0xFF}, kPorts},  // beyond the last port
    {kBase, {0x7A, 0x03}, 8, 8, true, 8, {0x7A, 0x03, 0, 0, 0x19}, {0x37A, 0x37B, 0x37C}},
    {kSwitch, {1}, 1, 1, true, 0, {1}, {}},
    {kSwitch, {1}, 1, 1, true, 0, {1}, {}},
    {0x9C402481, {}, 8, 8, false, 0, {}, {}},
};

TEST_F(PortDriverTest, Requests) {
  for (const auto& request : kRequests) {
    SCOPED_TRACE(&request - kRequests);
    returned_ = 0;
    EXPECT_EQ(Send(request.code, request.in, request.inSize, request.outSize), request.good);
    EXPECT_EQ(returned_, request.returned);
    EXPECT_EQ(buffer_, request.out);
    EXPECT_EQ(Allowed(), request.allowed);
  }
  ASSERT_EQ(ports_.written.size(), 1U);
  EXPECT_EQ(ports_.written[0], std::make_pair(uint16_t{0x378}, uint8_t{0x5A}));
}

TEST_F(PortDriverTest, RefusalFailsTheRequestAndClosingGivesThePermissionBack) {
  permission_->refuse = true;
  EXPECT_FALSE(Send(kSwitch, {0}, 4, 4));
  EXPECT_NE(lines_.all.find("Operation not permitted"), std::string::npos) << lines_.all;
  EXPECT_FALSE(Send(kWrite, {0x55}, 1, 1));
  EXPECT_TRUE(ports_.written.empty());
  permission_->refuse = false;
  EXPECT_TRUE(Send(kSwitch, {0}, 4, 4));
  EXPECT_EQ(Allowed(), kPorts);
  device_.reset();
  EXPECT_EQ(Allowed(), Ports{});
}

TEST(DevicesTest, OpensThePortDriverAndNothingElse) {
  EXPECT_NE(platform().devices.Open(R"(\\.\kgated)", {}), nullptr);
  EXPECT_EQ(platform().devices.Open(R"(\\.\kgated.vxd)", {}), nullptr);
}

// The clocks at one moment: read again when another process came between.
struct Moment {
  Moment() {
    Clock& clock = platform().clock;
    do {
      counter = clock.PerformanceCounter();
      ticks = clock.TickCount();
      local = clock.LocalTime();
    } while (clock.PerformanceCounter() - counter > clock.PerformanceFrequency() / 1000);
  }
  int64_t counter;
  uint32_t ticks;
  int64_t local;
};

TEST(ClockTest, CountersAgreeOverASleep) {
  Clock& clock = platform().clock;
  const uint64_t stamp = clock.TimeStampCounter();
  const Moment before;
  clock.Sleep(30);
  const Moment after;
  const int64_t passed = after.counter - before.counter;
  EXPECT_GE(passed, clock.PerformanceFrequency() * 30 / 1000);
  EXPECT_NEAR(after.ticks - before.ticks, static_cast<double>(passed) / 1e6, 5);
  EXPECT_NEAR(static_cast<double>(after.local - before.local), static_cast<double>(passed) / 100,
              200'000);
  EXPECT_GT(clock.TimeStampCounter(), stamp);
}

TEST(ClockTest, LocalTimeCountsFrom1601InTheUsersZone) {
  setenv("TZ", "XYZ-5:30", 1);
  tzset();
  const int64_t seconds = platform().clock.LocalTime() / 10'000'000 - 11'644'473'600;
  EXPECT_NEAR(static_cast<double>(seconds), static_cast<double>(std::time(nullptr) + 19'800), 2);
}

TEST(SchedulerTest, RestoresWhatItFound) {
  Child child([] {
    Scheduler& scheduler = platform().scheduler;
    const int found = nice(3);
    const uint32_t priorityClass = scheduler.PriorityClass();
    const int level = scheduler.ThreadPriority();
    scheduler.SetPriorityClass(0x100);
    scheduler.SetThreadPriority(15);
    scheduler.SetThreadPriority(level);
    scheduler.SetPriorityClass(priorityClass);
    return nice(0) == found && sched_getscheduler(0) == SCHED_OTHER ? 0 : 1;
  });
  EXPECT_EQ(child.Wait(), 0);
}

}  // namespace
}  // namespace brisk::os
