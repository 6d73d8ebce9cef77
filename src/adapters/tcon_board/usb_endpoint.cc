#include "adapters/tcon_board/usb_endpoint.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace brisk::usb {
namespace {

constexpr uint32_t kAbortPatience = 1000;  // milliseconds

constexpr uint16_t kPacketSizeMask = 0x7FF;  // of wMaxPacketSize
constexpr int kExtraPacketsShift = 11;

}  // namespace

TransferHeader TransferRecord::Header() const {
  TransferHeader header;
  if (bytes.size() >= sizeof header) std::memcpy(&header, bytes.data(), sizeof header);
  return header;
}

CUsbEndPoint::CUsbEndPoint(const DeviceSlot& slot, Descriptor descriptor)
    : descriptorLength(descriptor[0]),
      descriptorType(descriptor[1]),
      address(descriptor[2]),
      attributes(descriptor[3]),
      interval(descriptor[6]),
      in((descriptor[2] & kDirectionIn) != 0),
      slot_(slot) {
  const unsigned packet = descriptor[4] | descriptor[5] << 8;
  packetsPerFrame = static_cast<uint8_t>((packet >> kExtraPacketsShift & 3) + 1);
  maxPacketSize = (packet & kPacketSizeMask) * packetsPerFrame;
}

uint32_t CUsbEndPoint::TimeOutSeconds() const {
  return timeOut != 0 && timeOut < 1000 ? 1 : timeOut / 1000;
}

TransferRecord CUsbEndPoint::BeginRecord(uint32_t code, TransferHeader header, uint32_t gap,
                                         std::span<const uint8_t> data) {
  TransferRecord record;
  if (device() == nullptr) return record;
  header.dataOffset = kHeaderSize + gap;
  header.dataLength = static_cast<uint32_t>(data.size());
  record.bytes.resize(header.dataOffset + data.size());
  std::memcpy(record.bytes.data(), &header, sizeof header);
  std::copy(data.begin(), data.end(), record.bytes.begin() + header.dataOffset);
  const auto size = static_cast<uint32_t>(record.bytes.size());
  record.pending = device()->Begin(code, record.bytes.data(), size, record.bytes.data(), size);
  return record;
}

TransferRecord CUsbEndPoint::BeginBuffered(uint8_t* buffer, uint32_t length) {
  TransferHeader header;
  header.endpoint = address;
  return BeginRecord(kBufferedTransfer, header, 0, {buffer, length});
}

TransferRecord CUsbEndPoint::BeginDirect(uint8_t* buffer, uint32_t length) {
  TransferRecord record;
  if (device() == nullptr) return record;
  TransferHeader header;
  header.endpoint = address;
  record.bytes.resize(sizeof header);
  std::memcpy(record.bytes.data(), &header, sizeof header);
  record.pending =
      device()->Begin(kDirectTransfer, record.bytes.data(), kHeaderSize, buffer, length);
  return record;
}

bool CUsbEndPoint::WaitFor(PendingRequest& pending) {
  if (lastError == kErrorNone) return true;
  if (lastError != kErrorIoPending) return false;
  if (pending.Wait(timeOut)) return true;
  Cancel();
  pending.Wait(kAbortPatience);  // a driver that ignores the abort must not hold the caller
  return false;
}

bool CUsbEndPoint::Transfer(uint8_t* buffer, uint32_t* length) {
  const bool missing = buffer == nullptr && *length != 0;
  TransferRecord record = missing ? TransferRecord() : Begin(buffer, *length);
  if (record.pending == nullptr) {
    bytesTransferred = *length = 0;
    return false;
  }
  lastError = record.pending->StartError();
  const bool waited = WaitFor(*record.pending);
  return End(record, buffer, length) && waited;
}

bool CUsbEndPoint::End(TransferRecord& record, uint8_t* buffer, uint32_t* length) {
  uint32_t count = 0;
  const bool completed = record.pending->Result(&count);
  const TransferHeader header = record.Header();
  const uint32_t room = *length;
  // A driver that counts more than it was given is not believed.
  bytesTransferred = count > header.dataOffset ? std::min(count - header.dataOffset, room) : 0;
  *length = bytesTransferred;
  usbdStatus = header.usbdStatus;
  ntStatus = header.ntStatus;
  const bool copied = record.bytes.size() > kHeaderSize;
  if (in && copied && header.dataOffset + uint64_t{bytesTransferred} <= record.bytes.size()) {
    std::copy_n(record.bytes.begin() + header.dataOffset, bytesTransferred, buffer);
  }
  record.pending.reset();
  return completed && usbdStatus == 0 && ntStatus == 0;
}

void CUsbEndPoint::Cancel() {
  if (device() == nullptr) return;
  uint32_t returned = 0;
  device()->Control(kAbortEndpoint, &address, sizeof address, nullptr, 0, &returned);
}

CUsbControlEndPoint::CUsbControlEndPoint(const DeviceSlot& slot, Descriptor descriptor)
    : CUsbEndPoint(slot, descriptor) {
  mode = TransferMode::kBuffered;
}

TransferRecord CUsbControlEndPoint::Begin(uint8_t* buffer, uint32_t length) {
  if (length > std::numeric_limits<uint16_t>::max()) return {};
  in = direction == 1;
  TransferHeader header;
  header.requestType =
      static_cast<uint8_t>(((requestType & 3) | direction * 4) * 32 | (recipient & 0x1F));
  header.request = requestCode;
  header.value = value;
  header.index = index;
  header.length = static_cast<uint16_t>(length);
  header.timeOut = TimeOutSeconds();
  return BeginRecord(kControlTransfer, header, 0, {buffer, length});
}

bool CUsbControlEndPoint::ControlRead(uint8_t* buffer, uint32_t* length) {
  direction = 1;
  return Transfer(buffer, length);
}

bool CUsbControlEndPoint::ControlWrite(uint8_t* buffer, uint32_t* length) {
  direction = 0;
  return Transfer(buffer, length);
}

TransferRecord CUsbDataEndPoint::Begin(uint8_t* buffer, uint32_t length) {
  return mode == TransferMode::kDirect ? BeginDirect(buffer, length)
                                       : BeginBuffered(buffer, length);
}

TransferRecord CUsbIsochronousEndPoint::Begin(uint8_t* buffer, uint32_t length) {
  const uint32_t size = maxPacketSize;
  const uint32_t packets = size == 0 ? 0 : length / size + (length % size != 0 ? 1 : 0);
  if (uint64_t{packets} * kPacketInfoSize + length > std::numeric_limits<int32_t>::max()) return {};
  TransferHeader header;
  header.endpoint = address;
  header.packetOffset = kHeaderSize;
  header.packetLength = kPacketInfoSize * packets;
  return BeginRecord(kBufferedTransfer, header, header.packetLength, {buffer, length});
}

std::unique_ptr<CUsbEndPoint> MakeEndPoint(const DeviceSlot& slot,
                                           CUsbEndPoint::Descriptor descriptor) {
  switch (static_cast<EndpointKind>(descriptor[3])) {
    case EndpointKind::kControl:
      return std::make_unique<CUsbControlEndPoint>(slot, descriptor);
    case EndpointKind::kIsochronous:
      return std::make_unique<CUsbIsochronousEndPoint>(slot, descriptor);
    case EndpointKind::kBulk:
    case EndpointKind::kInterrupt:
      return std::make_unique<CUsbDataEndPoint>(slot, descriptor);
  }
  return nullptr;
}

}  // namespace brisk::usb
