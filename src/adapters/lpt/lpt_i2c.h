#pragma once

#include <cstdint>

#include "adapters/lpt/ports.h"
#include "adapters/lpt/wiring.h"
#include "i2c/bus.h"

namespace brisk::lpt {

// I2C on port lines. Every line change is one write of the whole register that carries the line,
// from this protocol's own images: the registers cannot be read back. SCL is driven, never read: a
// slave that stretches the clock is not waited for.
class LptI2c : public i2c::Bus {
 public:
  LptI2c(Ports& ports, const Wiring& wiring, uint16_t base);

  void I2c_Start() override;
  void I2c_RStart() override { I2c_Start(); }
  void I2c_Stop() override;
  uint32_t I2c_Tx(uint32_t byte) override;
  uint32_t I2c_Rx(uint32_t* data, uint32_t last) override;

  // One clock with a given SDA, or reading SDA, built from `lptImage` instead of this protocol's.
  void BitOut(uint8_t lptImage, uint8_t bit);
  uint8_t BitIn(uint8_t lptImage);

 private:
  void Set(const OutputLine& line, bool high);
  bool ReadSda();
  bool StatusBit(uint8_t mask) { return (ports_.Port_In(base_ + kStatus) & mask) != 0; }

  Ports& ports_;
  const Wiring& wiring_;
  const uint16_t base_;
  uint8_t images_[3];  // bI2cImage, by register
};

}  // namespace brisk::lpt
