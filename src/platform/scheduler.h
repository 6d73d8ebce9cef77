#pragma once

#include <cstdint>

namespace brisk {

// Priorities of the calling process and thread, raised at attach for the clock measurement only.
// Values are those of Windows (class 0x100 = real time, level 15 = time critical); other systems
// map them. Nothing blocks. Lack of the right to raise them is not an error: the measurement then
// runs at normal priority.
class Scheduler {
 public:
  virtual ~Scheduler() = default;
  virtual uint32_t PriorityClass() = 0;
  virtual void SetPriorityClass(uint32_t priorityClass) = 0;
  virtual int ThreadPriority() = 0;
  virtual void SetThreadPriority(int level) = 0;
};

}  // namespace brisk
