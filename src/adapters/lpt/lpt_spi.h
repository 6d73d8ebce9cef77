#pragma once

#include <cstdint>

#include "adapters/lpt/ports.h"
#include "adapters/lpt/wiring.h"
#include "flash/bit_spi.h"

namespace brisk::lpt {

// The flash on port lines, from its own image of the data register: the lines that it does not name
// are driven low with every write. The clock's period is the settle time of the writes.
class LptSpi final : public flash::BitSpi<LptSpi, kSpiPins> {
 public:
  LptSpi(Ports& ports, uint16_t base) : ports_(ports), base_(base) {}

  void WriteLevels(uint8_t levels) { ports_.Port_Out(base_ + kData, levels); }
  bool Sample() { return (ports_.Port_In(base_ + kStatus) & kSpiMiso) != 0; }

 private:
  Ports& ports_;
  const uint16_t base_;
};

}  // namespace brisk::lpt
