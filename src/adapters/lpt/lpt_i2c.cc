#include "adapters/lpt/lpt_i2c.h"

namespace brisk::lpt {

LptI2c::LptI2c(Ports& ports, const Wiring& wiring, uint16_t base, const uint8_t& lptImage)
    : ports_(ports),
      wiring_(wiring),
      base_(base),
      lptImage_(lptImage),
      images_{wiring.dataImage, 0, wiring.controlImage} {}

void LptI2c::Set(const OutputLine& line, bool high) {
  uint8_t& image = images_[line.reg];
  image = static_cast<uint8_t>(high != line.inverted ? image | line.mask : image & ~line.mask);
  ports_.Port_Out(base_ + line.reg, image);
}

bool LptI2c::ReadSda() { return StatusBit(wiring_.sdaIn.mask) != wiring_.sdaIn.inverted; }

// With SDA low on entry the first two steps form a stop condition.
void LptI2c::Start() {
  Set(wiring_.scl, true);
  Set(wiring_.sda, true);
  Set(wiring_.sda, false);
  Set(wiring_.scl, false);
}

void LptI2c::Stop() {
  Set(wiring_.sda, false);
  Set(wiring_.scl, true);
  Set(wiring_.sda, true);
}

Status LptI2c::Send(uint8_t byte) {
  for (uint32_t mask = 0x80; mask != 0; mask >>= 1) {
    Set(wiring_.sda, (byte & mask) != 0);
    Set(wiring_.scl, true);
    Set(wiring_.scl, false);
  }
  Set(wiring_.sda, true);
  Set(wiring_.scl, true);
  const bool acknowledgeBit = ReadSda();
  Set(wiring_.scl, false);
  return acknowledgeBit ? Status(Cause::kNoAcknowledge, 1) : Status();
}

Status LptI2c::Receive(uint8_t* byte, uint32_t last) {
  *byte = 0;
  for (uint32_t mask = 0x80; mask != 0; mask >>= 1) {
    Set(wiring_.sda, true);
    Set(wiring_.scl, true);
    if (ReadSda()) *byte |= static_cast<uint8_t>(mask);
    Set(wiring_.scl, false);
  }
  Set(wiring_.sda, last != 0);
  Set(wiring_.scl, true);
  Set(wiring_.scl, false);
  return {};
}

void LptI2c::BitOut(bool bit) {
  const uint8_t low = lptImage_ | (bit ? wiring_.bitSda : 0);
  const uint16_t data = base_ + kData;
  ports_.Port_Out(data, low);
  ports_.Port_Out(data, low | wiring_.bitScl);
  ports_.Port_Out(data, static_cast<uint8_t>(low & ~wiring_.bitScl));
}

bool LptI2c::BitIn() {
  const uint8_t released = lptImage_ | wiring_.bitSda;
  const uint16_t data = base_ + kData;
  ports_.Port_Out(data, released);
  ports_.Port_Out(data, released | wiring_.bitScl);
  const bool bit = StatusBit(wiring_.sdaIn.mask);
  ports_.Port_Out(data, released);
  return bit;
}

}  // namespace brisk::lpt
