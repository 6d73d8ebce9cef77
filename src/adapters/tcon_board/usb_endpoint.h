#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "adapters/tcon_board/usb_descriptors.h"
#include "base/bytes.h"
#include "contracts/tcon_driver.h"
#include "platform/device_control.h"

// Transfers on a board's endpoints. Every one is a device-control request to the USB driver, begun
// overlapped, in one of three shapes:
//
//   copied        in and out: header, data         control; bulk and interrupt of old drivers
//   isochronous   in and out: header, a record of 8 bytes for every packet, data
//   direct        in: header; out: the caller's own buffer         bulk and interrupt
//
// The driver writes how it ended into the header that it was given (contracts/tcon_driver.h).
namespace brisk::tcon_board {

// The open device that a board object shares with its endpoints; null while closed.
struct DeviceSlot {
  std::unique_ptr<OpenedDevice> device;
};

// What a request to the driver carries: the header, `gap` zero bytes and a copy of the data, whose
// place it puts into the header.
std::vector<uint8_t> RecordOf(TransferHeader header, uint32_t gap, Bytes data);

enum class TransferMode : uint8_t { kBuffered = 0, kDirect = 1 };

// An endpoint of an open device and the transfers on it, one at a time: bulk, interrupt and
// isochronous ones here. `slot` outlives it.
class CUsbEndPoint : public EndpointDescriptor {
 public:
  CUsbEndPoint(const DeviceSlot& slot, const EndpointDescriptor& descriptor);
  CUsbEndPoint(const CUsbEndPoint&) = delete;
  CUsbEndPoint& operator=(const CUsbEndPoint&) = delete;
  virtual ~CUsbEndPoint() = default;

  // Moves up to `length` bytes and waits, at most for the time-out and then for the cancellation;
  // `length` becomes the bytes moved. True when all went well and the driver reports no error.
  // Fails on a closed device, and for a null buffer that should hold bytes.
  bool Transfer(uint8_t* buffer, uint32_t* length);
  // Ends whatever is pending on the endpoint.
  void Cancel();

  const uint8_t packetsPerFrame;
  const uint32_t maxPacketSize;  // per frame: packet size times packets per frame

  uint32_t timeOut = 10000;  // milliseconds
  uint32_t usbdStatus = 0;   // these four: of the last transfer
  uint32_t ntStatus = 0;
  uint32_t bytesTransferred = 0;
  uint32_t lastError = 0;
  bool in;  // towards the host
  // Straight from and to the caller's buffer, or through a copy behind the header. Isochronous and
  // control transfers are always copied.
  TransferMode mode = TransferMode::kDirect;

 protected:
  struct Request {
    uint32_t code = 0;
    std::vector<uint8_t> record;  // empty: more than the driver can be asked for
  };

 private:
  virtual Request MakeRequest(Bytes data);
  // True when the request is through; one that is not in time is cancelled.
  bool WaitFor(PendingRequest& pending);
  bool Collect(PendingRequest& pending, Bytes record, Buffer data);

  const DeviceSlot& slot_;
};

// Endpoint 0, with the fields of its next request. Vendor requests to the device unless changed.
class CUsbControlEndPoint : public CUsbEndPoint {
 public:
  CUsbControlEndPoint(const DeviceSlot& slot, const EndpointDescriptor& descriptor);

  // Transfers with the direction set. More than 65535 bytes fail before anything is sent.
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

 private:
  Request MakeRequest(Bytes data) override;
};

// The endpoint that a descriptor's attributes byte asks for; null for one that is no kind.
std::unique_ptr<CUsbEndPoint> MakeEndPoint(const DeviceSlot& slot,
                                           const EndpointDescriptor& descriptor);

}  // namespace brisk::tcon_board
