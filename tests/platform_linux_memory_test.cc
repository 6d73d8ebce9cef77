// The shared section between processes that come, go and are killed.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "platform/linux/shared_memory.h"
#include "support/child_process.h"

namespace brisk::linux_system {
namespace {

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

}  // namespace
}  // namespace brisk::linux_system
