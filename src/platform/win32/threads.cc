#include "platform/threads.h"

#include <utility>
#include <windows.h>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"

namespace brisk::os {
namespace {

// What a thread is started with; the thread itself deletes it.
struct Work {
  std::function<void()> run;
  HMODULE module;  // with a reference of the thread's own
};

// Everything that needs the module is gone before the last line, which is the system's: a return
// would lead into code that the freed module may no longer have.
DWORD WINAPI Main(void* argument) {
  HMODULE module = nullptr;
  {
    const std::unique_ptr<Work> work(static_cast<Work*>(argument));
    module = work->module;
    work->run();
  }
  FreeLibraryAndExitThread(module, 0);
}

// Recursive by nature, and without a kernel object until threads meet. One whose holder was killed
// is never free again; it can still be deleted.
class CriticalSection final : public RecursiveLock {
 public:
  CriticalSection() { InitializeCriticalSection(&section_); }
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;
  ~CriticalSection() override { DeleteCriticalSection(&section_); }
  void lock() override { EnterCriticalSection(&section_); }
  void unlock() override { LeaveCriticalSection(&section_); }

 private:
  CRITICAL_SECTION section_;
};

class WindowsThreads final : public Threads {
 public:
  std::unique_ptr<Thread> Start(std::function<void()> work) override {
    auto handed = std::make_unique<Work>(Work{std::move(work), nullptr});
    if (GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCSTR>(&Main),
                           &handed->module) == 0) {
      return nullptr;
    }
    HANDLE thread = CreateThread(nullptr, 0, Main, handed.get(), 0, nullptr);
    if (thread == nullptr) {
      FreeLibrary(handed->module);
      return nullptr;
    }
    static_cast<void>(handed.release());  // the thread's from here on
    CloseHandle(thread);
    return std::make_unique<Thread>();
  }
  std::unique_ptr<RecursiveLock> NewLock() override { return std::make_unique<CriticalSection>(); }
};

}  // namespace

Threads& TheThreads() { return Permanent<WindowsThreads>(); }

}  // namespace brisk::os
