#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "contracts/tcon_driver.h"
#include "platform/device_control.h"

namespace brisk::usb {

inline constexpr uint8_t kDirectionIn = 0x80;  // bit of an endpoint address
inline constexpr uint8_t kEndpointDescriptor = 5;
inline constexpr size_t kEndpointDescriptorSize = 7;

enum class EndpointKind : uint8_t { kControl, kIsochronous, kBulk, kInterrupt };
enum class TransferMode : uint8_t { kBuffered = 0, kDirect = 1 };

// The open device that a board object shares with its endpoints; null while closed.
struct DeviceSlot {
  std::unique_ptr<Device> device;
};

// One transfer under way: the header with what follows it, and the request that uses both.
struct TransferRecord {
  TransferHeader Header() const;

  std::vector<uint8_t> bytes;
  std::unique_ptr<PendingRequest> pending;  // null when nothing was started
};

// An endpoint of an open device and the transfers on it, one at a time. `slot` outlives it.
class CUsbEndPoint {
 public:
  using Descriptor = std::span<const uint8_t, kEndpointDescriptorSize>;

  CUsbEndPoint(const DeviceSlot& slot, Descriptor descriptor);
  CUsbEndPoint(const CUsbEndPoint&) = delete;
  CUsbEndPoint& operator=(const CUsbEndPoint&) = delete;

  // Start a transfer: straight from the caller's buffer, through a copy behind the header, and the
  // one of the two (or its own) that this kind of endpoint uses.
  virtual TransferRecord BeginDirect(uint8_t* buffer, uint32_t length);
  virtual TransferRecord BeginBuffered(uint8_t* buffer, uint32_t length);
  virtual TransferRecord Begin(uint8_t* buffer, uint32_t length) = 0;
  // Collects the result of a completed transfer; `length` becomes the bytes moved.
  virtual bool End(TransferRecord& record, uint8_t* buffer, uint32_t* length);
  virtual ~CUsbEndPoint() = default;

  // Moves up to `length` bytes and waits, at most for the time-out and then for the cancellation.
  // True when all went well and the driver reports no error. Fails on a closed device, and for a
  // null buffer that should hold bytes.
  bool Transfer(uint8_t* buffer, uint32_t* length);
  // Ends whatever is pending on the endpoint.
  void Cancel();

  // Descriptor fields.
  uint8_t descriptorLength = 0;
  uint8_t descriptorType = 0;
  uint8_t address = 0;
  uint8_t attributes = 0;
  uint32_t maxPacketSize = 0;  // per frame: packet size times packets per frame
  uint8_t packetsPerFrame = 1;
  uint8_t interval = 0;

  uint32_t timeOut = 10000;  // milliseconds
  uint32_t usbdStatus = 0;   // these four: of the last transfer
  uint32_t ntStatus = 0;
  uint32_t bytesTransferred = 0;
  uint32_t lastError = 0;
  bool in = false;
  TransferMode mode = TransferMode::kDirect;

 protected:
  Device* device() const { return slot_.device.get(); }
  uint32_t TimeOutSeconds() const;
  // Header, `gap` zero bytes and a copy of the data, sent and received as one record.
  TransferRecord BeginRecord(uint32_t code, TransferHeader header, uint32_t gap,
                             std::span<const uint8_t> data);

 private:
  bool WaitFor(PendingRequest& pending);

  const DeviceSlot& slot_;
};

// Endpoint 0, with the fields of its next request. Vendor requests to the device unless changed.
class CUsbControlEndPoint : public CUsbEndPoint {
 public:
  CUsbControlEndPoint(const DeviceSlot& slot, Descriptor descriptor);

  TransferRecord Begin(uint8_t* buffer, uint32_t length) override;

  bool ControlRead(uint8_t* buffer, uint32_t* length);
  bool ControlWrite(uint8_t* buffer, uint32_t* length);

  static constexpr uint8_t kRecipientDevice = 0;
  static constexpr uint8_t kTypeVendor = 2;

  uint8_t recipient = kRecipientDevice;
  uint8_t requestType = kTypeVendor;
  uint8_t direction = 0;  // 1 = from the device
  uint8_t requestCode = 0;
  uint16_t value = 0;
  uint16_t index = 0;
};

class CUsbIsochronousEndPoint : public CUsbEndPoint {
 public:
  using CUsbEndPoint::CUsbEndPoint;
  TransferRecord Begin(uint8_t* buffer, uint32_t length) override;
};

// Bulk and interrupt endpoints transfer alike.
class CUsbDataEndPoint : public CUsbEndPoint {
 public:
  using CUsbEndPoint::CUsbEndPoint;
  TransferRecord Begin(uint8_t* buffer, uint32_t length) override;
};

// The endpoint that a descriptor's attributes byte asks for; null for one that is no kind.
std::unique_ptr<CUsbEndPoint> MakeEndPoint(const DeviceSlot& slot,
                                           CUsbEndPoint::Descriptor descriptor);

}  // namespace brisk::usb
