#pragma once

#include <cstdint>

#include "adapters/u2c/u2c_link.h"
#include "base/debug.h"
#include "base/progress.h"
#include "flash/link.h"
#include "flash/link_flash.h"
#include "platform/clock.h"
#include "platform/files.h"

namespace brisk::u2c {

// The flash's bytes over the adapter's SPI, with line 0 as chip select: a USB round trip a byte,
// and one for an address. What fails on the way is handed to the silent trace, and the operation
// goes on.
class U2cSpi : public flash::Link {
 public:
  U2cSpi(U2cLink& adapter, Clock& clock) : adapter_(adapter), clock_(clock) {}

  // Opens the adapter and makes its SPI ready, when it is not connected.
  void Begin() override;
  void Select() override { adapter_.SetLine(false); }
  void Deselect() override { adapter_.SetLine(true); }
  void SendByte(uint8_t byte) override;
  void SendAddress(uint32_t address) override;
  uint8_t ReadByte() override;
  void EraseSent() override { clock_.Sleep(0); }
  void Waited(bool inTime) override;

  void SetClock(uint32_t kHz) { adapter_.SetSpiClock(kHz); }

 private:
  U2cLink& adapter_;
  Clock& clock_;
};

// The board's flash behind the adapter. Writing one byte erases the whole chip first; files are
// programmed in whole pages, and a transfer runs to its end whatever is asked.
class U2cFlash final : private U2cSpi, public flash::LinkFlash {
 public:
  U2cFlash(U2cLink& adapter, Clock& clock, Files& files, CDebug& log, ProgressReporter& reporter);

  void Stop() override;
  void SetClockRate(uint32_t kHz) override { SetClock(kHz); }
};

}  // namespace brisk::u2c
