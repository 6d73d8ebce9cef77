#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"
#include "platform/win32/module.h"

namespace brisk::os {
namespace {

class WindowsSystem final : public System {
 public:
  uint32_t ProcessId() override { return GetCurrentProcessId(); }
  bool IsNt() override {
    OSVERSIONINFOA version = {};
    version.dwOSVersionInfoSize = sizeof version;
    return GetVersionExA(&version) != 0 && version.dwPlatformId == VER_PLATFORM_WIN32_NT;
  }
  std::string SystemDirectory() override { return SystemFolder(); }
};

}  // namespace

System& TheSystem() { return Permanent<WindowsSystem>(); }

}  // namespace brisk::os
