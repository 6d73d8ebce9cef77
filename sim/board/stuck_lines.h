#pragma once

#include "sim/board/wires.h"

namespace brisk::sim {

class Faults;

// What pulls SDA or SCL low for good, beside adapters and devices, when a fault says so. An
// occasion is a falling edge of SCL. Whoever moves lines holds the board's mutex.
class StuckLines final : public I2cDevice {
 public:
  StuckLines(I2cWires& wires, Faults& faults);
  void LinesChanged(bool scl, bool sda) override;
  // Pulls low what is stuck by now, and lets go of the rest.
  void Hold();

 private:
  I2cWires& wires_;
  Faults& faults_;
  const I2cWires::Driver driver_;
  bool scl_ = true;
};

}  // namespace brisk::sim
