#include "serial/serial_exports.h"

#include <exception>

#include "brisk/brisk_serial.h"

#include "base/debug.h"
#include "serial/text_bridge_back_end.h"
#include "serial/uart_back_end.h"

namespace brisk::serial {
namespace {

// Runs `call` on the bridge unless the library is not attached; no exception leaves the library.
template <typename Bridge, typename Call>
auto OnBridge(Bridge* bridge, Call call) -> decltype(call(*bridge)) {
  try {
    if (bridge != nullptr) return call(*bridge);
  } catch (const std::exception& error) {
    debugLog.Print(0, "brisk: %s\n", error.what());
  }
  return {};
}

}  // namespace
}  // namespace brisk::serial

using brisk::serial::AttachedTextBridge;
using brisk::serial::AttachedUart;
using brisk::serial::OnBridge;

BRISK_API bool BRISK_CALL uart_connect(uint8_t port, uint32_t rate) {
  return OnBridge(AttachedUart(), [&](auto& bridge) { return bridge.Connect(port, rate); });
}

BRISK_API int BRISK_CALL uart_disconnect(void) {
  return OnBridge(AttachedUart(), [](auto& bridge) { return bridge.Disconnect(); });
}

BRISK_API bool BRISK_CALL uart_mag_connect(uint8_t port, uint32_t rate) {
  return OnBridge(AttachedTextBridge(), [&](auto& bridge) { return bridge.Connect(port, rate); });
}

BRISK_API int BRISK_CALL uart_mag_disconnect(void) {
  return OnBridge(AttachedTextBridge(), [](auto& bridge) { return bridge.Disconnect(); });
}
