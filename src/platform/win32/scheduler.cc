#include <windows.h>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"

namespace brisk::os {
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

Scheduler& TheScheduler() { return Permanent<WindowsScheduler>(); }

}  // namespace brisk::os
