#include <windows.h>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"

namespace brisk::os {
namespace {

// The performance counter is the finest that every Windows has; the tick count moves in steps of 10
// to 16 ms. Sleep waits in those steps too.
class WindowsClock final : public Clock {
 public:
  uint64_t TimeStampCounter() override { return __builtin_ia32_rdtsc(); }
  int64_t PerformanceFrequency() override {
    LARGE_INTEGER value = {};
    QueryPerformanceFrequency(&value);
    return value.QuadPart;
  }
  int64_t PerformanceCounter() override {
    LARGE_INTEGER value = {};
    QueryPerformanceCounter(&value);
    return value.QuadPart;
  }
  uint32_t TickCount() override { return GetTickCount(); }
  // In the system's own units and from its own epoch, 1 January 1601.
  int64_t LocalTime() override {
    FILETIME utc = {};
    FILETIME local = {};
    GetSystemTimeAsFileTime(&utc);
    FileTimeToLocalFileTime(&utc, &local);
    return static_cast<int64_t>(static_cast<uint64_t>(local.dwHighDateTime) << 32 |
                                local.dwLowDateTime);
  }
  void Sleep(uint32_t milliseconds) override { ::Sleep(milliseconds); }
};

}  // namespace

Clock& TheClock() { return Permanent<WindowsClock>(); }

}  // namespace brisk::os
