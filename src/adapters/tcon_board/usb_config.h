#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "adapters/tcon_board/usb_descriptors.h"
#include "adapters/tcon_board/usb_endpoint.h"
#include "base/bytes.h"

namespace brisk::tcon_board {

// An interface descriptor (each alternate setting is one) with the endpoints that follow it. Taken
// from bytes that a device sent, so every length in them may lie: parsing stops at a descriptor
// that is too short for its type, has no length or ends behind `bytes`, and at the next interface.
// Endpoints beyond the fifteenth are passed over.
class CUsbInterface : public InterfaceDescriptor {
 public:
  static constexpr size_t kEndPoints = 16;  // slot 0 belongs to the control endpoint

  // `bytes` begins with the interface descriptor, all of which is there.
  CUsbInterface(const DeviceSlot& slot, Bytes bytes);

  uint16_t totalLength;           // descriptor bytes covered, its own included
  uint8_t alternateSettings = 0;  // interfaces of the configuration that share the number

  // Null where the descriptor is missing or of no known kind.
  CUsbEndPoint* endPoint(size_t slot) const {
    return slot < kEndPoints ? endPoints_[slot].get() : nullptr;
  }
  // Puts the device's control endpoint into slot 0.
  void SetControl(std::shared_ptr<CUsbEndPoint> control) { endPoints_[0] = std::move(control); }

 private:
  void ReadEndPoints(const DeviceSlot& slot, Bytes bytes);

  std::array<std::shared_ptr<CUsbEndPoint>, kEndPoints> endPoints_;
};

// A configuration descriptor with its interfaces; those beyond the eighth are passed over. `bytes`
// may be anything: what is not there counts as 0.
class CUsbConfig : public ConfigDescriptor {
 public:
  static constexpr size_t kInterfaces = 8;

  CUsbConfig(const DeviceSlot& slot, Bytes bytes);

  const std::vector<std::unique_ptr<CUsbInterface>>& interfaces() const { return interfaces_; }

 private:
  void ReadInterfaces(const DeviceSlot& slot, Bytes bytes);
  void CountAlternateSettings();

  std::vector<std::unique_ptr<CUsbInterface>> interfaces_;
};

}  // namespace brisk::tcon_board
