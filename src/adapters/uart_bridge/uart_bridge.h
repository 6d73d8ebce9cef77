#pragma once

#include <cstdint>

#include "adapters/uart_bridge/frame_bus.h"
#include "adapters/uart_bridge/text_frames.h"
#include "base/status.h"
#include "device/device.h"
#include "device/host.h"
#include "i2c/channels.h"
#include "serial/uart_port.h"

namespace brisk::uart_bridge {

// A board behind a UART-to-I2C bridge with binary frames (frames.h). The tool connects it; while it
// is not connected everything that waits for an answer runs out its time-out.
class UartBridge final {
 public:
  explicit UartBridge(const Host& host);
  UartBridge(const UartBridge&) = delete;
  UartBridge& operator=(const UartBridge&) = delete;

  // Opens COM port `port`, after closing one that is open, and takes the bridge into frame mode.
  // Blocks for at most two seconds. The debug log is told why not; the port is closed then, and the
  // reply time-out stays that of the last rate that connected.
  Status Connect(uint8_t port, uint32_t rate);
  // Takes the bridge out of frame mode without waiting for its answer. Non-zero on success; 0 when
  // no port is open.
  int Disconnect();

  const Device& device() const { return device_; }

 private:
  static constexpr uint32_t kInitialRate = 57600;
  // The end of a failed write is left to the start frame of what follows.
  static constexpr i2c::ChannelForm kForm = {
      .repeatedStartBeforeRead = true, .acknowledgeReads = false, .stopAfterFailedWrite = false};

  CDebug& log_;
  serial::UartPort port_;
  FrameBus bus_{port_};
  TextFrames frames_{port_};
  i2c::BusChannels channels_{bus_, kForm};
  i2c::ChannelRegisters registers_{channels_};
  const Device device_;
};

}  // namespace brisk::uart_bridge
