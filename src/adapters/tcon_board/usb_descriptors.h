#pragma once

#include <cstdint>
#include <cstring>

#include "base/bytes.h"

// Descriptors as a USB device sends them: USB 2.0, chapter 9.6. Little-endian, without padding. The
// device wrote them, so every number in them may lie.
namespace brisk::tcon_board {

enum DescriptorType : uint8_t {
  kDeviceDescriptor = 1,
  kConfigDescriptor = 2,
  kStringDescriptor = 3,
  kInterfaceDescriptor = 4,
  kEndpointDescriptor = 5,
};

#pragma pack(push, 1)

struct DeviceDescriptor {
  uint8_t length = 0;
  uint8_t type = 0;
  uint16_t usbVersion = 0;  // binary-coded decimal, as `release`
  uint8_t deviceClass = 0;
  uint8_t subClass = 0;
  uint8_t protocol = 0;
  uint8_t maxPacketSize = 0;  // of endpoint 0
  uint16_t vendorId = 0;
  uint16_t productId = 0;
  uint16_t release = 0;
  uint8_t manufacturer = 0;  // indexes of strings, 0 = none
  uint8_t product = 0;
  uint8_t serialNumber = 0;
  uint8_t configCount = 0;
};
static_assert(sizeof(DeviceDescriptor) == 18);

struct ConfigDescriptor {
  uint8_t length = 0;
  uint8_t type = 0;
  uint16_t totalLength = 0;  // with everything that follows it
  uint8_t interfaceCount = 0;
  uint8_t value = 0;
  uint8_t stringIndex = 0;
  uint8_t attributes = 0;
  uint8_t maxPower = 0;  // in units of 2 mA
};
static_assert(sizeof(ConfigDescriptor) == 9);

struct InterfaceDescriptor {
  uint8_t length = 0;
  uint8_t type = 0;
  uint8_t number = 0;
  uint8_t alternateSetting = 0;
  uint8_t endPointCount = 0;
  uint8_t interfaceClass = 0;
  uint8_t subClass = 0;
  uint8_t protocol = 0;
  uint8_t stringIndex = 0;
};
static_assert(sizeof(InterfaceDescriptor) == 9);

enum class EndpointKind : uint8_t { kControl, kIsochronous, kBulk, kInterrupt };

struct EndpointDescriptor {
  bool Is(EndpointKind kind) const { return attributes == static_cast<uint8_t>(kind); }

  uint8_t descriptorLength = 0;
  uint8_t descriptorType = 0;
  uint8_t address = 0;     // bit 7: towards the host
  uint8_t attributes = 0;  // an EndpointKind
  uint16_t packet = 0;     // bits 10 to 0: size; 12 and 11: further packets per microframe
  uint8_t interval = 0;
};
static_assert(sizeof(EndpointDescriptor) == 7);

#pragma pack(pop)

// `bytes` holds at least a descriptor of this type.
template <typename Descriptor>
Descriptor ReadAs(Bytes bytes) {
  Descriptor descriptor;
  std::memcpy(&descriptor, bytes.data(), sizeof descriptor);
  return descriptor;
}

}  // namespace brisk::tcon_board
