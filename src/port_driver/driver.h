#pragma once

#include <cstdint>
#include <memory>

#include "base/debug.h"
#include "platform/device_control.h"
#include "platform/platform.h"
#include "platform/shared_section.h"

namespace brisk {

// Port permission for this process, through the port-access driver (contracts/port_driver.h):
// writes the driver's file, installs it as a service, opens it, sends it its requests and, for the
// last user in the whole system, removes it again. On the NT family the driver gives the process an
// I/O permission map, and port instructions work from then on; on the 9x family, where a file
// opened by name loads the driver, it also carries every access out. A system without such a driver
// only supplies a device that answers the requests. Used from the library's attach and detach and,
// under the global lock, by the parallel port; it has no lock of its own. Each step blocks for as
// long as the system takes.
//
// The count of users is shared by all processes. A process is in it exactly while its own open has
// succeeded: an open that failed, a release without an open and a second release leave it alone and
// write nothing. `hDriver` in the shared section tells whose handle came last; what this process
// opened is kept here beside it and closed at its own release, first user or last.
class Driver {
 public:
  Driver(Platform& system, CDebug& log)
      : system_(system), log_(log), shared_(system.sharedMemory.Section()) {}
  Driver(const Driver&) = delete;
  Driver& operator=(const Driver&) = delete;

  // What loading and unloading the library run. Neither fails; what went wrong is on the debug log.
  void Attach();
  void Detach() { Drv_Release(); }

  // The numbers stand in debug lines, and the service's in the shared section, too.
  enum class FileResult : uint32_t { kPresent = 0, kNoImage = 3, kNotWritten = 4 };
  enum class ServiceResult : uint32_t { kDone = 0, kFailed = 1, kCannotOpen = 2 };
  enum class OpenResult : uint32_t { kDone = 0, kFailed = 1 };
  enum class BaseResult : uint32_t { kTaken = 0, kRequestFailed = 2, kNotTaken = 4 };

  // Writes the driver's file from the image that the library carries, unless there is one that is
  // not empty. A part of it is not left behind.
  [[nodiscard]] FileResult Drv_Extract();
  // Registers the service, in place of one of that name, and starts it.
  [[nodiscard]] ServiceResult Drv_Install(const char* serviceName, const char* fileName,
                                          bool demandStart);
  // Stops the service, if it runs, and deletes it.
  [[nodiscard]] ServiceResult Drv_Remove(const char* serviceName);
  // 1 on the NT family, else 0.
  uint32_t Drv_IsNT();
  // Opens the driver, counts the process in and switches its direct port access on.
  [[nodiscard]] OpenResult Drv_Open();
  // Tells the driver the port base.
  [[nodiscard]] BaseResult Drv_Configure();
  // Counts the process out; the last one switches direct access off and removes the service.
  void Drv_Release();

  // Whether this process may use port instructions once the driver is open; on the 9x family every
  // access is a request instead.
  bool AccessIsDirect() const { return shared_.dwIsNT != 0; }
  // Port access of the 9x family: one request each, in the caller's byte. Failures are not
  // reported; the byte then stays.
  void SendData(uint8_t* byte);
  void ReadStatus(uint8_t* byte);

  bool IsOpen() const { return device_ != nullptr; }

 private:
  enum class Request { kVersion, kDirectAccess, kPortBase, kWriteData, kReadStatus };

  bool OpenNt();
  bool Open9x();
  bool OpenDevice(const char* path, const DeviceOpenMode& mode);
  bool HasContent(const char* path);           // of a file that is there
  bool Send(Request request, uint32_t bytes);  // in the process's request buffer
  bool Send(Request request, void* buffer, uint32_t bytes);

  Platform& system_;
  CDebug& log_;
  SharedSection& shared_;
  std::unique_ptr<OpenedDevice> device_;  // while this process is counted in, or opening
  bool counted_ = false;
  uint32_t countedProcess_ = 0;  // a forked child must not count its parent out
};

}  // namespace brisk
