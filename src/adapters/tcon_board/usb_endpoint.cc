#include "adapters/tcon_board/usb_endpoint.h"

#include <algorithm>
#include <limits>

namespace brisk::tcon_board {
namespace {

constexpr uint32_t kAbortPatience = 1000;  // milliseconds

constexpr uint8_t kDirectionIn = 0x80;  // of an endpoint address
constexpr uint16_t kPacketSizeMask = 0x7FF;
constexpr int kExtraPacketsShift = 11;

// The driver is told whole seconds: the least above 0 is one.
constexpr uint32_t Seconds(uint32_t milliseconds) {
  return milliseconds != 0 && milliseconds < 1000 ? 1 : milliseconds / 1000;
}

}  // namespace

std::vector<uint8_t> RecordOf(TransferHeader header, uint32_t gap, Bytes data) {
  header.dataOffset = kHeaderSize + gap;
  header.dataLength = static_cast<uint32_t>(data.size());
  std::vector<uint8_t> record(header.dataOffset + data.size());
  std::memcpy(record.data(), &header, sizeof header);
  std::copy(data.begin(), data.end(), record.begin() + header.dataOffset);
  return record;
}

CUsbEndPoint::CUsbEndPoint(const DeviceSlot& slot, const EndpointDescriptor& descriptor)
    : EndpointDescriptor(descriptor),
      packetsPerFrame(static_cast<uint8_t>((packet >> kExtraPacketsShift & 3) + 1)),
      maxPacketSize(uint32_t{packetsPerFrame} * (packet & kPacketSizeMask)),
      in((address & kDirectionIn) != 0),
      slot_(slot) {}

CUsbEndPoint::Request CUsbEndPoint::MakeRequest(Bytes data) {
  TransferHeader header{.endpoint = address};
  if (Is(EndpointKind::kIsochronous)) {
    const uint64_t size = maxPacketSize;
    const uint64_t packets = size == 0 ? 0 : (data.size() + size - 1) / size;
    const uint64_t gap = packets * kPacketInfoSize;
    if (gap + data.size() > std::numeric_limits<int32_t>::max()) return {};
    header.packetOffset = kHeaderSize;
    header.packetLength = static_cast<uint32_t>(gap);
    return {kBufferedTransfer, RecordOf(header, header.packetLength, data)};
  }
  if (mode == TransferMode::kBuffered) return {kBufferedTransfer, RecordOf(header, 0, data)};
  const auto* bytes = reinterpret_cast<const uint8_t*>(&header);
  return {kDirectTransfer, {bytes, bytes + sizeof header}};
}

bool CUsbEndPoint::Transfer(uint8_t* buffer, uint32_t* length) {
  const Buffer data(buffer, *length);
  bytesTransferred = *length = 0;
  if (slot_.device == nullptr || IsNullWithLength(data)) return false;
  Request request = MakeRequest(data);
  if (request.record.empty()) return false;
  const Buffer record(request.record);
  const Buffer out = request.code == kDirectTransfer ? data : record;
  const auto pending =
      slot_.device->Begin(request.code, record.data(), static_cast<uint32_t>(record.size()),
                          out.data(), static_cast<uint32_t>(out.size()));
  if (pending == nullptr) return false;
  lastError = pending->StartError();
  const bool waited = WaitFor(*pending);
  const bool moved = Collect(*pending, record, data);
  *length = bytesTransferred;
  return waited && moved;
}

bool CUsbEndPoint::WaitFor(PendingRequest& pending) {
  if (lastError == kErrorNone) return true;
  if (lastError != kErrorIoPending) return false;
  if (pending.Wait(timeOut)) return true;
  Cancel();
  pending.Wait(kAbortPatience);  // a driver that ignores the abort must not hold the caller
  return false;
}

bool CUsbEndPoint::Collect(PendingRequest& pending, Bytes record, Buffer data) {
  uint32_t count = 0;
  const bool completed = pending.Result(&count);
  const auto header = ReadAs<TransferHeader>(record);
  const auto room = static_cast<uint32_t>(data.size());
  // A driver that counts more than it was given is not believed.
  bytesTransferred = count > header.dataOffset ? std::min(count - header.dataOffset, room) : 0;
  usbdStatus = header.usbdStatus;
  ntStatus = header.ntStatus;
  const bool copied = record.size() > kHeaderSize;
  if (in && copied && header.dataOffset + uint64_t{bytesTransferred} <= record.size()) {
    std::copy_n(record.begin() + header.dataOffset, bytesTransferred, data.begin());
  }
  return completed && usbdStatus == 0 && ntStatus == 0;
}

void CUsbEndPoint::Cancel() {
  if (slot_.device == nullptr) return;
  uint32_t returned = 0;
  slot_.device->Control(kAbortEndpoint, &address, sizeof address, nullptr, 0, &returned);
}

CUsbControlEndPoint::CUsbControlEndPoint(const DeviceSlot& slot,
                                         const EndpointDescriptor& descriptor)
    : CUsbEndPoint(slot, descriptor) {
  mode = TransferMode::kBuffered;
}

CUsbEndPoint::Request CUsbControlEndPoint::MakeRequest(Bytes data) {
  if (data.size() > std::numeric_limits<uint16_t>::max()) return {};
  in = direction == 1;
  const unsigned type = ((requestType & 3) | direction * 4) * 32 | (recipient & 0x1F);
  return {kControlTransfer, RecordOf({.requestType = static_cast<uint8_t>(type),
                                      .request = requestCode,
                                      .value = value,
                                      .index = index,
                                      .length = static_cast<uint16_t>(data.size()),
                                      .timeOut = Seconds(timeOut)},
                                     0, data)};
}

bool CUsbControlEndPoint::ControlRead(uint8_t* buffer, uint32_t* length) {
  direction = 1;
  return Transfer(buffer, length);
}

bool CUsbControlEndPoint::ControlWrite(uint8_t* buffer, uint32_t* length) {
  direction = 0;
  return Transfer(buffer, length);
}

std::unique_ptr<CUsbEndPoint> MakeEndPoint(const DeviceSlot& slot,
                                           const EndpointDescriptor& descriptor) {
  if (descriptor.Is(EndpointKind::kControl)) {
    return std::make_unique<CUsbControlEndPoint>(slot, descriptor);
  }
  const bool known = descriptor.attributes <= static_cast<uint8_t>(EndpointKind::kInterrupt);
  return known ? std::make_unique<CUsbEndPoint>(slot, descriptor) : nullptr;
}

}  // namespace brisk::tcon_board
