#include "adapters/uart_bridge/uart_bridge.h"

#include "adapters/uart_bridge/frames.h"

namespace brisk::uart_bridge {

UartBridge::UartBridge(const Host& host)
    : log_(host.log),
      port_(host.system.serialPorts, host.system.clock, host.log, kInitialRate),
      device_{
          .bus = &bus_,
          .frames = &frames_,
          .registers = &registers_,
          .blocks = &registers_,
          .channels = &channels_,
      } {}

Status UartBridge::Connect(uint8_t port, uint32_t rate) {
  if (!port_.RateIsUsable(rate, "uart_connect")) return Cause::kBadArgument;
  if (port_.IsOpen()) Disconnect();
  const Status opened = port_.Open(port, rate);
  if (!opened.ok()) return opened;
  port_.uart_write(kWake);
  // A bridge that is awake already does not answer; only the second token decides.
  port_.uart_wait_token(kAwake);
  port_.uart_write(kEnterFrameMode);
  if (!port_.uart_wait_token(kInFrameMode)) {
    Disconnect();
    log_.Print(0, "uart_connect fails : slave doesn't ack\n");
    return Cause::kTimeOut;
  }
  port_.Record(rate);
  return {};
}

int UartBridge::Disconnect() {
  port_.uart_write(kLeaveFrameMode);
  return port_.Close();
}

}  // namespace brisk::uart_bridge
