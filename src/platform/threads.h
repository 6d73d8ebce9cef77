#pragma once

#include <functional>
#include <memory>

namespace brisk {

// Whether the step that unloads the library may wait for its threads, take locks that they hold and
// call vendor libraries. On Windows it may not: DllMain runs under the loader lock, which an ending
// thread needs in order to end, so that waiting for one hangs; at the end of a process the other
// threads are gone by then, killed wherever they were, perhaps with a lock held or inside a vendor
// library, which may itself have been shut down already.
#if defined(_WIN32)
inline constexpr bool kUnloadMayWait = false;
#else
inline constexpr bool kUnloadMayWait = true;
#endif

// A thread of the library's own. No thread outlives the library's code:
// - on Windows it holds a reference on the library's module and gives it up in the system call that
//   also ends it. A FreeLibrary meanwhile takes effect when the thread is through; nobody has to
//   wait for it, and the step that unloads the library never meets a running one;
// - elsewhere the destructor waits for the thread, which then must be on its way out.
class Thread {
 public:
  Thread() = default;
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;
  virtual ~Thread() = default;
};

// A lock that its holder may take again; released as often as taken. For std::lock_guard and
// std::unique_lock, hence the names of its functions.
class RecursiveLock {
 public:
  RecursiveLock() = default;
  RecursiveLock(const RecursiveLock&) = delete;
  RecursiveLock& operator=(const RecursiveLock&) = delete;
  virtual ~RecursiveLock() = default;
  virtual void lock() = 0;  // blocks until the holder gives it up
  virtual void unlock() = 0;
};

class Threads {
 public:
  virtual ~Threads() = default;
  // Runs `work`, which must not throw, on a new thread. Null when the system refuses one.
  virtual std::unique_ptr<Thread> Start(std::function<void()> work) = 0;
  virtual std::unique_ptr<RecursiveLock> NewLock() = 0;
};

}  // namespace brisk
