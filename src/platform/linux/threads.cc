#include "platform/threads.h"

#include <mutex>
#include <system_error>
#include <thread>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"

namespace brisk::os {
namespace {

// Joined by its destructor, so that the code that it runs stays until it is through.
class JoinedThread final : public Thread {
 public:
  explicit JoinedThread(std::function<void()> work) : thread_(std::move(work)) {}
  JoinedThread(const JoinedThread&) = delete;
  JoinedThread& operator=(const JoinedThread&) = delete;
  ~JoinedThread() override { thread_.join(); }

 private:
  std::thread thread_;
};

class StandardLock final : public RecursiveLock {
 public:
  void lock() override { mutex_.lock(); }
  void unlock() override { mutex_.unlock(); }

 private:
  std::recursive_mutex mutex_;
};

class StandardThreads final : public Threads {
 public:
  std::unique_ptr<Thread> Start(std::function<void()> work) override {
    try {
      return std::make_unique<JoinedThread>(std::move(work));
    } catch (const std::system_error&) {
      return nullptr;
    }
  }
  std::unique_ptr<RecursiveLock> NewLock() override { return std::make_unique<StandardLock>(); }
};

}  // namespace

Threads& TheThreads() { return Permanent<StandardThreads>(); }

}  // namespace brisk::os
