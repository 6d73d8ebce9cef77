#pragma once

#include <memory>
#include <string_view>

#include "platform/device_control.h"
#include "platform/device_interfaces.h"

namespace brisk::os {

// USB boards by way of libusb, for code that is written against the Windows driver of the
// timing-controller board: a board (a device with vendor id 0x04B4) appears as a device of that
// driver's interface class with a path "usb:BUS:ADDRESS", and its open device answers the driver's
// device-control codes. There are no notices of arrival and removal.
inline constexpr std::string_view kUsbPathPrefix = "usb:";

// Null for another class, and without libusb.
std::unique_ptr<DeviceInterfaceSet> PresentUsbDevices(const Guid& interfaceClass);
// Null when the path names no present board or the user has no right to open it.
std::unique_ptr<OpenedDevice> OpenUsbDevice(std::string_view path);

}  // namespace brisk::os
