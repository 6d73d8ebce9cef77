#pragma once

#include <cstdint>

#include "adapters/ftdi/i2c_engine.h"
#include "base/bytes.h"

namespace brisk::ftdi {

// I2C sequences of the boards that are driven together: long holds at low bus rates, acknowledges
// clocked but not looked at, and reads that need no wait between bytes, so that a whole transaction
// fits into one USB transfer. Commands go to the line's selected queue.
class FastI2c {
 public:
  FastI2c(CMpsseI2c& engine, uint32_t handle, uint32_t clockRateKHz)
      : engine_(engine),
        handle_(handle),
        standard_(engine.ModeOf(handle) == Mode::kStandard),
        stepFactor_(clockRateKHz > kMostSlowKHz ? 1 : 10) {}

  void QueueStart();
  // Flushes after every 256 bytes, but not after the last; the status is the first failing flush's.
  StatusCode QueueBytes(Bytes bytes);
  void QueueStop();
  // Reads and ends with STOP, also after a block of 256 that did not arrive, which ends the read.
  // Waits for each block at most 5 seconds.
  StatusCode Read(Buffer data);

 private:
  static constexpr uint32_t kMostSlowKHz = 100;

  void QueueByteIn(uint8_t acknowledge);
  StatusCode FlushAndTake(Buffer block);

  CMpsseI2c& engine_;
  const uint32_t handle_;
  const bool standard_;
  const unsigned stepFactor_;
};

}  // namespace brisk::ftdi
