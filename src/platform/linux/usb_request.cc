#include "platform/linux/usb_request.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace brisk::os {
namespace {

using std::chrono::steady_clock;

constexpr size_t kSetup = 8;
constexpr int kMostIsoPackets = 0x10000;

// What the Windows driver would report.
struct Statuses {
  int libusb;
  uint32_t nt;
  uint32_t usbd;
};
constexpr uint32_t kUnsuccessful = 0xC0000001;
constexpr Statuses kStatuses[] = {
    {libusb::kCompleted, 0, 0},
    {libusb::kStalled, kUnsuccessful, 0xC0000004},   // USBD_STATUS_STALL_PID
    {libusb::kTimedOut, 0xC00000B5, 0xC0006000},     // USBD_STATUS_TIMEOUT
    {libusb::kCancelled, 0xC0000120, 0xC0010000},    // USBD_STATUS_CANCELED
    {libusb::kOverflow, kUnsuccessful, 0xC0000008},  // USBD_STATUS_DATA_OVERRUN
    {libusb::kNoDevice, 0xC000009D, 0xC0007000},     // USBD_STATUS_DEVICE_GONE
};
constexpr Statuses kOtherError = {libusb::kError, kUnsuccessful,
                                  0xC0000011};  // USBD_STATUS_XACT_ERROR

}  // namespace

UsbRecord::UsbRecord(void* bytes, uint32_t size)
    : bytes_(static_cast<uint8_t*>(bytes)), size_(size) {
  if (valid()) std::memcpy(&header_, bytes_, sizeof header_);
}

std::span<uint8_t> UsbRecord::data() const {
  const uint64_t end = uint64_t{header_.dataOffset} + header_.dataLength;
  if (header_.dataOffset < tcon_board::kHeaderSize || end > size_) return {};
  return {bytes_ + header_.dataOffset, header_.dataLength};
}

void UsbRecord::SetStatus(uint32_t nt, uint32_t usbd) {
  header_.ntStatus = nt;
  header_.usbdStatus = usbd;
  std::memcpy(bytes_, &header_, sizeof header_);
}

UsbRequest::UsbRequest(std::shared_ptr<UsbLibrary> library, UsbRecord record,
                       std::span<uint8_t> data, uint32_t offset, Last last)
    : library_(std::move(library)),
      record_(record),
      data_(data),
      offset_(offset),
      last_(std::move(last)) {
  *last_ = this;
}

UsbRequest::~UsbRequest() {
  if (*last_ == this) *last_ = nullptr;
  if (transfer_ == nullptr) return;
  if (startError_ == kErrorIoPending && completed_ == 0) {
    Cancel();
    Wait();
  }
  library_->free_transfer(transfer_);
}

void UsbRequest::Completed(libusb::Transfer* transfer) {
  static_cast<UsbRequest*>(transfer->userData)->completed_ = 1;
}

// The transfer works on a copy of the data, which stays valid when the caller gives up waiting.
bool UsbRequest::Allocate(libusb::Handle* handle, size_t bytes, int isoPackets) {
  buffer_.resize(bytes);
  transfer_ = library_->alloc_transfer(isoPackets);
  if (transfer_ == nullptr) {
    Fail();
    return false;
  }
  transfer_->handle = handle;
  transfer_->flags = 0;
  transfer_->endpoint = endpoint_;
  transfer_->timeOut = record_.header().timeOut * 1000;
  transfer_->length = static_cast<int>(bytes);
  transfer_->callback = Completed;
  transfer_->userData = this;
  transfer_->buffer = buffer_.data();
  transfer_->isoPackets = isoPackets;
  return true;
}

void UsbRequest::Submit() {
  if (library_->submit_transfer(transfer_) != 0) Fail();
}

// libusb takes setup packet and data stage in one buffer.
void UsbRequest::StartControl(libusb::Handle* handle) {
  const auto setup = record_.setup();
  in_ = (record_.header().requestType & 0x80) != 0;
  if (data_.size() != record_.header().length) return Fail();
  if (!Allocate(handle, kSetup + data_.size(), 0)) return;
  transfer_->type = libusb::kControl;
  std::copy(setup.begin(), setup.end(), buffer_.begin());
  if (!in_) std::copy(data_.begin(), data_.end(), buffer_.begin() + kSetup);
  Submit();
}

