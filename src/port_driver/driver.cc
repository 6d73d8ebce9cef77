#include "port_driver/driver.h"

#include <cstring>
#include <string>

#include "contracts/port_driver.h"

namespace brisk {
namespace {

constexpr bool kDemandStart = true;
constexpr uint32_t kSettleMs = 10;  // between opening the device and looking at the outcome

struct Family {
  const char* filePath;  // below the system directory
  const char* resource;  // the image within the library
  const char* device;
  DeviceOpenMode mode;
};

constexpr Family kNt = {"\\Drivers\\" KGATED_FILE, "ICD_SYS", KGATED_DEVICE, {}};
constexpr Family k9x = {"\\" KGATED_FILE_9X,
                        "ICD_VXD",
                        KGATED_DEVICE_9X,
                        {.write = false, .shareRead = true, .deleteOnClose = true}};

struct RequestCode {
  uint32_t nt;
  uint32_t vxd;
};

// In the order of Driver::Request. `vxd` is the 9x family's code.
constexpr RequestCode kRequestCodes[] = {
    {KGATED_CODE(port_driver::kVersionFunction), port_driver::kVersion9x},
    {KGATED_CODE(port_driver::kDirectAccessFunction), port_driver::kDirectAccess9x},
    {KGATED_CODE(port_driver::kPortBaseFunction), port_driver::kPortBase9x},
    {KGATED_CODE(port_driver::kWriteDataFunction), port_driver::kWriteData9x},
    {KGATED_CODE(port_driver::kReadStatusFunction), port_driver::kReadStatus9x},
};

// NOLINTNEXTLINE(performance-no-int-to-ptr): the value that the system has for none
void* InvalidHandle() { return reinterpret_cast<void*>(intptr_t{-1}); }

void SetByte0(uint8_t value) { std::memcpy(driverRequestBuffer.data(), &value, 1); }

}  // namespace

void Driver::Attach() {
  if (Drv_Open() != OpenResult::kDone) {
    log_.Print(0, "brisk-- no direct port access: parallel-port operations will fault\n");
    return;
  }
  if (const BaseResult result = Drv_Configure(); result != BaseResult::kTaken) {
    log_.Print(0, "brisk-- the driver did not take the port base, result %u\n",
               static_cast<unsigned>(result));
  }
}

uint32_t Driver::Drv_IsNT() { return system_.system.IsNt() ? 1 : 0; }

bool Driver::HasContent(const char* path) {
  const auto file = system_.files.OpenForReading(path);
  uint8_t first = 0;
  return file && file->Read(&first, 1) == 1;
}

Driver::FileResult Driver::Drv_Extract() {
  const Family& family = Drv_IsNT() != 0 ? kNt : k9x;
  const std::string path = system_.system.SystemDirectory() + family.filePath;
  if (HasContent(path.c_str())) return FileResult::kPresent;
  const auto image = system_.resources.Find(family.resource);
  if (image.empty()) return FileResult::kNoImage;
  const auto file = system_.files.Create(path.c_str());
  if (!file) return FileResult::kNotWritten;
  const bool written = file->Write(image.data(), image.size()) == image.size();
  if (file->Close() && written) return FileResult::kPresent;
  // A truncated image would count as present at every later load.
  system_.files.Remove(path.c_str());
  return FileResult::kNotWritten;
}

bool Driver::OpenDevice(const char* path, const DeviceOpenMode& mode) {
  device_ = system_.devices.Open(path, mode);
  shared_.hDriver = device_ ? device_->Handle() : InvalidHandle();
  return device_ != nullptr;
}

bool Driver::OpenNt() {
  const bool present = OpenDevice(kNt.device, kNt.mode);
  system_.clock.Sleep(kSettleMs);
  if (present) {
    shared_.dwDriverStatus = 0;
    return true;
  }
  const ServiceResult installed = Drv_Install(KGATED_NAME, KGATED_FILE, kDemandStart);
  shared_.dwDriverStatus = static_cast<uint32_t>(installed);
  return OpenDevice(kNt.device, kNt.mode);
}

bool Driver::Open9x() { return OpenDevice(k9x.device, k9x.mode); }

// The process counts as a user before the driver has agreed, so that a refusal can be undone by the
// one way out.
Driver::OpenResult Driver::Drv_Open() {
  if (counted_) return OpenResult::kDone;
  shared_.dwDriverStatus = 1;
  shared_.dwIsNT = Drv_IsNT();
  const FileResult extracted = Drv_Extract();
  if (!(AccessIsDirect() ? OpenNt() : Open9x())) {
    log_.Print(0, "brisk-- the port-access driver cannot be opened (file %u, service %u)\n",
               static_cast<unsigned>(extracted), static_cast<unsigned>(shared_.dwDriverStatus));
    return OpenResult::kFailed;
  }
  shared_.dwRefCount += 1;
  counted_ = true;
  countedProcess_ = system_.system.ProcessId();
  const bool answers = Send(Request::kVersion, 4);
  SetByte0(port_driver::kSwitchOn);
  if (answers && Send(Request::kDirectAccess, 4)) return OpenResult::kDone;
  log_.Print(0, "brisk-- the port-access driver refused %s\n",
             answers ? "direct port access" : "the version request");
  Drv_Release();
  return OpenResult::kFailed;
}

// The version is asked for once more to see that the driver is still there; no version is refused.
Driver::BaseResult Driver::Drv_Configure() {
  if (!Send(Request::kVersion, 4)) return BaseResult::kRequestFailed;
  driverRequestBuffer[0] = kLptBase;
  shared_.wLptBase = kLptBase;
  if (!Send(Request::kPortBase, 8)) return BaseResult::kRequestFailed;
  const bool taken = driverRequestBuffer[1] == port_driver::kBaseAcknowledged;
  return taken ? BaseResult::kTaken : BaseResult::kNotTaken;
}

void Driver::Drv_Release() {
  if (!counted_ || countedProcess_ != system_.system.ProcessId()) return;
  counted_ = false;
  shared_.dwRefCount -= 1;
  if (shared_.dwRefCount != 0) {
    system_.debugStream.Write("brisk-- CloseDeviceDriver dwRefCount > 0\n");
    // Closed here all the same: the driver cannot be stopped while a handle is open. Direct access
    // stays on for this process.
    device_.reset();
    return;
  }
  system_.debugStream.Write("brisk-- CloseDeviceDriver dwRefCount = 0\n");
  SetByte0(port_driver::kSwitchOff);
  Send(Request::kDirectAccess, 1);
  device_.reset();
  if (shared_.dwDriverStatus == 0) {
    shared_.dwDriverStatus = Drv_Remove(KGATED_NAME) == ServiceResult::kDone ? 1 : 0;
  }
  shared_.hDriver = InvalidHandle();
}

bool Driver::Send(Request request, uint32_t bytes) {
  return Send(request, driverRequestBuffer.data(), bytes);
}

bool Driver::Send(Request request, void* buffer, uint32_t bytes) {
  if (!device_) return false;
  const RequestCode& code = kRequestCodes[static_cast<size_t>(request)];
  uint32_t returned = 0;
  return device_->Control(AccessIsDirect() ? code.nt : code.vxd, buffer, bytes, buffer, bytes,
                          &returned);
}

void Driver::SendData(uint8_t* byte) { Send(Request::kWriteData, byte, 1); }

void Driver::ReadStatus(uint8_t* byte) { Send(Request::kReadStatus, byte, 1); }

}  // namespace brisk
