#pragma once

#include <cstdint>

#include "adapters/lpt/lpt_i2c.h"
#include "adapters/lpt/lpt_lines.h"
#include "adapters/lpt/lpt_spi.h"
#include "adapters/lpt/ports.h"
#include "adapters/lpt/wiring.h"
#include "device/device.h"
#include "device/host.h"
#include "device/string_registers.h"
#include "flash/link_flash.h"
#include "i2c/channels.h"
#include "i2c/registers.h"
#include "i2c/string_command.h"
#include "image/transfer.h"
#include "port_driver/driver.h"

namespace brisk::lpt {

// A board on a PC parallel port. The wirings differ in the I2C lines only; timing is shared by all
// boards on the same `ports`, everything else is the object's own.
class LptAdapter {
 public:
  LptAdapter(const Wiring& wiring, uint16_t base, Ports& ports, Driver& driver, const Host& host);
  LptAdapter(const LptAdapter&) = delete;
  LptAdapter& operator=(const LptAdapter&) = delete;

  const Device& device() const { return device_; }

 private:
  LptLines lines_;
  LptI2c i2c_;
  i2c::BusRegisters registers_{i2c_};
  i2c::BusChannels channels_;
  i2c::StringCommands strings_{i2c_};
  LptSpi spi_;
  flash::LinkFlash flash_;
  LptWords words_;
  StringRegisters pictureRegisters_{strings_};
  image::PictureTransfer display_;
  const Device device_;
};

}  // namespace brisk::lpt
