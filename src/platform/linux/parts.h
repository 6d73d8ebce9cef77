#pragma once

#include "platform/platform.h"

namespace brisk::linux_system {

// The parts that platform() puts together, one source file each. All may be called from any thread,
// also while static objects are being destroyed.
PortIo& ThePortIo();
Clock& TheClock();
Scheduler& TheScheduler();
DebugStream& TheDebugStream();
SharedMemory& TheSharedMemory();
Libraries& TheLibraries();
SerialPorts& TheSerialPorts();
Services& TheServices();
Devices& TheDevices();
DeviceInterfaces& TheDeviceInterfaces();
Resources& TheResources();
MessageQueue& TheMessageQueue();
System& TheSystem();
Files& TheFiles();

}  // namespace brisk::linux_system
