#pragma once

#include <cstdint>

#include "sim/board/wires.h"

namespace brisk::sim {

class VirtualClock;

// A bridge's own I2C master: about 100 kHz, one line change at a time, a quarter of a bit between
// them. While the bus is taken SCL rests low.
class I2cMaster {
 public:
  static constexpr uint64_t kQuarterNs = 2500;

  I2cMaster(I2cWires& wires, VirtualClock& clock)
      : wires_(wires), clock_(clock), driver_(wires.AddDriver()) {}
  I2cMaster(const I2cMaster&) = delete;
  I2cMaster& operator=(const I2cMaster&) = delete;

  void Start();  // also the repeated one
  void Stop();
  bool Write(uint8_t byte);  // true = acknowledged
  // Receives the eight bits only; Acknowledge is the ninth clock.
  uint8_t Read();
  void Acknowledge(bool acknowledge) { Clock(!acknowledge); }

 private:
  void Drive(bool scl, bool sda);
  bool Clock(bool sda);  // one bit; the level of SDA while SCL was high

  I2cWires& wires_;
  VirtualClock& clock_;
  const I2cWires::Driver driver_;
  bool scl_ = true;
  bool sda_ = true;
};

}  // namespace brisk::sim
