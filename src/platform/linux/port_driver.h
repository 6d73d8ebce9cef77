#pragma once

#include <cstdint>
#include <memory>

#include "contracts/port_driver.h"
#include "platform/debug_stream.h"
#include "platform/device_control.h"
#include "platform/port_io.h"

namespace brisk::os {

// ioperm(2), or a stand-in.
using PermissionCall = int (*)(unsigned long firstPort, unsigned long count, int allow);

// The port-access driver as a device inside the process: it answers the kernel driver's requests,
// and where that one loads a permission map for the process, it calls ioperm for the base port and
// the two after it. A refused call fails the request and says why on the debug stream.
//
// Two differences from the kernel driver: permission follows the base when the base changes, and
// closing the device gives the permission back. The kernel keeps it per thread: threads started
// after the switch inherit it, threads that ran before do not.
class PortDriverDevice final : public OpenedDevice {
 public:
  PortDriverDevice(PortIo& ports, DebugStream& debugStream, PermissionCall permission)
      : ports_(ports), debugStream_(debugStream), permission_(permission) {}
  PortDriverDevice(const PortDriverDevice&) = delete;
  PortDriverDevice& operator=(const PortDriverDevice&) = delete;
  ~PortDriverDevice() override;

  bool Control(uint32_t code, const void* in, uint32_t inSize, void* out, uint32_t outSize,
               uint32_t* bytesReturned) override;
  std::unique_ptr<PendingRequest> Begin(uint32_t code, const void* in, uint32_t inSize, void* out,
                                        uint32_t outSize) override;
  bool Close() override;
  void* Handle() const override;

 private:
  struct Request {
    const uint8_t* in;
    uint32_t inSize;
    uint8_t* out;
    uint32_t outSize;
    uint32_t returned;
  };
  struct Operation {
    uint32_t code;
    bool (PortDriverDevice::*run)(Request&);
  };
  static const Operation kOperations[];

  bool Version(Request& request);
  bool SwitchDirectIo(Request& request);
  bool SetPortBase(Request& request);
  bool WriteData(Request& request);
  bool ReadStatus(Request& request);

  bool Allow(uint16_t base);
  void Forbid(uint16_t base);

  PortIo& ports_;
  DebugStream& debugStream_;
  PermissionCall permission_;
  uint16_t base_ = port_driver::kDefaultBase;  // until it is set, after the switch
  bool direct_ = false;
};

}  // namespace brisk::os
