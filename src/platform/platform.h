#pragma once

#include "platform/clock.h"
#include "platform/debug_stream.h"
#include "platform/device_control.h"
#include "platform/device_interfaces.h"
#include "platform/files.h"
#include "platform/libraries.h"
#include "platform/message_queue.h"
#include "platform/port_io.h"
#include "platform/resources.h"
#include "platform/scheduler.h"
#include "platform/serial_ports.h"
#include "platform/services.h"
#include "platform/shared_section.h"
#include "platform/system.h"
#include "platform/threads.h"

namespace brisk {

// Everything the library asks of the operating system. Three implementations exist: Windows, Linux
// and the simulated bench; one of them is linked.
struct Platform {
  PortIo& ports;
  Clock& clock;
  Scheduler& scheduler;
  DebugStream& debugStream;
  SharedMemory& sharedMemory;
  Libraries& libraries;
  SerialPorts& serialPorts;
  Services& services;
  Devices& devices;
  DeviceInterfaces& deviceInterfaces;
  Resources& resources;
  MessageQueue& messageQueue;
  System& system;
  Files& files;
  Threads& threads;
};

// Called by the entry points and by attach alone: everything else is handed the parts that it
// needs. Defined once per link. Valid from before the library attaches until after it has detached.
Platform& platform();

}  // namespace brisk
