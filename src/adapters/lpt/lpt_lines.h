#pragma once

#include <cstdint>

#include "adapters/lpt/ports.h"
#include "adapters/lpt/wiring.h"
#include "device/device.h"
#include "image/port_words.h"
#include "port_driver/driver.h"

namespace brisk::lpt {

// The data and status registers as plain lines. On the 9x family of Windows every access is a
// request to the port driver instead, whose outcome is not examined.
class LptLines final : public PortLines {
 public:
  LptLines(Ports& ports, uint16_t base, Driver& driver)
      : ports_(ports), driver_(driver), base_(base) {}

  Status Output(uint8_t value) override;
  Status Input(uint8_t* value) override;

  // What single bits and picture words leave the other lines as: the last value without bits 0 and
  // 1, which carry I2C on the first wiring.
  const uint8_t& image() const { return bLptImage; }

 private:
  Ports& ports_;
  Driver& driver_;
  const uint16_t base_;
  uint8_t bLptImage = 0;
  uint8_t requestByte_ = 0;
};

// The controller's picture port on the data register.
class LptWords final : public image::PortWords {
 public:
  LptWords(Ports& ports, uint16_t base, const uint8_t& image)
      : PortWords(image), ports_(ports), base_(base) {}

 private:
  void WritePort(uint8_t value) override { ports_.Port_Out(base_ + kData, value); }

  Ports& ports_;
  const uint16_t base_;
};

}  // namespace brisk::lpt
