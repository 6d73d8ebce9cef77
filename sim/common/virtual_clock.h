#pragma once

#include <atomic>
#include <cstdint>

#include "platform/clock.h"

namespace brisk::sim {

// The bench's time. Virtual: it advances only by what is done (a counter read, a port access, a
// sleep), so that a time-out of seconds costs nothing and every run takes the same time. Real: the
// host's steady clock, and nothing is added. Any thread may use it.
class VirtualClock final : public Clock {
 public:
  static constexpr uint64_t kTscMHz = 3000;
  static constexpr uint64_t kTscReadNs = 20;
  static constexpr uint64_t kPerformanceReadNs = 1000;  // as an ACPI timer
  static constexpr uint64_t kTickReadNs = 1000;
  static constexpr uint64_t kYieldNs = 1000;

  explicit VirtualClock(bool real = false) : real_(real) {}
  VirtualClock(const VirtualClock&) = delete;
  VirtualClock& operator=(const VirtualClock&) = delete;

  // Nanoseconds since the bench was switched on; looking does not advance it.
  uint64_t Now() const { return real_ ? HostNow() : now_.load(std::memory_order_relaxed); }
  // What the hardware took to do something; nothing in real time, which passes by itself.
  void Spend(uint64_t nanoseconds) {
    if (!real_) now_.fetch_add(nanoseconds, std::memory_order_relaxed);
  }
  // Moves the clock forward, real or virtual.
  void Advance(uint64_t nanoseconds) { now_.fetch_add(nanoseconds, std::memory_order_relaxed); }
  bool real() const { return real_; }

  uint64_t TimeStampCounter() override { return Read(kTscReadNs) * kTscMHz / 1000; }
  int64_t PerformanceFrequency() override { return 10'000'000; }
  int64_t PerformanceCounter() override;
  uint32_t TickCount() override;
  int64_t LocalTime() override;
  void Sleep(uint32_t milliseconds) override;

 private:
  uint64_t HostNow() const;
  uint64_t Read(uint64_t cost) {
    if (real_) return HostNow();
    return now_.fetch_add(cost, std::memory_order_relaxed) + cost;
  }

  const bool real_;
  std::atomic<uint64_t> now_{0};  // in real time: what Advance added
};

}  // namespace brisk::sim