void UsbRequest::StartData(libusb::Handle* handle, uint8_t endpoint, uint8_t type,
                           uint32_t packetSize) {
  endpoint_ = endpoint;
  in_ = (endpoint & 0x80) != 0;
  int packets = 0;
  if (type == libusb::kIsochronous) {
    const size_t wanted = record_.header().packetLength / tcon_board::kPacketInfoSize;
    if (wanted > kMostIsoPackets || wanted * packetSize < data_.size()) return Fail();
    packets = static_cast<int>(wanted);
  }
  if (!Allocate(handle, data_.size(), packets)) return;
  transfer_->type = type;
  size_t rest = data_.size();
  for (int i = 0; i < packets; ++i) {
    transfer_->iso[i].length = static_cast<unsigned>(std::min<size_t>(rest, packetSize));
    rest -= transfer_->iso[i].length;
  }
  if (!in_) std::copy(data_.begin(), data_.end(), buffer_.begin());
  Submit();
}

void UsbRequest::Cancel() {
  if (transfer_ != nullptr && completed_ == 0) library_->cancel_transfer(transfer_);
}

// Handles libusb's events meanwhile, those of other requests included. In real time: the kernel
// moves the bytes, whatever clock the library was given.
bool UsbRequest::Wait(uint32_t milliseconds) {
  if (startError_ != kErrorIoPending) return true;
  const auto end = steady_clock::now() + std::chrono::milliseconds(milliseconds);
  while (completed_ == 0) {
    const auto left =
        std::chrono::duration_cast<std::chrono::microseconds>(end - steady_clock::now());
    if (left.count() <= 0) return false;
    timeval timeOut{static_cast<time_t>(left.count() / 1'000'000),
                    static_cast<suseconds_t>(left.count() % 1'000'000)};
    library_->handle_events_timeout_completed(library_->context(), &timeOut, &completed_);
  }
  return true;
}

void UsbRequest::Wait() {
  constexpr uint32_t kSlice = 1000;
  while (!Wait(kSlice)) {
  }
}

// Packets arrive each at its own place; the caller gets their bytes one after the other.
uint32_t UsbRequest::TakeIsoPackets() {
  size_t from = 0;
  size_t to = 0;
  for (int i = 0; i < transfer_->isoPackets; ++i) {
    const libusb::IsoPacket& packet = transfer_->iso[i];
    const size_t count = std::min(packet.actualLength, packet.length);
    if (in_)
      std::copy_n(buffer_.begin() + static_cast<ptrdiff_t>(from), count,
                  data_.begin() + static_cast<ptrdiff_t>(to));
    from += packet.length;
    to += count;
  }
  return static_cast<uint32_t>(to);
}

// Once, when the transfer is over: into the caller's record and data.
void UsbRequest::Collect() {
  collected_ = true;
  const auto* known =
      std::find_if(std::begin(kStatuses), std::end(kStatuses),
                   [&](const Statuses& each) { return each.libusb == transfer_->status; });
  const Statuses& status = known != std::end(kStatuses) ? *known : kOtherError;
  record_.SetStatus(status.nt, status.usbd);
  if (transfer_->type == libusb::kIsochronous) {
    moved_ = TakeIsoPackets();
    return;
  }
  const size_t actual =
      transfer_->actualLength < 0 ? 0 : static_cast<size_t>(transfer_->actualLength);
  moved_ = static_cast<uint32_t>(std::min(actual, data_.size()));
  const size_t at = transfer_->type == libusb::kControl ? kSetup : 0;
  if (in_) std::copy_n(buffer_.begin() + static_cast<ptrdiff_t>(at), moved_, data_.begin());
}

bool UsbRequest::Result(uint32_t* bytesReturned) {
  *bytesReturned = 0;
  if (startError_ != kErrorIoPending || completed_ == 0) return false;
  if (!collected_) Collect();
  *bytesReturned = offset_ + moved_;
  return transfer_->status != libusb::kCancelled && transfer_->status != libusb::kNoDevice;
}

}  // namespace brisk::os
