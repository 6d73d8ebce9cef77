#include "adapters/tcon_board/usb_config.h"

#include <algorithm>

namespace brisk::usb {
namespace {

constexpr unsigned kMaxOthers = 11;  // descriptors of other types passed over within an interface

// The descriptor that `bytes` begins with; empty when it has no length, not even a type byte, or
// ends behind the bytes.
std::span<const uint8_t> First(std::span<const uint8_t> bytes) {
  if (bytes.size() < 2 || bytes[0] < 2 || bytes[0] > bytes.size()) return {};
  return bytes.first(bytes[0]);
}

}  // namespace

CUsbInterface::CUsbInterface(const DeviceSlot& slot, std::span<const uint8_t> bytes)
    : length(bytes[0]),
      type(bytes[1]),
      number(bytes[2]),
      alternateSetting(bytes[3]),
      endPointCount(bytes[4]),
      interfaceClass(bytes[5]),
      subClass(bytes[6]),
      protocol(bytes[7]),
      stringIndex(bytes[8]),
      totalLength(bytes[0]) {
  ReadEndPoints(slot, bytes.subspan(length));
}

void CUsbInterface::ReadEndPoints(const DeviceSlot& slot, std::span<const uint8_t> bytes) {
  unsigned others = 0;
  for (unsigned found = 0; found < endPointCount;) {
    const std::span<const uint8_t> descriptor = First(bytes);
    if (descriptor.empty() || descriptor[1] == kInterfaceDescriptor) return;
    if (descriptor[1] != kEndpointDescriptor) {
      if (++others > kMaxOthers) return;
    } else {
      if (descriptor.size() < kEndpointDescriptorSize) return;
      ++found;
      if (found < kEndPoints) {
        endPoints_[found] = MakeEndPoint(slot, descriptor.first<kEndpointDescriptorSize>());
      }
    }
    totalLength = static_cast<uint16_t>(totalLength + descriptor.size());
    bytes = bytes.subspan(descriptor.size());
  }
}

CUsbEndPoint* CUsbInterface::endPoint(size_t slot) const {
  if (slot == 0) return control_;
  return slot < kEndPoints ? endPoints_[slot].get() : nullptr;
}

CUsbConfig::CUsbConfig(const DeviceSlot& slot, std::span<const uint8_t> bytes) {
  if (bytes.size() < kConfigDescriptorSize) return;
  length = bytes[0];
  type = bytes[1];
  totalLength = static_cast<uint16_t>(bytes[2] | bytes[3] << 8);
  interfaceCount = bytes[4];
  value = bytes[5];
  stringIndex = bytes[6];
  attributes = bytes[7];
  maxPower = bytes[8];

  bytes = bytes.first(std::min<size_t>(bytes.size(), totalLength));
  while (interfaces_.size() < kInterfaces) {
    const std::span<const uint8_t> descriptor = First(bytes);
    if (descriptor.empty()) break;
    size_t covered = descriptor.size();
    if (descriptor[1] == kInterfaceDescriptor) {
      if (covered < kInterfaceDescriptorSize) break;
      interfaces_.push_back(std::make_unique<CUsbInterface>(slot, bytes));
      covered = interfaces_.back()->totalLength;
    }
    bytes = bytes.subspan(covered);
  }
  for (const auto& each : interfaces_) {
    each->alternateSettings = static_cast<uint8_t>(
        std::count_if(interfaces_.begin(), interfaces_.end(),
                      [&](const auto& other) { return other->number == each->number; }));
  }
}

}  // namespace brisk::usb
