#include "platform/platform.h"

#include "platform/win32/parts.h"

namespace brisk {

Platform& platform() {
  using namespace win32;
  static Platform instance = {
      .ports = Ports(),
      .clock = SystemClock(),
      .scheduler = Priorities(),
      .debugStream = DebuggerOutput(),
      .sharedMemory = Shared(),
      .libraries = VendorLibraries(),
      .serialPorts = ComPorts(),
      .services = ServiceControl(),
      .devices = DeviceFiles(),
      .deviceInterfaces = Interfaces(),
      .resources = ModuleResources(),
      .messageQueue = Messages(),
      .system = Os(),
      .files = DiskFiles(),
  };
  return instance;
}

}  // namespace brisk
