#include "platform/clock.h"

#include <cerrno>
#include <ctime>
#include <sched.h>
#include <x86intrin.h>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"

namespace brisk::os {
namespace {

constexpr int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr int64_t kNanosecondsPerMillisecond = 1'000'000;
// From 1 January 1601, the epoch of LocalTime on Windows, to 1 January 1970.
constexpr int64_t kSecondsBefore1970 = 11'644'473'600;
constexpr int64_t kUnitsPerSecond = 10'000'000;

// The monotonic clock gives the performance counter, in nanoseconds, and the tick count; only the
// local time follows what the user sets.
class SystemClock final : public Clock {
 public:
  uint64_t TimeStampCounter() override { return __rdtsc(); }

  int64_t PerformanceFrequency() override { return kNanosecondsPerSecond; }
  int64_t PerformanceCounter() override { return Monotonic(); }

  uint32_t TickCount() override {
    return static_cast<uint32_t>(Monotonic() / kNanosecondsPerMillisecond);
  }

  int64_t LocalTime() override {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    return (now.tv_sec + local.tm_gmtoff + kSecondsBefore1970) * kUnitsPerSecond +
           now.tv_nsec / 100;
  }

  // A signal does not cut it short.
  void Sleep(uint32_t milliseconds) override {
    if (milliseconds == 0) {
      sched_yield();
      return;
    }
    timespec left{static_cast<time_t>(milliseconds / 1000),
                  static_cast<long>(milliseconds % 1000 * kNanosecondsPerMillisecond)};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
  }

 private:
  static int64_t Monotonic() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kNanosecondsPerSecond + now.tv_nsec;
  }
};

}  // namespace

Clock& TheClock() { return Permanent<SystemClock>(); }

}  // namespace brisk::os
