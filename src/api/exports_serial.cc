#include <exception>

#include "brisk/brisk.h"
#include "brisk/brisk_serial.h"

#include "adapters/text_bridge/text_bridge_back_end.h"
#include "adapters/uart_bridge/uart_back_end.h"
#include "api/instance.h"
#include "base/debug.h"

namespace {

// Runs `call` on the bridge of this device type, whose class `Bridge` is, unless the library is not
// attached or is inside the progress callback; no exception leaves the library.
template <typename Bridge, typename Call>
auto OnBridge(uint8_t deviceType, Call call) -> std::invoke_result_t<Call, Bridge&> {
  try {
    brisk::Instance* instance = brisk::AttachedInstance();
    if (instance == nullptr || instance->InsideCallback()) return {};
    return call(static_cast<Bridge&>(instance->dispatch().For(deviceType)));
  } catch (const std::exception& error) {
    brisk::debugLog.Print(0, "brisk: %s\n", error.what());
  }
  return {};
}

template <typename Call>
auto OnUart(Call call) {
  return OnBridge<brisk::serial::UartBackEnd>(BRISK_DEVICE_UART, call);
}

template <typename Call>
auto OnTextBridge(Call call) {
  return OnBridge<brisk::serial::TextBridgeBackEnd>(BRISK_DEVICE_TEXT_BRIDGE, call);
}

}  // namespace

BRISK_API bool BRISK_CALL uart_connect(uint8_t port, uint32_t rate) {
  return OnUart([&](auto& bridge) { return bridge.Connect(port, rate); });
}

BRISK_API int BRISK_CALL uart_disconnect(void) {
  return OnUart([](auto& bridge) { return bridge.Disconnect(); });
}

BRISK_API bool BRISK_CALL uart_mag_connect(uint8_t port, uint32_t rate) {
  return OnTextBridge([&](auto& bridge) { return bridge.Connect(port, rate); });
}

BRISK_API int BRISK_CALL uart_mag_disconnect(void) {
  return OnTextBridge([](auto& bridge) { return bridge.Disconnect(); });
}
