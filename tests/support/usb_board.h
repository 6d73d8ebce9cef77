#pragma once

#include "adapters/tcon_board/tcon_link.h"
#include "adapters/tcon_board/usb_device.h"
#include "base/debug.h"
#include "platform/platform.h"

namespace brisk::tcon_board {

// The board's classes on this process's platform.
class UsbBoard : public CUsbDevice {
 public:
  explicit UsbBoard(bool openNow = true, void* window = nullptr)
      : CUsbDevice(platform().deviceInterfaces, platform().devices, window, kTconInterfaceClass,
                   openNow) {}

  const CUsbConfig& current() const { return *config(currentConfig); }
  const CUsbInterface& interface() const { return *current().interfaces()[currentInterface]; }
};

class UsbLink {
 public:
  TconLink* operator->() { return &link_; }

 private:
  CDebug log_{platform().debugStream};
  TconLink link_{platform(), log_};
};

}  // namespace brisk::tcon_board
