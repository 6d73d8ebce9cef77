#include "platform/device_interfaces.h"

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"
#include "platform/win32/module.h"

// After windows.h.
#include <cstring>
#include <dbt.h>
#include <setupapi.h>
#include <vector>

namespace brisk::os {
namespace {

// SP_DEVICE_INTERFACE_DETAIL_DATA is packed on 32-bit Windows only; its size is part of the call.
static_assert(sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A) == (sizeof(void*) == 4 ? 5 : 8));

GUID SystemGuid(const Guid& guid) {
  GUID result = {};
  static_assert(sizeof result == sizeof(Guid));
  std::memcpy(&result, guid.data(), sizeof result);
  return result;
}

// Bound at run time, so that loading the library does not depend on it.
class SetupApi {
 public:
  SetupApi() : module_(LoadLibraryExA((SystemFolder() + "\\setupapi.dll").c_str(), nullptr, 0)) {
    getClassDevs = BoundFunction<decltype(getClassDevs)>(module_, "SetupDiGetClassDevsA");
    enumerate = BoundFunction<decltype(enumerate)>(module_, "SetupDiEnumDeviceInterfaces");
    detail = BoundFunction<decltype(detail)>(module_, "SetupDiGetDeviceInterfaceDetailA");
    destroy = BoundFunction<decltype(destroy)>(module_, "SetupDiDestroyDeviceInfoList");
  }
  SetupApi(const SetupApi&) = delete;
  SetupApi& operator=(const SetupApi&) = delete;
  ~SetupApi() {
    if (module_ != nullptr) FreeLibrary(module_);
  }

  bool Complete() const { return getClassDevs && enumerate && detail && destroy; }

  decltype(&SetupDiGetClassDevsA) getClassDevs = nullptr;
  decltype(&SetupDiEnumDeviceInterfaces) enumerate = nullptr;
  decltype(&SetupDiGetDeviceInterfaceDetailA) detail = nullptr;
  decltype(&SetupDiDestroyDeviceInfoList) destroy = nullptr;

 private:
  HMODULE module_;
};

// A set as setupapi took it: a board that comes later is not in it, one that goes still is, and
// fails to open.
class PresentInterfaces final : public DeviceInterfaceSet {
 public:
  PresentInterfaces(std::unique_ptr<SetupApi> api, HDEVINFO set, const GUID& guid)
      : api_(std::move(api)), set_(set), guid_(guid) {}
  PresentInterfaces(const PresentInterfaces&) = delete;
  PresentInterfaces& operator=(const PresentInterfaces&) = delete;
  ~PresentInterfaces() override { api_->destroy(set_); }

  uint32_t Enumerate(uint32_t index) override {
    SP_DEVICE_INTERFACE_DATA data = {};
    return Enumerate(index, &data);
  }

  std::string Path(uint32_t index) override {
    SP_DEVICE_INTERFACE_DATA data = {};
    if (Enumerate(index, &data) != kErrorNone) return {};
    DWORD size = 0;
    api_->detail(set_, &data, nullptr, 0, &size, nullptr);
    constexpr size_t kPathOffset = offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_A, DevicePath);
    if (size <= kPathOffset) return {};
    // Rounded up to whole records for their alignment.
    std::vector<SP_DEVICE_INTERFACE_DETAIL_DATA_A> record(
        size / sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A) + 1);
    record[0].cbSize = sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A);
    if (api_->detail(set_, &data, record.data(), size, nullptr, nullptr) == 0) return {};
    return reinterpret_cast<const char*>(record.data()) + kPathOffset;
  }

 private:
  uint32_t Enumerate(uint32_t index, SP_DEVICE_INTERFACE_DATA* data) {
    data->cbSize = sizeof *data;
    return api_->enumerate(set_, nullptr, &guid_, index, data) != 0 ? kErrorNone : GetLastError();
  }

  std::unique_ptr<SetupApi> api_;
  HDEVINFO set_;
  GUID guid_;
};

// User32 of the first Windows versions lacks both calls; there are no notices then.
class Registration final : public DeviceNotification {
 public:
  explicit Registration(HDEVNOTIFY handle) : handle_(handle) {}
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;
  ~Registration() override { Close(); }
  bool Close() override {
    if (handle_ == nullptr) return false;
    const auto unregister = BoundFunction<decltype(&UnregisterDeviceNotification)>(
        GetModuleHandleA("user32.dll"), "UnregisterDeviceNotification");
    const bool closed = unregister != nullptr && unregister(handle_) != 0;
    handle_ = nullptr;
    return closed;
  }

 private:
  HDEVNOTIFY handle_;
};

std::unique_ptr<DeviceNotification> Register(void* window, void* filter) {
  const auto registerFor = BoundFunction<decltype(&RegisterDeviceNotificationA)>(
      GetModuleHandleA("user32.dll"), "RegisterDeviceNotificationA");
  HDEVNOTIFY handle =
      registerFor != nullptr ? registerFor(window, filter, DEVICE_NOTIFY_WINDOW_HANDLE) : nullptr;
  return handle != nullptr ? std::make_unique<Registration>(handle) : nullptr;
}

class SetupInterfaces final : public DeviceInterfaces {
 public:
  std::unique_ptr<DeviceInterfaceSet> Present(const Guid& interfaceClass) override {
    auto api = std::make_unique<SetupApi>();
    if (!api->Complete()) return nullptr;
    const GUID guid = SystemGuid(interfaceClass);
    HDEVINFO set =
        api->getClassDevs(&guid, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    if (set == INVALID_HANDLE_VALUE) return nullptr;
    return std::make_unique<PresentInterfaces>(std::move(api), set, guid);
  }

  std::unique_ptr<DeviceNotification> NotifyOfClass(void* window,
                                                    const Guid& interfaceClass) override {
    DEV_BROADCAST_DEVICEINTERFACE_A filter = {};
    static_assert(sizeof filter == 32);
    filter.dbcc_size = sizeof filter;
    filter.dbcc_devicetype = DBT_DEVTYP_DEVICEINTERFACE;
    filter.dbcc_classguid = SystemGuid(interfaceClass);
    return Register(window, &filter);
  }

  std::unique_ptr<DeviceNotification> NotifyOfHandle(void* window, void* device) override {
    DEV_BROADCAST_HANDLE filter = {};
    static_assert(sizeof(void*) != 4 || sizeof filter == 44);
    filter.dbch_size = sizeof filter;
    filter.dbch_devicetype = DBT_DEVTYP_HANDLE;
    filter.dbch_handle = device;
    return Register(window, &filter);
  }
};

}  // namespace

DeviceInterfaces& TheDeviceInterfaces() { return Permanent<SetupInterfaces>(); }

}  // namespace brisk::os
