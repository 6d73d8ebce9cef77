#include "platform/device_interfaces.h"

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"
#include "platform/linux/usb_devices.h"

namespace brisk::os {
namespace {

// Windows get no notices here: there are none to get them.
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

DeviceInterfaces& TheDeviceInterfaces() { return Permanent<LinuxDeviceInterfaces>(); }

}  // namespace brisk::os
