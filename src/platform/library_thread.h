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
class LibraryThread {
 public:
  LibraryThread() = default;
  LibraryThread(const LibraryThread&) = delete;
  LibraryThread& operator=(const LibraryThread&) = delete;
  virtual ~LibraryThread() = default;
};

// Runs `work`, which must not throw, on a new thread. Null when the system refuses one.
std::unique_ptr<LibraryThread> StartLibraryThread(std::function<void()> work);

}  // namespace brisk
