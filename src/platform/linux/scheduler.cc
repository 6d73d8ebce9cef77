#include "platform/scheduler.h"

#include <array>
#include <cerrno>
#include <sched.h>
#include <sys/resource.h>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"

namespace brisk::os {
namespace {

struct ClassNiceness {
  uint32_t priorityClass;
  int niceness;
};

// From the most to the least urgent. A niceness belongs to the first class that it reaches.
constexpr std::array<ClassNiceness, 6> kClasses{{
    {0x100, -20},  // real time
    {0x80, -10},   // high
    {0x8000, -5},  // above normal
    {0x20, 0},     // normal
    {0x4000, 5},   // below normal
    {0x40, 19},    // idle
}};

constexpr int kTimeCritical = 15;
constexpr int kNormal = 0;

// A class is a niceness; the level "time critical" is the lowest real-time rank of the first-in
// first-out policy. On Linux both are properties of the calling thread. What the last question
// found is kept, so that setting the answer again restores exactly what was there.
class NicenessScheduler final : public Scheduler {
 public:
  uint32_t PriorityClass() override {
    errno = 0;
    const int niceness = getpriority(PRIO_PROCESS, 0);
    foundNiceness_ = errno == 0 ? niceness : 0;
    foundClass_ = ClassOf(foundNiceness_);
    return foundClass_;
  }

  void SetPriorityClass(uint32_t priorityClass) override {
    if (priorityClass == foundClass_) {
      setpriority(PRIO_PROCESS, 0, foundNiceness_);
      return;
    }
    for (const ClassNiceness& entry : kClasses) {
      if (entry.priorityClass == priorityClass) setpriority(PRIO_PROCESS, 0, entry.niceness);
    }
  }

  int ThreadPriority() override {
    foundPolicy_ = sched_getscheduler(0);
    sched_getparam(0, &foundParameters_);
    const int policy = foundPolicy_ & ~SCHED_RESET_ON_FORK;
    foundLevel_ = policy == SCHED_FIFO || policy == SCHED_RR ? kTimeCritical : kNormal;
    return foundLevel_;
  }

  void SetThreadPriority(int level) override {
    if (level == foundLevel_) {
      sched_setscheduler(0, foundPolicy_, &foundParameters_);
    } else if (level == kTimeCritical) {
      const sched_param lowestRank{sched_get_priority_min(SCHED_FIFO)};
      sched_setscheduler(0, SCHED_FIFO, &lowestRank);
    } else {
      const sched_param none{};
      sched_setscheduler(0, SCHED_OTHER, &none);
    }
  }

 private:
  static uint32_t ClassOf(int niceness) {
    for (const ClassNiceness& entry : kClasses) {
      if (niceness <= entry.niceness) return entry.priorityClass;
    }
    return kClasses.back().priorityClass;
  }

  int foundNiceness_ = 0;
  uint32_t foundClass_ = 0;
  int foundPolicy_ = SCHED_OTHER;
  sched_param foundParameters_{};
  int foundLevel_ = kNormal;
};

}  // namespace

Scheduler& TheScheduler() { return Permanent<NicenessScheduler>(); }

}  // namespace brisk::os
