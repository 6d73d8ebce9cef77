#pragma once

#include <cstdint>

#include "adapters/text_bridge/line_bus.h"
#include "base/status.h"
#include "device/device.h"
#include "device/host.h"
#include "i2c/channels.h"
#include "serial/uart_port.h"

namespace brisk::text_bridge {

// A board behind a serial bridge that takes a transaction as a line of text (lines.h). The tool
// connects it; while it is not connected everything that waits for an answer runs out its time-out.
class TextBridge final {
 public:
  explicit TextBridge(const Host& host);
  TextBridge(const TextBridge&) = delete;
  TextBridge& operator=(const TextBridge&) = delete;

  // Opens COM port `port`, after closing one that is open, at the rate of the connect before this
  // one: tools connect twice to change it. The reply time-out is that of `rate` at once. Blocks for
  // at most a second; a bridge that does not answer counts as connected all the same. The debug log
  // is told why not.
  Status Connect(uint8_t port, uint32_t rate);
  // Tells the bridge nothing. Non-zero on success; 0 when no port is open.
  int Disconnect();

  const Device& device() const { return device_; }

 private:
  static constexpr uint32_t kInitialRate = 115200;

  serial::UartPort port_;
  LineBus bus_{port_};
  LineChannels channels_{port_, bus_};
  i2c::ChannelRegisters registers_{channels_};
  const Device device_;
};

}  // namespace brisk::text_bridge
