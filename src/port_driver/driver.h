#pragma once

#include <cstdint>
#include <memory>

#include "platform/device_control.h"

namespace brisk {

// Port permission for this process, through the port-access driver: writes the driver's file,
// installs it as a service, opens it, sends it its requests and, for the last user in the whole
// system, removes it again. Runs over platform() alone, so that a system without such a driver only
// supplies a device that answers the requests. Used from the library's attach and detach and, under
// the global lock, by the parallel port; it has no lock of its own.
//
// The count of users is shared by all processes. A process is in it exactly while its own open has
// succeeded: an open that failed, a release without an open and a second release leave it alone and
// write nothing. `hDriver` in the shared section tells whose handle came last; what this process
// opened is kept here beside it and closed at its own release, first user or last.
class Driver {
 public:
  Driver() = default;
  Driver(const Driver&) = delete;
  Driver& operator=(const Driver&) = delete;

  // What loading and unloading the library run. Neither fails; what went wrong is on the debug log.
  void Attach();
  void Detach() { Drv_Release(); }

  // 0 = the driver file is there (one that is not empty is never replaced), 3 = the library carries
  // no image for this system, 4 = the file could not be written; a part of it is not left behind.
  uint32_t Drv_Extract();
  // 0 = running, 1 = failure, 2 = the service cannot be opened.
  uint32_t Drv_Install(const char* serviceName, const char* fileName, bool demandStart);
  // 0 = deleted, 1 = failure, 2 = the service cannot be opened.
  uint32_t Drv_Remove(const char* serviceName);
  // 1 on the NT family, else 0.
  uint32_t Drv_IsNT();
  // Opens the driver, counts the process in and switches its direct port access on. 0 or 1
  // (failed).
  uint32_t Drv_Open();
  // Tells the driver the port base. 0, 2 = a request failed, 4 = unexpected acknowledgement.
  uint32_t Drv_Configure();
  // Counts the process out; the last one switches direct access off and removes the service.
  void Drv_Release();

  // Port access of the 9x family: one request each, in the caller's byte. Failures are not
  // reported; the byte then stays.
  void SendData(uint8_t* byte);
  void ReadStatus(uint8_t* byte);

  bool IsOpen() const { return device_ != nullptr; }

 private:
  enum class Request { kVersion, kDirectIo, kPortBase, kWriteData, kReadStatus };

  bool OpenNt();
  bool Open9x();
  bool OpenDevice(const char* path, const DeviceOpenMode& mode);
  bool Send(Request request, uint32_t bytes);  // in the process's request buffer
  bool Send(Request request, void* buffer, uint32_t bytes);

  std::unique_ptr<Device> device_;  // held exactly while this process is counted in, or opening
  bool counted_ = false;
  uint32_t countedProcess_ = 0;  // a forked child must not count its parent out
};

}  // namespace brisk
