#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "adapters/tcon_board/usb_endpoint.h"

namespace brisk::usb {

// Descriptor types and sizes of USB 2.0, chapter 9.
inline constexpr uint8_t kDeviceDescriptor = 1;
inline constexpr uint8_t kConfigDescriptor = 2;
inline constexpr uint8_t kStringDescriptor = 3;
inline constexpr uint8_t kInterfaceDescriptor = 4;
inline constexpr size_t kDeviceDescriptorSize = 18;
inline constexpr size_t kConfigDescriptorSize = 9;
inline constexpr size_t kInterfaceDescriptorSize = 9;

// An interface descriptor (each alternate setting is one) with the endpoints that follow it. Taken
// from bytes that a device sent, so every length in them may lie: parsing stops at a descriptor
// that is too short for its type, has no length or ends behind `bytes`, and at the next interface.
// Endpoints beyond the fifteenth are passed over.
class CUsbInterface {
 public:
  static constexpr size_t kEndPoints = 16;  // slot 0 belongs to the control endpoint

  // `bytes` begins with the interface descriptor, all of which is there.
  CUsbInterface(const DeviceSlot& slot, std::span<const uint8_t> bytes);

  uint8_t length = 0;
  uint8_t type = 0;
  uint8_t number = 0;
  uint8_t alternateSetting = 0;
  uint8_t endPointCount = 0;  // as declared
  uint8_t interfaceClass = 0;
  uint8_t subClass = 0;
  uint8_t protocol = 0;
  uint8_t stringIndex = 0;
  uint16_t totalLength = 0;       // descriptor bytes covered, its own included
  uint8_t alternateSettings = 0;  // interfaces of the configuration that share the number

  // Null where the descriptor is missing or of no known kind; slot 0 is never owned here.
  CUsbEndPoint* endPoint(size_t slot) const;
  // Puts the device's control endpoint into slot 0.
  void SetControl(CUsbEndPoint* control) { control_ = control; }

 private:
  void ReadEndPoints(const DeviceSlot& slot, std::span<const uint8_t> bytes);

  CUsbEndPoint* control_ = nullptr;
  std::array<std::unique_ptr<CUsbEndPoint>, kEndPoints> endPoints_;
};

// A configuration descriptor with its interfaces; those beyond the eighth are passed over. `bytes`
// may be anything: what is not there counts as 0.
class CUsbConfig {
 public:
  static constexpr size_t kInterfaces = 8;

  CUsbConfig(const DeviceSlot& slot, std::span<const uint8_t> bytes);

  uint8_t length = 0;
  uint8_t type = 0;
  uint16_t totalLength = 0;
  uint8_t interfaceCount = 0;  // as declared
  uint8_t value = 0;
  uint8_t stringIndex = 0;
  uint8_t attributes = 0;
  uint8_t maxPower = 0;  // in units of 2 mA

  const std::vector<std::unique_ptr<CUsbInterface>>& interfaces() const { return interfaces_; }

 private:
  std::vector<std::unique_ptr<CUsbInterface>> interfaces_;
};

}  // namespace brisk::usb
