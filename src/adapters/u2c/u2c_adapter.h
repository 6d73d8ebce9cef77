#pragma once

#include <cstdint>

#include "adapters/u2c/u2c_flash.h"
#include "adapters/u2c/u2c_link.h"
#include "adapters/u2c/u2c_registers.h"
#include "device/device.h"
#include "device/host.h"
#include "device/string_registers.h"
#include "i2c/registers.h"
#include "i2c/string_command.h"
#include "image/port_words.h"
#include "image/transfer.h"

namespace brisk::u2c {

// The adapter's three lines as the output byte of a parallel port, and the picture port on them.
// Every step is a call of the adapter's library, three to an output byte: a word of n bits costs
// 3 (1 + 2 n) of them. That is 195 for two 16-bit pixels and 77 million for a frame of 1024 x 768;
// in 24-bit mode it is half as much again.
class U2cLines final : public PortLines, public image::PortWords {
 public:
  explicit U2cLines(U2cLink& link) : PortWords(bLptImage), link_(link) {}

  Status Output(uint8_t value) override;
  Status Input(uint8_t* value) override;  // 0: there is no input byte

 private:
  void WritePort(uint8_t value) override { link_.WritePort(value); }

  U2cLink& link_;
  uint8_t bLptImage = 0;  // last output without bits 0 and 1
};

// A board behind a U2C USB adapter. It connects on first use; while there is no adapter every
// operation fails, and the next one tries again.
class U2cAdapter final : private ClockGenerator {
 public:
  explicit U2cAdapter(const Host& host);
  U2cAdapter(const U2cAdapter&) = delete;
  U2cAdapter& operator=(const U2cAdapter&) = delete;

  const Device& device() const { return device_; }

 private:
  Status WriteDividers(uint8_t a, uint8_t b, uint32_t c, uint32_t d, uint32_t e) override;

  CDebug& log_;
  U2cLink link_;
  U2cLines lines_{link_};
  U2cFlash flash_;
  U2cRegisters registers_{link_, flash_};
  U2cChannels channels_{link_, registers_};
  i2c::BusRegisters heads_{link_};
  i2c::StringCommands strings_{link_};
  StringRegisters pictureRegisters_{strings_};
  image::PictureTransfer display_;
  const Device device_;
};

}  // namespace brisk::u2c
