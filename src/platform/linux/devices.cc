#include <string_view>
#include <sys/io.h>

#include "platform/device_control.h"
#include "platform/linux/never_destroyed.h"
#include "platform/linux/parts.h"
#include "platform/linux/port_driver.h"
#include "platform/linux/usb_devices.h"

namespace brisk::linux_system {
namespace {

constexpr std::string_view kPortDriverPath = R"(\\.\kgated)";

class LinuxDevices final : public Devices {
 public:
  std::unique_ptr<Device> Open(const char* path, const DeviceOpenMode& /*mode*/) override {
    if (path == kPortDriverPath) {
      return std::make_unique<PortDriverDevice>(ThePortIo(), TheDebugStream(), ioperm);
    }
    if (std::string_view(path).starts_with(kUsbPathPrefix)) return OpenUsbDevice(path);
    return nullptr;
  }
};

}  // namespace

Devices& TheDevices() {
  static NeverDestroyed<LinuxDevices> devices;
  return *devices;
}

}  // namespace brisk::linux_system
