#pragma once

#include <cstdint>

namespace brisk {

// Every source of time the library uses; nothing else waits or measures. All functions may be
// called from any thread and none fails.
class Clock {
 public:
  virtual ~Clock() = default;

  // The processor's time-stamp counter: settle times and the clock measurement.
  virtual uint64_t TimeStampCounter() = 0;
  // A monotonic counter of known frequency (Hz): the clock measurement and the serial bridges'
  // waits.
  virtual int64_t PerformanceFrequency() = 0;
  virtual int64_t PerformanceCounter() = 0;
  // Milliseconds since system start, wrapping at 2^32: flash waits.
  virtual uint32_t TickCount() = 0;
  // Local time in 100-nanosecond units since a fixed epoch: waits of the FTDI engine. It may jump
  // when the user sets the clock, back or ahead.
  virtual int64_t LocalTime() = 0;
  // Blocks the calling thread; 0 gives up the rest of its time slice.
  virtual void Sleep(uint32_t milliseconds) = 0;
};

}  // namespace brisk
