#include "sim/common/virtual_clock.h"

#include <chrono>
#include <thread>

namespace brisk::sim {
namespace {

// Local time when the bench is switched on: midnight of 1 January 2024 since 1 January 1601.
constexpr int64_t kSwitchedOn = 133'485'408'000'000'000;

const std::chrono::steady_clock::time_point kHostStart = std::chrono::steady_clock::now();

}  // namespace

uint64_t VirtualClock::HostNow() const {
  const auto passed = std::chrono::steady_clock::now() - kHostStart;
  return static_cast<uint64_t>(
             std::chrono::duration_cast<std::chrono::nanoseconds>(passed).count()) +
         now_.load(std::memory_order_relaxed);
}

int64_t VirtualClock::PerformanceCounter() {
  return static_cast<int64_t>(Read(kPerformanceReadNs) / 100);
}

uint32_t VirtualClock::TickCount() { return static_cast<uint32_t>(Read(kTickReadNs) / 1'000'000); }

int64_t VirtualClock::LocalTime() {
  return kSwitchedOn + static_cast<int64_t>(Read(kTickReadNs) / 100);
}

// The host's thread gives way in either case: what the caller waits for may be another thread.
void VirtualClock::Sleep(uint32_t milliseconds) {
  if (real_) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    return;
  }
  Spend(milliseconds == 0 ? kYieldNs : uint64_t{milliseconds} * 1'000'000);
  std::this_thread::yield();
}

}  // namespace brisk::sim
