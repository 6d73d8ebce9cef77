#pragma once

#include <cstdint>

#include "base/debug.h"
#include "i2c/bus.h"
#include "platform/clock.h"
#include "platform/port_io.h"
#include "platform/scheduler.h"

namespace brisk::lpt {

// The parallel port's two primitives and their timing. One object serves all boards on the port,
// whatever their wiring, so one rate applies to all of them.
class Ports final : public i2c::BusClock {
 public:
  Ports(PortIo& io, Clock& clock, Scheduler& scheduler, CDebug& log)
      : io_(io), clock_(clock), scheduler_(scheduler), log_(log) {}

  // Writes the byte, then spins until dwPortDelay microseconds after the moment before the write:
  // the cost of the write counts towards the settle time. Never sleeps.
  void Port_Out(uint16_t port, uint8_t value) {
    const uint64_t start = clock_.TimeStampCounter();
    const uint64_t deadline = start + uint32_t{dwPortDelay * dwCpuMHz};  // 32-bit product
    io_.Out(port, value);
    for (uint64_t now = start; static_cast<int64_t>(deadline - now) > 0;) {
      now = clock_.TimeStampCounter();
    }
  }

  uint8_t Port_In(uint16_t port) { return io_.In(port); }

  // Measures the time-stamp counter's rate over 1/16 second of the performance counter at real-time
  // priority; about 62.5 ms, once at attach.
  uint32_t Cpu_GetFrequency();

  // Half a clock period of `kHz` in microseconds; a rate of 0 leaves the settle time as it is.
  void SetClockRate(uint32_t kHz) override;

 private:
  PortIo& io_;
  Clock& clock_;
  Scheduler& scheduler_;
  CDebug& log_;
  uint32_t dwCpuMHz = 0;     // 0 until measured: no wait
  uint32_t dwPortDelay = 0;  // microseconds
};

}  // namespace brisk::lpt
