#pragma once

#include "platform/platform.h"

namespace brisk::win32 {

// One object of each concern, made at first use; they keep no state that could run out of date.
PortIo& Ports();
Clock& SystemClock();
Scheduler& Priorities();
DebugStream& DebuggerOutput();
SharedMemory& Shared();
Libraries& VendorLibraries();
SerialPorts& ComPorts();
Services& ServiceControl();
Devices& DeviceFiles();
DeviceInterfaces& Interfaces();
Resources& ModuleResources();
MessageQueue& Messages();
System& Os();
Files& DiskFiles();

}  // namespace brisk::win32
