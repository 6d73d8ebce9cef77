#include "brisk/brisk_serial.h"

#include "api/call.h"

namespace {

// Runs `call` without the global lock, unless the library is not attached or the progress callback
// calls; no exception leaves the library.
template <typename Call>
auto Unlocked(Call call) -> std::invoke_result_t<Call, brisk::Instance&> {
  brisk::Instance* const instance = brisk::AttachedInstance();
  if (instance == nullptr || instance->InsideCallback()) return {};
  return brisk::Guarded(instance->log(), [&] { return call(*instance); });
}

}  // namespace

BRISK_API bool BRISK_CALL uart_connect(uint8_t port, uint32_t rate) {
  return Unlocked(
      [&](brisk::Instance& instance) { return instance.uart().Connect(port, rate).ok(); });
}

BRISK_API int BRISK_CALL uart_disconnect(void) {
  return Unlocked([](brisk::Instance& instance) { return instance.uart().Disconnect(); });
}

BRISK_API bool BRISK_CALL uart_mag_connect(uint8_t port, uint32_t rate) {
  return Unlocked(
      [&](brisk::Instance& instance) { return instance.textBridge().Connect(port, rate).ok(); });
}

BRISK_API int BRISK_CALL uart_mag_disconnect(void) {
  return Unlocked([](brisk::Instance& instance) { return instance.textBridge().Disconnect(); });
}
