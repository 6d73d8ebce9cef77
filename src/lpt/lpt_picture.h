#pragma once

#include <cstdint>

#include "i2c/bus.h"
#include "image/word_writer.h"
#include "lpt/ports.h"
#include "lpt/wiring.h"

namespace brisk::lpt {

// The controller's picture port on the data register, and the registers that picture transfers
// read. Words leave every other line as Lpt_Output set it last.
class LptPicture : public image::WordWriter, public image::RegisterReader {
 public:
  LptPicture(Ports& ports, uint16_t base, i2c::Bus& bus, const uint8_t& image)
      : ports_(ports), bus_(bus), base_(base), bLptImage_(image) {}

  // Nothing is sent unless `bits` is 1 to 32. A word starts and ends with both lines high; every
  // bit raises one line and ends with both low. The lines come from the word alone: the base byte's
  // own bits 1 and 6 are taken out.
  void SendWord(uint32_t bits, uint32_t value) override;
  int32_t ReadRegister(const char* command) override;

  // The serial output for bench work: least significant bit first, data before the rising clock,
  // all other lines low. Nothing is sent unless `bits` is 1 to 32.
  void C1_TxDebug(uint32_t bits, uint32_t value);

 private:
  void Write(uint8_t value) { ports_.Port_Out(base_ + kData, value); }

  Ports& ports_;
  i2c::Bus& bus_;
  const uint16_t base_;
  const uint8_t& bLptImage_;
};

}  // namespace brisk::lpt
