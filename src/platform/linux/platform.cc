#include "platform/platform.h"

#include "platform/linux/parts.h"

namespace brisk {

Platform& platform() {
  using namespace linux_system;
  static Platform parts{
      ThePortIo(),    TheClock(),        TheScheduler(), TheDebugStream(), TheSharedMemory(),
      TheLibraries(), TheSerialPorts(),  TheServices(),  TheDevices(),     TheDeviceInterfaces(),
      TheResources(), TheMessageQueue(), TheSystem(),    TheFiles()};
  return parts;
}

}  // namespace brisk
