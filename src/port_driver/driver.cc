#include "port_driver/driver.h"

#include <array>
#include <cstring>
#include <string>

#include "base/debug.h"
#include "platform/platform.h"

namespace brisk {
namespace {

constexpr char kServiceName[] = "kgated";
constexpr char kDriverFile[] = "kgated.sys";
constexpr bool kDemandStart = true;
constexpr uint32_t kSettleMs = 10;  // between opening the device and looking at the outcome

struct Family {
  const char* filePath;  // below the system directory
  const char* resource;
  const char* device;
  DeviceOpenMode mode;
};

constexpr Family kNt = {"\\Drivers\\kgated.sys", "ICD_SYS", "\\\\.\\kgated", {}};
constexpr Family k9x = {"\\kgated.vxd",
                        "ICD_VXD",
                        "\\\\.\\kgated.vxd",
                        {.write = false, .shareRead = true, .deleteOnClose = true}};

struct RequestCode {
  uint32_t nt;  // CTL_CODE(0x9C40, function, METHOD_BUFFERED, FILE_ANY_ACCESS)
  uint32_t vxd;
};

// In the order of Driver::Request.
constexpr std::array<RequestCode, 5> kRequestCodes = {{
    {0x9C402480, 0x01},  // version
    {0x9C40248C, 0x10},  // direct access on or off
    {0x9C402494, 0x20},  // port base
    {0x9C4024E4, 0x34},  // write data register
    {0x9C4024E8, 0x35},  // read status register
}};

constexpr uint8_t kSwitchOn = 0;
constexpr uint8_t kSwitchOff = 1;
constexpr uint32_t kBaseAcknowledged = 0x19;

// NOLINTNEXTLINE(performance-no-int-to-ptr): the value that the system has for none
void* InvalidHandle() { return reinterpret_cast<void*>(intptr_t{-1}); }

SharedSection& Shared() { return platform().sharedMemory.Section(); }

const Family& CurrentFamily(bool nt) { return nt ? kNt : k9x; }

void SetByte0(uint8_t value) { std::memcpy(driverRequestBuffer.data(), &value, 1); }

bool HasContent(const char* path) {
  const auto file = platform().files.OpenForReading(path);
  uint8_t first = 0;
  return file && file->Read(&first, 1) == 1;
}

}  // namespace

void Driver::Attach() {
  if (Drv_Open() != 0) {
    debugLog.Print(0, "brisk-- no direct port access: parallel-port operations will fault\n");
    return;
  }
  if (const uint32_t result = Drv_Configure(); result != 0) {
    debugLog.Print(0, "brisk-- the driver did not take the port base, result %u\n",
                   static_cast<unsigned>(result));
  }
}

uint32_t Driver::Drv_IsNT() { return platform().system.IsNt() ? 1 : 0; }

uint32_t Driver::Drv_Extract() {
  const Family& family = CurrentFamily(Drv_IsNT() != 0);
  const std::string path = platform().system.SystemDirectory() + family.filePath;
  if (HasContent(path.c_str())) return 0;
  const auto image = platform().resources.Find(family.resource);
  if (image.empty()) return 3;
  const auto file = platform().files.Create(path.c_str());
  if (!file) return 4;
  const bool written = file->Write(image.data(), image.size()) == image.size();
  if (file->Close() && written) return 0;
  // A truncated image would count as present at every later load.
  platform().files.Remove(path.c_str());
  return 4;
}

bool Driver::OpenDevice(const char* path, const DeviceOpenMode& mode) {
  device_ = platform().devices.Open(path, mode);
  Shared().hDriver = device_ ? device_->Handle() : InvalidHandle();
  return device_ != nullptr;
}

bool Driver::OpenNt() {
  const bool present = OpenDevice(kNt.device, kNt.mode);
  platform().clock.Sleep(kSettleMs);
  if (present) {
    Shared().dwDriverStatus = 0;
    return true;
  }
  Shared().dwDriverStatus = Drv_Install(kServiceName, kDriverFile, kDemandStart);
  return OpenDevice(kNt.device, kNt.mode);
}

bool Driver::Open9x() { return OpenDevice(k9x.device, k9x.mode); }

uint32_t Driver::Drv_Open() {
  if (counted_) return 0;
  SharedSection& shared = Shared();
  shared.dwDriverStatus = 1;
  shared.dwIsNT = Drv_IsNT();
  const uint32_t extracted = Drv_Extract();
  if (!(shared.dwIsNT != 0 ? OpenNt() : Open9x())) {
    debugLog.Print(0, "brisk-- the port-access driver cannot be opened (file %u, service %u)\n",
                   static_cast<unsigned>(extracted), static_cast<unsigned>(shared.dwDriverStatus));
    return 1;
  }
  shared.dwRefCount += 1;
  counted_ = true;
  countedProcess_ = platform().system.ProcessId();
  const bool answers = Send(Request::kVersion, 4);
  SetByte0(kSwitchOn);
  if (answers && Send(Request::kDirectIo, 4)) return 0;
  debugLog.Print(0, "brisk-- the port-access driver refused %s\n",
                 answers ? "direct port access" : "the version request");
  Drv_Release();
  return 1;
}

uint32_t Driver::Drv_Configure() {
  if (!Send(Request::kVersion, 4)) return 2;
  driverRequestBuffer[0] = kLptBase;
  Shared().wLptBase = kLptBase;
  if (!Send(Request::kPortBase, 8)) return 2;
  return driverRequestBuffer[1] == kBaseAcknowledged ? 0 : 4;
}

void Driver::Drv_Release() {
  if (!counted_ || countedProcess_ != platform().system.ProcessId()) return;
  counted_ = false;
  SharedSection& shared = Shared();
  shared.dwRefCount -= 1;
  if (shared.dwRefCount != 0) {
    platform().debugStream.Write("brisk-- CloseDeviceDriver dwRefCount > 0\n");
    // Closed here all the same: the driver cannot be stopped while a handle is open. Direct access
    // stays on for this process.
    device_.reset();
    return;
  }
  platform().debugStream.Write("brisk-- CloseDeviceDriver dwRefCount = 0\n");
  SetByte0(kSwitchOff);
  Send(Request::kDirectIo, 1);
  device_.reset();
  if (shared.dwDriverStatus == 0) {
    shared.dwDriverStatus = Drv_Remove(kServiceName) == 0 ? 1 : 0;
  }
  shared.hDriver = InvalidHandle();
}

bool Driver::Send(Request request, uint32_t bytes) {
  return Send(request, driverRequestBuffer.data(), bytes);
}

bool Driver::Send(Request request, void* buffer, uint32_t bytes) {
  if (!device_) return false;
  const RequestCode& code = kRequestCodes[static_cast<size_t>(request)];
  uint32_t returned = 0;
  return device_->Control(Shared().dwIsNT != 0 ? code.nt : code.vxd, buffer, bytes, buffer, bytes,
                          &returned);
}

void Driver::SendData(uint8_t* byte) { Send(Request::kWriteData, byte, 1); }

void Driver::ReadStatus(uint8_t* byte) { Send(Request::kReadStatus, byte, 1); }

}  // namespace brisk
