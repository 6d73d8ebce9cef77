#include "platform/platform.h"

#include "platform/common/parts.h"

namespace brisk {

// Made at the first call, which is the library's attach; the parts outlive every static object.
Platform& platform() {
  static Platform parts = {
      .ports = os::ThePortIo(),
      .clock = os::TheClock(),
      .scheduler = os::TheScheduler(),
      .debugStream = os::TheDebugStream(),
      .sharedMemory = os::TheSharedMemory(),
      .libraries = os::TheLibraries(),
      .serialPorts = os::TheSerialPorts(),
      .services = os::TheServices(),
      .devices = os::TheDevices(),
      .deviceInterfaces = os::TheDeviceInterfaces(),
      .resources = os::TheResources(),
      .messageQueue = os::TheMessageQueue(),
      .system = os::TheSystem(),
      .files = os::TheFiles(),
      .threads = os::TheThreads(),
  };
  return parts;
}

}  // namespace brisk
