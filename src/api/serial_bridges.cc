#include "brisk/brisk.h"

#include "api/instance.h"
#include "serial/serial_exports.h"
#include "serial/text_bridge_back_end.h"
#include "serial/uart_back_end.h"

namespace brisk::serial {
namespace {

// Dispatch makes the back ends of these device types, so their classes are known.
template <typename Bridge>
Bridge* Attached(uint8_t deviceType) {
  Instance* instance = AttachedInstance();
  if (instance == nullptr || instance->InsideCallback()) return nullptr;
  return static_cast<Bridge*>(&instance->dispatch().For(deviceType));
}

}  // namespace

UartBackEnd* AttachedUart() { return Attached<UartBackEnd>(BRISK_DEVICE_UART); }
TextBridgeBackEnd* AttachedTextBridge() {
  return Attached<TextBridgeBackEnd>(BRISK_DEVICE_TEXT_BRIDGE);
}

}  // namespace brisk::serial
