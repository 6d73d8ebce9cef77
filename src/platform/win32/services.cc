#include <windows.h>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"

namespace brisk::os {
namespace {

// Handles of the service manager are closed by a call of their own.
class ScHandle {
 public:
  explicit ScHandle(SC_HANDLE handle) : handle_(handle) {}
  ScHandle(const ScHandle&) = delete;
  ScHandle& operator=(const ScHandle&) = delete;
  ~ScHandle() {
    if (handle_ != nullptr) CloseServiceHandle(handle_);
  }
  SC_HANDLE get() const { return handle_; }

 private:
  SC_HANDLE handle_;
};

// A call's error code, taken at once: the next call overwrites it.
uint32_t Outcome(BOOL done) { return done != 0 ? 0 : GetLastError(); }

// Full access wherever one is opened: without the right to it the driver could be neither installed
// nor removed, and the failure is the same.
class OpenedService final : public Service {
 public:
  explicit OpenedService(SC_HANDLE handle) : handle_(handle) {}
  uint32_t Start() override { return Outcome(StartServiceA(handle_.get(), 0, nullptr)); }
  uint32_t Stop() override {
    SERVICE_STATUS status = {};
    return Outcome(ControlService(handle_.get(), SERVICE_CONTROL_STOP, &status));
  }
  uint32_t Delete() override { return Outcome(DeleteService(handle_.get())); }

 private:
  ScHandle handle_;
};

class Manager final : public ServiceManager {
 public:
  explicit Manager(SC_HANDLE handle) : handle_(handle) {}

  bool CreateDriver(const char* name, const char* imagePath, bool demandStart) override {
    const ScHandle created(CreateServiceA(
        handle_.get(), name, name, SERVICE_ALL_ACCESS, SERVICE_KERNEL_DRIVER,
        demandStart ? SERVICE_DEMAND_START : SERVICE_SYSTEM_START, SERVICE_ERROR_NORMAL, imagePath,
        nullptr, nullptr, nullptr, nullptr, nullptr));
    return created.get() != nullptr;
  }
  std::unique_ptr<Service> Open(const char* name) override {
    SC_HANDLE service = OpenServiceA(handle_.get(), name, SERVICE_ALL_ACCESS);
    return service != nullptr ? std::make_unique<OpenedService>(service) : nullptr;
  }

 private:
  ScHandle handle_;
};

class ServiceControlManager final : public Services {
 public:
  std::unique_ptr<ServiceManager> Connect() override {
    SC_HANDLE manager = OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    return manager != nullptr ? std::make_unique<Manager>(manager) : nullptr;
  }
};

}  // namespace

Services& TheServices() { return Permanent<ServiceControlManager>(); }

}  // namespace brisk::os
