#pragma once

#include "platform/platform.h"

// What the systems' implementations of the platform are made of.
namespace brisk::os {

// The parts that platform() puts together, a source file each, of the same name on every system.
// All may be called from any thread, also while static objects are being destroyed.
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
// The simulated bench has these three in common with the system that it runs on.
System& TheSystem();
Files& TheFiles();
Threads& TheThreads();

}  // namespace brisk::os
