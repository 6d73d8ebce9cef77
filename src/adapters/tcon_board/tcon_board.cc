#include "adapters/tcon_board/tcon_board.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "adapters/tcon_board/vendor_requests.h"

namespace brisk::tcon_board {
namespace {

constexpr uint32_t kAttempts = 3;  // of the register operations

// Calls `transfer(request, offset, count)` for every packet until one fails.
template <typename Transfer>
Status InPackets(const PacketRequests& requests, size_t total, Transfer transfer) {
  Status status;
  for (size_t offset = 0; status.ok() && offset < total; offset += kPacketMax) {
    const bool last = offset + kPacketMax >= total;
    uint8_t request = last ? requests.last : requests.further;
    if (offset == 0) request = last ? requests.only : requests.first;
    status = transfer(request, offset, std::min<size_t>(kPacketMax, total - offset));
  }
  return status;
}

// Where a first packet announces the length of the whole phase and later ones have their offset.
uint16_t LengthOrOffset(size_t offset, size_t total) {
  return static_cast<uint16_t>(offset == 0 ? total : offset);
}

}  // namespace

TconBoard::TconBoard(const Host& host)
    : lock_(host.system.threads.NewLock()),
      link_(host.system, host.log),
      device_{
          .onSelect = this,
          .registers = this,
          .blocks = this,
          .clock = this,
          .channels = this,
          .ports = this,
      } {}

uint32_t TconBoard::Connect() {
  const std::lock_guard lock(*lock_);
  return link_.Connect() ? 1 : 0;
}

template <typename Transfer>
Status TconBoard::OnSlave(uint8_t device, Transfer transfer) {
  Status status;
  for (uint32_t attempt = 0; attempt < kAttempts; ++attempt) {
    status = link_.Write(kSelectSlave, device >> 1, 0, {});
    if (status.ok()) status = transfer();
    if (status.ok()) break;
  }
  return status;
}

Status TconBoard::WriteByte(uint8_t device, uint8_t subAddress, uint8_t data) {
  const std::lock_guard lock(*lock_);
  link_.ConnectWhenNeeded();
  return OnSlave(device, [&] { return link_.Write(kWriteRegister, subAddress, 0, {&data, 1}); });
}

Status TconBoard::ReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) {
  if (data == nullptr) return Cause::kBadArgument;
  const std::lock_guard lock(*lock_);
  link_.ConnectWhenNeeded();
  *data = 0;
  return OnSlave(device, [&] { return link_.Read(kReadRegister, subAddress, 0, {data, 1}); });
}

Status TconBoard::WriteData(uint8_t device, Bytes command, Bytes data) {
  if (IsNullWithLength(command) || IsNullWithLength(data)) return Cause::kBadArgument;
  const std::lock_guard lock(*lock_);
  link_.ConnectWhenNeeded();
  // Packets do not end where the command does.
  std::vector<uint8_t> bytes(command.begin(), command.end());
  bytes.insert(bytes.end(), data.begin(), data.end());
  return InPackets(kBlockWrite, bytes.size(), [&](uint8_t request, size_t offset, size_t count) {
    return link_.Write(request, device >> 1, static_cast<uint16_t>(offset),
                       Bytes(bytes).subspan(offset, count));
  });
}

Status TconBoard::ReadData(uint8_t device, Bytes command, Buffer data) {
  if (IsNullWithLength(command) || IsNullWithLength(data)) return Cause::kBadArgument;
  const std::lock_guard lock(*lock_);
  link_.ConnectWhenNeeded();
  std::fill(data.begin(), data.end(), uint8_t{0});
  const Status sent =
      InPackets(kCommandWrite, command.size(), [&](uint8_t request, size_t offset, size_t count) {
        return link_.Write(request, device >> 1, LengthOrOffset(offset, command.size()),
                           command.subspan(offset, count));
      });
  if (!sent.ok()) return sent;
  return InPackets(kBlockRead, data.size(), [&](uint8_t request, size_t offset, size_t count) {
    return link_.Read(request, device >> 1, LengthOrOffset(offset, data.size()),
                      data.subspan(offset, count));
  });
}

void TconBoard::SetSpeed(uint8_t request) { static_cast<void>(link_.Write(request, 0, 0, {})); }

void TconBoard::SetClockRate(uint32_t kHz) {
  const std::lock_guard lock(*lock_);
  SetSpeed(kHz >= 400 ? kSpeed400 : kSpeed100);
}

Status TconBoard::SwitchChannel(uint8_t channel) {
  const std::lock_guard lock(*lock_);
  if (channel != channel_) {
    channel_ = channel;
    const unsigned bus = channel & 0x0F;
    if (bus <= 1) SetSpeed(kSpeed100);
    if (bus == 2) SetSpeed(kSpeed400);
  }
  return Cause::kUnsupported;
}

Status TconBoard::Write(uint8_t channel, uint16_t /*address*/, Bytes /*first*/, Bytes /*second*/) {
  return SwitchChannel(channel);
}

Status TconBoard::Read(uint8_t channel, uint16_t /*address*/, Buffer /*data*/) {
  return SwitchChannel(channel);
}

Status TconBoard::WriteRead(uint8_t channel, uint16_t /*address*/, Bytes /*write*/,
                            Buffer /*read*/) {
  return SwitchChannel(channel);
}

Status TconBoard::WritePort(uint8_t port, uint8_t value) {
  const std::lock_guard lock(*lock_);
  if (!link_.ConnectWhenNeeded()) return Cause::kNoAdapter;
  const Status status = link_.Write(kWritePort, value, port, {});
  return status.ok() ? Status::Done(1) : status;
}

Status TconBoard::ReadPort(uint8_t port, uint8_t* value) {
  if (value == nullptr) return Cause::kBadArgument;
  const std::lock_guard lock(*lock_);
  if (!link_.ConnectWhenNeeded()) return Cause::kNoAdapter;
  uint8_t byte = 0;
  const Status status = link_.Read(kReadPort, link_.lastValue(), port, {&byte, 1});
  if (!status.ok()) return status;
  *value = byte;
  return Status::Done(1);
}

}  // namespace brisk::tcon_board
