#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "adapters/ftdi/status.h"
#include "base/bytes.h"
#include "base/debug.h"
#include "contracts/d2xx.h"
#include "platform/libraries.h"
#include "vendor/library.h"

namespace brisk::ftdi {

// What the device list says of one interface.
struct DeviceDetail {
  uint32_t type = 0;
  uint32_t location = 0;
  std::string description;
};

// The vendor's D2XX library. It is looked for at every enumeration until it is found; while it is
// absent, enumerations answer kDeviceNotFound and a debug line says why.
//
// D2XX handles are pointers. In 32-bit builds they are the handles of this class; in 64-bit builds
// this class numbers them, and a number that stands for no open interface is kInvalidHandle without
// a call. Not locked: the engine lock is held around every call. Transfers block for at most the
// time-outs that SetTimeouts gave; opening may take longer.
class D2xx {
 public:
  D2xx(Libraries& libraries, CDebug& log);
  D2xx(const D2xx&) = delete;
  D2xx& operator=(const D2xx&) = delete;

  // Forgets the library and every handle; nothing is closed.
  void Unload();

  // Everything attached, as of now; positions in it are those that the detail is asked for.
  Answer<std::vector<d2xx::ListNode>> ListDevices();
  Answer<DeviceDetail> GetDeviceInfoDetail(uint32_t position);

  Answer<uint32_t> OpenByLocation(uint32_t location);  // the handle
  StatusCode Close(uint32_t handle);
  Answer<uint32_t> GetDeviceType(uint32_t handle);

  // How many bytes were moved; a failure may have moved some too.
  Answer<uint32_t> Read(uint32_t handle, Buffer buffer);
  Answer<uint32_t> Write(uint32_t handle, Bytes bytes);
  Answer<uint32_t> GetQueueStatus(uint32_t handle);  // bytes that wait to be read

  StatusCode ResetDevice(uint32_t handle);
  StatusCode SetChars(uint32_t handle);  // none
  StatusCode SetTimeouts(uint32_t handle, uint32_t readMs, uint32_t writeMs);
  StatusCode SetLatencyTimer(uint32_t handle, uint8_t milliseconds);
  Answer<uint8_t> GetLatencyTimer(uint32_t handle);
  StatusCode SetBitMode(uint32_t handle, uint8_t mode);  // every pin an input
  StatusCode SetUsbParameters(uint32_t handle, uint32_t inSize, uint32_t outSize);

 private:
  struct Numbered {
    uint32_t handle;
    d2xx::Handle native;
  };

  d2xx::Handle Native(uint32_t handle) const;
  uint32_t Number(d2xx::Handle native);
  template <typename... Parameters, typename... Arguments>
  StatusCode Call(d2xx::Function<Parameters...> function, Arguments... arguments) const;
  template <typename... Parameters, typename... Arguments>
  StatusCode CallHandle(d2xx::Function<Parameters...> function, uint32_t handle,
                        Arguments... arguments) const;

  vendor::Library library_;
  std::vector<Numbered> numbered_;
  uint32_t nextNumber_ = 1;
};

}  // namespace brisk::ftdi
