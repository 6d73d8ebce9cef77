#pragma once

#include <cstdint>

#include "adapters/ftdi/i2c_engine.h"

namespace brisk::ftdi {

// I2C sequences of the board back end: long holds at low bus rates, acknowledges clocked but not
// looked at, and reads that need no wait between bytes. Commands go to the engine's selected queue.
class FastI2c {
 public:
  FastI2c(CMpsseI2c& engine, uint32_t clockRateKHz)
      : engine_(engine), stepFactor_(clockRateKHz > 100 ? 1 : 10) {}

  void SendFastStart(uint32_t handle);
  // Flushes after every 256 bytes, but not after the last; the status is the first failing flush's.
  Status QueueFastBytes(uint32_t handle, const uint8_t* bytes, uint32_t count);
  void QueueFastStop(uint32_t handle);
  // Reads and ends with STOP, also after a block of 256 that did not arrive, which ends the read.
  Status ReadFast(uint32_t handle, uint8_t* destination, uint32_t count);

 private:
  bool Standard(uint32_t handle) const { return (engine_.GetMode(handle) & kStandardMode) != 0; }

  CMpsseI2c& engine_;
  unsigned stepFactor_;
};

}  // namespace brisk::ftdi
