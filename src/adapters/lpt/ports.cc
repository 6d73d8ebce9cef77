#include "adapters/lpt/ports.h"

namespace brisk::lpt {
namespace {

// Numbers of Windows, which other systems map.
constexpr uint32_t kRealTimeClass = 0x100;
constexpr int kTimeCriticalThread = 15;
constexpr int64_t kIntervalsPerSecond = 16;
constexpr int64_t kIntervalMicroseconds = 62500;

// Highest priority for the time of one measurement.
class RealTime {
 public:
  explicit RealTime(Scheduler& scheduler)
      : scheduler_(scheduler),
        priorityClass_(scheduler.PriorityClass()),
        threadPriority_(scheduler.ThreadPriority()) {
    scheduler_.SetPriorityClass(kRealTimeClass);
    scheduler_.SetThreadPriority(kTimeCriticalThread);
  }
  RealTime(const RealTime&) = delete;
  RealTime& operator=(const RealTime&) = delete;
  ~RealTime() {
    scheduler_.SetThreadPriority(threadPriority_);
    scheduler_.SetPriorityClass(priorityClass_);
  }

 private:
  Scheduler& scheduler_;
  uint32_t priorityClass_;
  int threadPriority_;
};

}  // namespace

uint32_t Ports::Cpu_GetFrequency() {
  uint64_t ticks = 0;
  {
    const RealTime priority(scheduler_);
    const int64_t interval = clock_.PerformanceFrequency() / kIntervalsPerSecond;
    const int64_t target = clock_.PerformanceCounter() + interval;
    const uint64_t start = clock_.TimeStampCounter();
    while (clock_.PerformanceCounter() < target) {
    }
    ticks = clock_.TimeStampCounter() - start;
  }
  dwCpuMHz = static_cast<uint32_t>(static_cast<int64_t>(ticks) / kIntervalMicroseconds);
  log_.Print(0, "CPU frequency=%d MHz\n", static_cast<int>(dwCpuMHz));
  return dwCpuMHz;
}

void Ports::SetClockRate(uint32_t kHz) {
  constexpr uint32_t kHalfPeriod = 500;  // microseconds times kHz
  if (kHz != 0) dwPortDelay = kHalfPeriod / kHz;
}

}  // namespace brisk::lpt
