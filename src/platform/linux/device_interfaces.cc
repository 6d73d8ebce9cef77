#include "platform/device_interfaces.h"

#include "platform/linux/never_destroyed.h"
#include "platform/linux/parts.h"
#include "platform/linux/usb_devices.h"

namespace brisk::linux_system {
namespace {

class LinuxDeviceInterfaces final : public DeviceInterfaces {
 public:
  std::unique_ptr<DeviceInterfaceSet> Present(const Guid& interfaceClass) override {
    return PresentUsbDevices(interfaceClass);
  }
  std::unique_ptr<DeviceNotification> NotifyOfClass(void* /*window*/,
                                                    const Guid& /*interfaceClass*/) override {
    return nullptr;
  }
  std::unique_ptr<DeviceNotification> NotifyOfHandle(void* /*window*/, void* /*device*/) override {
    return nullptr;
  }
};

}  // namespace

DeviceInterfaces& TheDeviceInterfaces() {
  static NeverDestroyed<LinuxDeviceInterfaces> interfaces;
  return *interfaces;
}

}  // namespace brisk::linux_system
