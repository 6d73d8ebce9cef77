#include <windows.h>

#include "platform/win32/parts.h"

namespace brisk::win32 {
namespace {

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

Clock& SystemClock() {
  static WindowsClock clock;
  return clock;
}

}  // namespace brisk::win32
