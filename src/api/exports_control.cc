#include "brisk/brisk.h"

#include "api/call.h"

using brisk::AttachedInstance;

BRISK_API uint8_t BRISK_CALL BriskSetDevice(uint8_t deviceType) {
  brisk::Instance* instance = AttachedInstance();
  if (instance == nullptr || instance->InsideCallback()) return 0;
  brisk::SharedStore(instance->shared().bDeviceType, deviceType);
  try {
    return instance->dispatch().For(deviceType).Select();
  } catch (const std::exception& error) {
    brisk::debugLog.Print(0, "brisk: %s\n", error.what());
    return 0;
  }
}

BRISK_API uint32_t BRISK_CALL BriskGetVersion(void) { return 6; }

BRISK_API void BRISK_CALL BriskEnableDebug(int32_t enable) {
  brisk::Instance* instance = AttachedInstance();
  if (instance != nullptr) brisk::SharedStore(instance->shared().dwDebug, enable);
}

BRISK_API void BRISK_CALL BriskSetProgressCallback(BriskProgressCallback callback, void* context) {
  brisk::Locked<brisk::InCallback::kAllowed>(
      [&](brisk::Instance& instance) { instance.SetProgressCallback(callback, context); });
}
