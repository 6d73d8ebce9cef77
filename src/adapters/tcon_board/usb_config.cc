#include "adapters/tcon_board/usb_config.h"

#include <algorithm>

namespace brisk::tcon_board {
namespace {

constexpr unsigned kMaxOthers = 11;  // descriptors of other types passed over within an interface

// The descriptor that `bytes` begins with; empty when it has no length, not even a type byte, or
// ends behind the bytes.
Bytes First(Bytes bytes) {
  if (bytes.size() < 2 || bytes[0] < 2 || bytes[0] > bytes.size()) return {};
  return bytes.first(bytes[0]);
}

}  // namespace

CUsbInterface::CUsbInterface(const DeviceSlot& slot, Bytes bytes)
    : InterfaceDescriptor(ReadAs<InterfaceDescriptor>(bytes)), totalLength(length) {
  ReadEndPoints(slot, bytes.subspan(length));
}

void CUsbInterface::ReadEndPoints(const DeviceSlot& slot, Bytes bytes) {
  unsigned others = 0;
  for (unsigned found = 0; found < endPointCount;) {
    const Bytes descriptor = First(bytes);
    if (descriptor.empty() || descriptor[1] == kInterfaceDescriptor) return;
    if (descriptor[1] != kEndpointDescriptor) {
      if (++others > kMaxOthers) return;
    } else {
      if (descriptor.size() < sizeof(EndpointDescriptor)) return;
      ++found;
      if (found < kEndPoints) {
        endPoints_[found] = MakeEndPoint(slot, ReadAs<EndpointDescriptor>(descriptor));
      }
    }
    totalLength = static_cast<uint16_t>(totalLength + descriptor.size());
    bytes = bytes.subspan(descriptor.size());
  }
}

// The device may announce more than it sent.
CUsbConfig::CUsbConfig(const DeviceSlot& slot, Bytes bytes) {
  if (bytes.size() < sizeof(ConfigDescriptor)) return;
  static_cast<ConfigDescriptor&>(*this) = ReadAs<ConfigDescriptor>(bytes);
  ReadInterfaces(slot, bytes.first(std::min<size_t>(bytes.size(), totalLength)));
  CountAlternateSettings();
}

void CUsbConfig::ReadInterfaces(const DeviceSlot& slot, Bytes bytes) {
  while (interfaces_.size() < kInterfaces) {
    const Bytes descriptor = First(bytes);
    if (descriptor.empty()) return;
    size_t covered = descriptor.size();
    if (descriptor[1] == kInterfaceDescriptor) {
      if (covered < sizeof(InterfaceDescriptor)) return;
      interfaces_.push_back(std::make_unique<CUsbInterface>(slot, bytes));
      covered = interfaces_.back()->totalLength;
    }
    bytes = bytes.subspan(covered);
  }
}

void CUsbConfig::CountAlternateSettings() {
  for (const auto& each : interfaces_) {
    each->alternateSettings = static_cast<uint8_t>(
        std::count_if(interfaces_.begin(), interfaces_.end(),
                      [&](const auto& other) { return other->number == each->number; }));
  }
}

}  // namespace brisk::tcon_board
