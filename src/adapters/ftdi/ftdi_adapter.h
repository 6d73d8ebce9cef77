#pragma once

#include <memory>

#include "adapters/ftdi/boards.h"
#include "adapters/ftdi/engine_owner.h"
#include "adapters/ftdi/flash_pins.h"
#include "device/device.h"
#include "device/host.h"
#include "flash/link_flash.h"

namespace brisk::ftdi {

// Device type 8: boards with the MPSSE of an FT2232C, which connect when the type is selected; and
// the engine of the I2C_ functions. Two of these can live side by side.
class FtdiAdapter {
 public:
  explicit FtdiAdapter(const Host& host);
  FtdiAdapter(const FtdiAdapter&) = delete;
  FtdiAdapter& operator=(const FtdiAdapter&) = delete;
  ~FtdiAdapter();

  const Device& device() const { return device_; }
  EngineOwner& engine() { return *engine_; }

  // Sends what is deferred, closes the boards and lets go of the D2XX library; other handles are
  // forgotten. Nothing else may call meanwhile. Waits for the deferring thread. The next use starts
  // anew.
  void Close();
  // The library is unloaded. Where that step may not wait, nothing is closed.
  void Detach();

 private:
  std::unique_ptr<EngineOwner> engine_;
  Boards boards_;
  FlashPins pins_;
  flash::LinkFlash flash_;
  const Device device_;
  bool abandoned_ = false;
};

}  // namespace brisk::ftdi
