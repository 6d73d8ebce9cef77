#include <string_view>
#include <sys/io.h>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"
#include "platform/device_control.h"
#include "platform/linux/port_driver.h"
#include "platform/linux/usb_devices.h"

namespace brisk::os {
namespace {

constexpr std::string_view kPortDriverPath = KGATED_DEVICE;

class LinuxDevices final : public Devices {
 public:
  std::unique_ptr<OpenedDevice> Open(const char* path, const DeviceOpenMode& /*mode*/) override {
    if (path == kPortDriverPath) {
      return std::make_unique<PortDriverDevice>(ThePortIo(), TheDebugStream(), ioperm);
    }
    if (std::string_view(path).starts_with(kUsbPathPrefix)) return OpenUsbDevice(path);
    return nullptr;
  }
};

}  // namespace

Devices& TheDevices() { return Permanent<LinuxDevices>(); }

}  // namespace brisk::os
