#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "platform/device_control.h"
#include "platform/linux/usb_library.h"

namespace brisk::linux_system {

// The request record of the board's Windows driver: a packed header of 38 bytes, little-endian,
// that may be followed by packet records and data. Read and written in place.
class UsbRecord {
 public:
  static constexpr uint32_t kHeader = 38;

  UsbRecord(void* bytes, uint32_t size) : bytes_(static_cast<uint8_t*>(bytes)), size_(size) {}

  bool valid() const { return bytes_ != nullptr && size_ >= kHeader; }
  std::span<const uint8_t, 8> setup() const { return std::span<const uint8_t, 8>(bytes_, 8); }
  bool controlIn() const { return (bytes_[0] & 0x80) != 0; }
  uint16_t controlLength() const { return static_cast<uint16_t>(Get(6) & 0xFFFF); }
  uint32_t timeOutSeconds() const { return Get(8); }
  uint8_t endpoint() const { return bytes_[13]; }
  uint32_t packetBytes() const { return Get(26); }
  uint32_t dataOffset() const { return Get(30); }
  uint32_t dataLength() const { return Get(34); }
  // The data behind the header; empty when the record has none or it would leave the record.
  std::span<uint8_t> data() const;
  void SetStatus(uint32_t nt, uint32_t usbd);

 private:
  uint32_t Get(size_t at) const;
  void Put(size_t at, uint32_t value);

  uint8_t* bytes_;
  uint32_t size_;
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
  void StartControl(UsbHandle* handle);
  // `type` and `packetSize` are the endpoint's.
  void StartData(UsbHandle* handle, uint8_t endpoint, uint8_t type, uint32_t packetSize);
  void Fail() { startError_ = kErrorGeneralFailure; }
  void Cancel();
  uint8_t endpoint() const { return endpoint_; }

  uint32_t StartError() const override { return startError_; }
  bool Wait(uint32_t milliseconds) override;
  void Wait() override;
  bool Result(uint32_t* bytesReturned) override;

  static constexpr uint32_t kErrorGeneralFailure = 31;

 private:
  static void Completed(UsbTransfer* transfer);
  bool Allocate(UsbHandle* handle, size_t bytes, int isoPackets);
  void Submit();
  void Collect();
  uint32_t TakeIsoPackets();

  std::shared_ptr<UsbLibrary> library_;
  UsbRecord record_;
  std::span<uint8_t> data_;
  const uint32_t offset_;
  const Last last_;
  std::vector<uint8_t> buffer_;
  UsbTransfer* transfer_ = nullptr;
  uint8_t endpoint_ = 0;
  bool in_ = false;
  uint32_t startError_ = kErrorIoPending;
  int completed_ = 0;
  bool collected_ = false;
  uint32_t moved_ = 0;
};

}  // namespace brisk::linux_system
