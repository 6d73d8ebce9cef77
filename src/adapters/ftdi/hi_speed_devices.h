#pragma once

#include <cstdint>

#include "adapters/ftdi/devices.h"
#include "adapters/ftdi/mpsse.h"
#include "adapters/ftdi/mpsse_line.h"

namespace brisk::ftdi {

// Adds the clocks: FT2232H and FT4232H run from 60 MHz or, divided by five, from 12 MHz, the only
// clock of the FT2232C. Adaptive and three-phase clocking are theirs too.
class CMpsseHiSpeedDevices : public CMpsseDevices {
 public:
  CMpsseHiSpeedDevices(D2xx& d2xx, System& system, MpsseLine& line)
      : CMpsseDevices(d2xx, system), d2xx_(d2xx), line_(line) {}

  // True for an FT2232H, false for an FT4232H.
  Answer<bool> QueryHiSpeedType(uint32_t handle);

  // Bus frequency (Hz) of an open interface with its clock, and of chips at their fastest.
  uint32_t ClockOf(uint32_t handle, uint32_t divisor);
  static uint32_t FullSpeedClock(uint32_t divisor) { return BitRate(kBaseClock, divisor); }
  static uint32_t HiSpeedClock(uint32_t divisor) { return BitRate(kHiSpeedBaseClock, divisor); }

  StatusCode SetDivideByFive(uint32_t handle, bool on);
  StatusCode SetAdaptiveClocking(uint32_t handle, bool on) {
    return line_.SendCommands(handle, {on ? kAdaptiveClockOn : kAdaptiveClockOff});
  }

 protected:
  // 60 MHz, adaptive and three-phase clocking off.
  StatusCode PrepareHiSpeedClocking(uint32_t handle);
  MpsseLine& line() { return line_; }

 private:
  D2xx& d2xx_;
  MpsseLine& line_;
};

}  // namespace brisk::ftdi
