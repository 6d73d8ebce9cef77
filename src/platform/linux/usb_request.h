#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "contracts/tcon_driver.h"
#include "platform/device_control.h"
#include "platform/linux/usb_library.h"

namespace brisk::os {

// The record of a transfer request: the header, which packet records and data may follow.
class UsbRecord {
 public:
  UsbRecord(void* bytes, uint32_t size);

  bool valid() const { return bytes_ != nullptr && size_ >= tcon_board::kHeaderSize; }
  const tcon_board::TransferHeader& header() const { return header_; }
  // The first eight bytes are those of a USB setup packet.
  std::span<const uint8_t, 8> setup() const { return std::span<const uint8_t, 8>(bytes_, 8); }
  // The data, in place; empty when the record has none or it would leave the record.
  std::span<uint8_t> data() const;
  void SetStatus(uint32_t nt, uint32_t usbd);

 private:
  uint8_t* bytes_;
  uint32_t size_;
  tcon_board::TransferHeader header_;
};

// One libusb transfer on behalf of a device-control request. Everything that happens, its
// completion included, happens on the thread that waits for it.
class UsbRequest final : public PendingRequest {
 public:
  // The request that an open device started last, for cancelling it; null when it is gone.
  using Last = std::shared_ptr<UsbRequest*>;

  // `data` is the caller's buffer, `record` gets the status; `offset` is added to the byte count.
  UsbRequest(std::shared_ptr<UsbLibrary> library, UsbRecord record, std::span<uint8_t> data,
             uint32_t offset, Last last);
  UsbRequest(const UsbRequest&) = delete;
  UsbRequest& operator=(const UsbRequest&) = delete;
  ~UsbRequest() override;

  // Starts it; the request has failed when libusb refuses.
  void StartControl(libusb::Handle* handle);
  // `type` and `packetSize` are the endpoint's.
  void StartData(libusb::Handle* handle, uint8_t endpoint, uint8_t type, uint32_t packetSize);
  void Fail() { startError_ = kErrorGeneralFailure; }
  void Cancel();
  uint8_t endpoint() const { return endpoint_; }

  uint32_t StartError() const override { return startError_; }
  bool Wait(uint32_t milliseconds) override;
  void Wait() override;
  bool Result(uint32_t* bytesReturned) override;

 private:
  static void Completed(libusb::Transfer* transfer);
  bool Allocate(libusb::Handle* handle, size_t bytes, int isoPackets);
  void Submit();
  void Collect();
  uint32_t TakeIsoPackets();

  std::shared_ptr<UsbLibrary> library_;
  UsbRecord record_;
  std::span<uint8_t> data_;
  const uint32_t offset_;
  const Last last_;
  std::vector<uint8_t> buffer_;
  libusb::Transfer* transfer_ = nullptr;
  uint8_t endpoint_ = 0;
  bool in_ = false;
  uint32_t startError_ = kErrorIoPending;
  int completed_ = 0;
  bool collected_ = false;
  uint32_t moved_ = 0;
};

}  // namespace brisk::os
