#include "adapters/text_bridge/text_bridge.h"

#include "adapters/text_bridge/lines.h"

namespace brisk::text_bridge {

TextBridge::TextBridge(const Host& host)
    : port_(host.system.serialPorts, host.system.clock, host.log, kInitialRate),
      device_{
          .bus = &bus_,
          .blocks = &registers_,
          .channels = &channels_,
      } {}

Status TextBridge::Connect(uint8_t port, uint32_t rate) {
  if (!port_.RateIsUsable(rate, "uart_mag_connect")) return Cause::kBadArgument;
  if (port_.IsOpen()) Disconnect();
  const Status opened = port_.Open(port, port_.recordedRate());
  if (!opened.ok()) return opened;
  port_.uart_write(kWake);
  if (!port_.uart_wait_token(kAwake)) port_.uart_write(kNotAwake);
  port_.Record(rate);
  return {};
}

int TextBridge::Disconnect() { return port_.Close(); }

}  // namespace brisk::text_bridge
