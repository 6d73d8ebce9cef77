#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

#include "brisk/brisk_extensions.h"

#include "adapters/debug_board/debug_board.h"
#include "adapters/ftdi/ftdi_adapter.h"
#include "adapters/lpt/lpt_adapter.h"
#include "adapters/lpt/ports.h"
#include "adapters/tcon_board/tcon_board.h"
#include "adapters/text_bridge/text_bridge.h"
#include "adapters/u2c/u2c_adapter.h"
#include "adapters/uart_bridge/uart_bridge.h"
#include "api/attach.h"
#include "base/debug.h"
#include "base/progress.h"
#include "device/device.h"
#include "device/device_types.h"
#include "device/host.h"
#include "platform/platform.h"
#include "platform/threads.h"
#include "port_driver/driver.h"

namespace brisk {

// A device type as the dispatched exports use it: its row of the table, and what it offers.
struct Selected {
  const DeviceType* type = nullptr;
  const Device* device = nullptr;
};

// Everything the library keeps for a process, from attach to detach: the devices of all types, the
// global lock, and the shared section that says which one is selected.
class Instance : public ProgressReporter {
 public:
  explicit Instance(Platform& platform);

  void Attach();
  void Detach(Detaching how);

  // The global lock; empty after detach has taken it away, when only the last steps of unloading
  // still call.
  std::unique_lock<RecursiveLock> Lock() {
    return lock_ != nullptr ? std::unique_lock(*lock_) : std::unique_lock<RecursiveLock>();
  }

  // Fields of the shared section are plain stores between processes; within one, threads may select
  // a device while others call.
  uint8_t deviceType() const;
  bool debugging() const;
  void EnableDebug(int32_t enable);
  // BriskSetDevice: stores the type, whatever follows, and connects where the hardware asks for it.
  uint8_t Select(uint8_t deviceType);

  // The device of the selected type, connected where that happens on first use. Inside the progress
  // callback it is the device of the transfer, whatever has been selected meanwhile.
  Selected SelectedDevice();
  // The port registers that SetPortVal and GetPortVal reach with a device type selected: the type's
  // own where it has them, else the debug board's.
  PortRegisters* WritablePorts();
  PortRegisters* ReadablePorts();

  CDebug& log() { return log_; }
  ftdi::FtdiAdapter& ftdi() { return ftdi_; }
  uart_bridge::UartBridge& uart() { return uart_; }
  text_bridge::TextBridge& textBridge() { return textBridge_; }

  void SetProgressCallback(BriskProgressCallback callback, void* context);
  bool Report(uint32_t done, uint32_t total) override;
  // True on the thread that is inside the progress callback, and so already holds the lock.
  bool InsideCallback() const {
    const std::thread::id reporting = reporting_;
    return reporting != std::thread::id() && reporting == std::this_thread::get_id();
  }

 private:
  // The selected port registers as the debug board writes them when it comes and goes: as
  // SetPortVal does, under the global lock while there is one.
  class SelectedPorts final : public PortRegisters {
   public:
    explicit SelectedPorts(Instance& instance) : instance_(instance) {}
    Status WritePort(uint8_t port, uint8_t value) override;

   private:
    Instance& instance_;
  };

  PortRegisters* PortsOf(uint8_t deviceType);

  CDebug log_;
  SharedSection& shared_;
  std::unique_ptr<RecursiveLock> lock_;
  Detaching detaching_ = Detaching::kUnloaded;
  BriskProgressCallback callback_ = nullptr;
  void* context_ = nullptr;
  std::atomic<std::thread::id> reporting_{};
  Selected running_;  // of the call under way

  const Host host_;
  SelectedPorts selectedPorts_{*this};
  Driver driver_;
  lpt::Ports ports_;
  lpt::LptAdapter lptA_, lptB_, lptC_;
  u2c::U2cAdapter u2c_;
  debug_board::DebugBoard debugBoard_;
  uart_bridge::UartBridge uart_;
  tcon_board::TconBoard tcon_;
  text_bridge::TextBridge textBridge_;
  ftdi::FtdiAdapter ftdi_;
  const Device none_;
  const std::array<const Device*, kDeviceTypes> devices_;
};

// The attached instance; null outside attach and detach.
Instance* AttachedInstance();

}  // namespace brisk
