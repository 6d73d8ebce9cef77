#include <windows.h>

#include "platform/win32/parts.h"

namespace brisk::win32 {
namespace {

class WindowsScheduler final : public Scheduler {
 public:
  uint32_t PriorityClass() override { return GetPriorityClass(GetCurrentProcess()); }
  void SetPriorityClass(uint32_t priorityClass) override {
    ::SetPriorityClass(GetCurrentProcess(), priorityClass);
  }
  int ThreadPriority() override { return GetThreadPriority(GetCurrentThread()); }
  void SetThreadPriority(int level) override { ::SetThreadPriority(GetCurrentThread(), level); }
};

}  // namespace

Scheduler& Priorities() {
  static WindowsScheduler scheduler;
  return scheduler;
}

}  // namespace brisk::win32
