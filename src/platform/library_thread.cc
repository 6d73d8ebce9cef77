#include "platform/library_thread.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <system_error>
#include <thread>
#endif

namespace brisk {
namespace {

#if defined(_WIN32)

struct Start {
  std::function<void()> work;
  HMODULE module;
};

DWORD WINAPI Main(void* argument) {
  HMODULE module = nullptr;
  {
    const std::unique_ptr<Start> start(static_cast<Start*>(argument));
    module = start->module;
    start->work();
  }
  FreeLibraryAndExitThread(module, 0);
}

#else

class StandardThread final : public LibraryThread {
 public:
  explicit StandardThread(std::function<void()> work) : thread_(std::move(work)) {}
  StandardThread(const StandardThread&) = delete;
  StandardThread& operator=(const StandardThread&) = delete;
  ~StandardThread() override { thread_.join(); }

 private:
  std::thread thread_;
};

#endif

}  // namespace

std::unique_ptr<LibraryThread> StartLibraryThread(std::function<void()> work) {
#if defined(_WIN32)
  auto start = std::make_unique<Start>(Start{std::move(work), nullptr});
  if (GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCSTR>(&Main),
                         &start->module) == 0) {
    return nullptr;
  }
  HANDLE thread = CreateThread(nullptr, 0, Main, start.get(), 0, nullptr);
  if (thread == nullptr) {
    FreeLibrary(start->module);
    return nullptr;
  }
  static_cast<void>(start.release());  // the thread's from here on
  CloseHandle(thread);
  return std::make_unique<LibraryThread>();
#else
  try {
    return std::make_unique<StandardThread>(std::move(work));
  } catch (const std::system_error&) {
    return nullptr;
  }
#endif
}

}  // namespace brisk
