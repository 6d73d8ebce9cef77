#pragma once

#include <cstdint>

#include "adapters/lpt/ports.h"
#include "adapters/lpt/wiring.h"
#include "i2c/bus.h"
#include "i2c/string_command.h"
#include "image/port_words.h"

namespace brisk::lpt {

// The controller's picture port on the data register, and the registers that picture transfers
// read.
class LptPicture : public image::PortWords, public image::RegisterReader {
 public:
  LptPicture(Ports& ports, uint16_t base, i2c::Bus& bus, const uint8_t& image)
      : PortWords(image), ports_(ports), bus_(bus), base_(base) {}

  int32_t ReadRegister(const char* command) override { return i2c::ReadStringEx(bus_, command); }

 private:
  void WritePort(uint8_t value) override { ports_.Port_Out(base_ + kData, value); }

  Ports& ports_;
  i2c::Bus& bus_;
  const uint16_t base_;
};

}  // namespace brisk::lpt
