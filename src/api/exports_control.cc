#include "brisk/brisk.h"

#include "api/call.h"

using brisk::AttachedInstance;

BRISK_API uint8_t BRISK_CALL BriskSetDevice(uint8_t deviceType) {
  brisk::Instance* instance = AttachedInstance();
  if (instance == nullptr || instance->InsideCallback()) return 0;
  return brisk::Guarded(instance->log(), [&] { return instance->Select(deviceType); });
}

BRISK_API uint32_t BRISK_CALL BriskGetVersion(void) { return 6; }

BRISK_API void BRISK_CALL BriskEnableDebug(int32_t enable) {
  brisk::Instance* instance = AttachedInstance();
  if (instance != nullptr) instance->EnableDebug(enable);
}

BRISK_API void BRISK_CALL BriskSetProgressCallback(BriskProgressCallback callback, void* context) {
  brisk::Locked<brisk::InCallback::kAllowed>(
      [&](brisk::Instance& instance) { instance.SetProgressCallback(callback, context); });
}
