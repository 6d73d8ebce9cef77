#pragma once

#include <cstdint>

#include "adapters/lpt/ports.h"
#include "adapters/lpt/wiring.h"
#include "flash/link.h"

namespace brisk::lpt {

// SPI mode 0 on port lines, from this protocol's own image of the data register; the lines it does
// not name are driven low with every write.
class LptSpi : public flash::Link {
 public:
  LptSpi(Ports& ports, uint16_t base) : ports_(ports), base_(base) {}

  // All pins low, chip select included; the next Select raises it first.
  void Init();

  void Select() override;
  void Deselect() override;
  void SendByte(uint8_t byte) override;
  void SendAddress(uint32_t address) override;
  uint8_t ReadByte() override;    // samples before the rising edge of SCK
  uint8_t ReadStatus() override;  // samples after it

 private:
  void Set(uint8_t mask, bool high) {
    bSpiImage = static_cast<uint8_t>(high ? bSpiImage | mask : bSpiImage & ~mask);
  }
  void Write() { ports_.Port_Out(base_ + kData, bSpiImage); }
  void SetAndWrite(uint8_t mask, bool high) {
    Set(mask, high);
    Write();
  }
  void PutBit(bool bit);
  bool Miso() { return (ports_.Port_In(base_ + kStatus) & kSpiPins.miso) != 0; }

  Ports& ports_;
  const uint16_t base_;
  uint8_t bSpiImage = 0;
};

}  // namespace brisk::lpt
