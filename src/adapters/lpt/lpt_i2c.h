#pragma once

#include <cstdint>

#include "adapters/lpt/ports.h"
#include "adapters/lpt/wiring.h"
#include "i2c/bus.h"

namespace brisk::lpt {

// I2C on port lines. Every line change is one write of the whole register that carries the line,
// from this protocol's own images: the registers cannot be read back. SCL is driven, never read: a
// slave that stretches the clock is not waited for. A byte is 27 writes and one read, the ninth
// clock included.
class LptI2c final : public i2c::Bus, public i2c::Bits {
 public:
  // `lptImage` is what single bits leave the other data lines as: the last byte put on the lines.
  LptI2c(Ports& ports, const Wiring& wiring, uint16_t base, const uint8_t& lptImage);

  void Start() override;
  void RepeatedStart() override { Start(); }
  void Stop() override;
  Status Send(uint8_t byte) override;
  Status Receive(uint8_t* byte, uint32_t last) override;

  // One clock with a given SDA, or reading SDA, on the data register alone: never inverted, and
  // this protocol's images stay as they are.
  void BitOut(bool bit) override;
  bool BitIn() override;

 private:
  void Set(const OutputLine& line, bool high);
  bool ReadSda();
  bool StatusBit(uint8_t mask) { return (ports_.Port_In(base_ + kStatus) & mask) != 0; }

  Ports& ports_;
  const Wiring& wiring_;
  const uint16_t base_;
  const uint8_t& lptImage_;
  uint8_t images_[3];  // bI2cImage, by register
};

}  // namespace brisk::lpt
