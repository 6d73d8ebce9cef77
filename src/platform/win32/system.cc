#include "platform/win32/module.h"
#include "platform/win32/parts.h"

namespace brisk::win32 {
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

System& Os() {
  static WindowsSystem system;
  return system;
}

}  // namespace brisk::win32
