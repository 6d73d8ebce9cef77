#include "adapters/tcon_board/tcon_usb.h"

#include <algorithm>
#include <string>
#include <vector>

#include "base/debug.h"
#include "i2c/bus.h"
#include "platform/platform.h"

namespace brisk::usb {
namespace {

constexpr const char* kFirmwareFile = "firmware.hex";
constexpr uint32_t kOpenRetryDelay = 1000;  // milliseconds
constexpr uint32_t kAttempts = 3;           // of the register operations
constexpr uint32_t kTimeOut = 50;           // milliseconds, of everything but the download

// Vendor requests; their values and indexes stand where they are issued.
constexpr uint8_t kWriteInternalRam = 0xA0;
constexpr uint8_t kWriteRegister = 0xA2;
constexpr uint8_t kWriteExternalRam = 0xA3;
constexpr uint8_t kSelectSlave = 0xA4;
constexpr uint8_t kSpeed100 = 0xAA;
constexpr uint8_t kSpeed400 = 0xAB;
constexpr uint8_t kReadRegister = 0xAE;
constexpr uint8_t kWritePort = 0xC1;
constexpr uint8_t kReadPort = 0xC2;
constexpr uint16_t kCpuControl = 0xE600;  // FX2 register CPUCS; bit 0 holds the 8051 in reset

// Requests of a transfer split into packets: alone, first, further, last.
struct PacketRequests {
  uint8_t only;
  uint8_t first;
  uint8_t further;
  uint8_t last;
};
constexpr PacketRequests kBlockWrite = {0xB1, 0xB3, 0xB5, 0xB7};
constexpr PacketRequests kBlockRead = {0xB2, 0xB4, 0xB6, 0xB8};
constexpr PacketRequests kCommandWrite = {0xB3, 0xB3, 0xB5, 0xB5};  // no stop: a read follows
constexpr size_t kPacketMax = 64;

// Calls `transfer(request, offset, count)` for every packet until one fails.
template <typename Transfer>
bool InPackets(const PacketRequests& requests, size_t total, Transfer transfer) {
  for (size_t offset = 0; offset < total; offset += kPacketMax) {
    const bool last = offset + kPacketMax >= total;
    uint8_t request = last ? requests.last : requests.further;
    if (offset == 0) request = last ? requests.only : requests.first;
    if (!transfer(request, offset, std::min(kPacketMax, total - offset))) return false;
  }
  return true;
}

std::string ReadText(File& file) {
  std::string text;
  char buffer[4096];
  for (;;) {
    const size_t count = file.Read(buffer, sizeof buffer);
    text.append(buffer, count);
    if (count < sizeof buffer) return text;
  }
}

}  // namespace

uint8_t TconUsbBackEnd::Select() {
  const std::lock_guard lock(mutex_);
  board_.reset();
  board_ = std::make_unique<CUsbDevice>(nullptr, kTconInterfaceClass, true);
  board_->CountDevices();
  board_->OpenDevice(0);
  FindBoard();
  if (board_->IsOpen() && board_->vendorId == kTconVendorId) {
    DownloadFirmware(kFirmwareFile, RamKind::kInternal);
    board_->control()->requestType = CUsbControlEndPoint::kTypeVendor;
    board_->control()->recipient = CUsbControlEndPoint::kRecipientDevice;
    firmwareLoaded_ = true;
  }
  connected_ = firmwareLoaded_;
  return connected_ ? 1 : 0;
}

// A board that has just been plugged in may need a moment before it opens.
void TconUsbBackEnd::FindBoard() {
  const unsigned count = board_->CountDevices();
  uint16_t vendorId = 0;
  for (unsigned index = 0; index < count && vendorId != kTconVendorId; ++index) {
    board_->OpenDevice(static_cast<uint8_t>(index));
    if (!board_->IsOpen()) {
      platform().clock.Sleep(kOpenRetryDelay);
      board_->OpenDevice(static_cast<uint8_t>(index));
    }
    vendorId = board_->vendorId;
  }
}

void TconUsbBackEnd::ConnectWhenNeeded() {
  if (!connected_) Select();
}

// Null while there is no open board.
CUsbControlEndPoint* TconUsbBackEnd::Control() {
  if (board_ == nullptr || !board_->IsOpen() || board_->control() == nullptr) return nullptr;
  board_->control()->timeOut = kTimeOut;
  return board_->control();
}

bool TconUsbBackEnd::Write(uint8_t request, uint16_t value, uint16_t index,
                           std::span<const uint8_t> bytes) {
  CUsbControlEndPoint* control = Control();
  if (control == nullptr) return false;
  control->requestCode = request;
  control->value = value;
  control->index = index;
  std::vector<uint8_t> copy(bytes.begin(), bytes.end());
  auto length = static_cast<uint32_t>(copy.size());
  return control->ControlWrite(copy.data(), &length);
}

bool TconUsbBackEnd::Read(uint8_t request, uint16_t value, uint16_t index,
                          std::span<uint8_t> bytes) {
  CUsbControlEndPoint* control = Control();
  if (control == nullptr) return false;
  control->requestCode = request;
  control->value = value;
  control->index = index;
  auto length = static_cast<uint32_t>(bytes.size());
  return control->ControlRead(bytes.data(), &length);
}

uint32_t TconUsbBackEnd::I2cWriteByte(uint8_t device, uint8_t subAddress, uint8_t data) {
  const std::lock_guard lock(mutex_);
  ConnectWhenNeeded();
  for (uint32_t attempt = 0; attempt < kAttempts; ++attempt) {
    if (Write(kSelectSlave, device >> 1, 0, {}) &&
        Write(kWriteRegister, subAddress, 0, {&data, 1})) {
      return 1;
    }
  }
  return 0;
}

uint32_t TconUsbBackEnd::I2cReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) {
  if (data == nullptr) return 0;
  const std::lock_guard lock(mutex_);
  ConnectWhenNeeded();
  *data = 0;
  for (uint32_t attempt = 0; attempt < kAttempts; ++attempt) {
    if (Write(kSelectSlave, device >> 1, 0, {}) && Read(kReadRegister, subAddress, 0, {data, 1})) {
      return 1;
    }
  }
  return 0;
}

uint32_t TconUsbBackEnd::I2cWriteData(uint8_t device, const uint8_t* command,
                                      uint32_t commandLength, const uint8_t* data,
                                      uint32_t dataLength) {
  if (i2c::Missing(command, commandLength) || i2c::Missing(data, dataLength)) return 0;
  const std::lock_guard lock(mutex_);
  ConnectWhenNeeded();
  std::vector<uint8_t> bytes(command, command + commandLength);
  bytes.insert(bytes.end(), data, data + dataLength);
  const bool ok =
      InPackets(kBlockWrite, bytes.size(), [&](uint8_t request, size_t offset, size_t count) {
        return Write(request, device >> 1, static_cast<uint16_t>(offset),
                     std::span(bytes).subspan(offset, count));
      });
  return ok ? 1 : 0;
}

uint32_t TconUsbBackEnd::I2cReadData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                                     uint8_t* data, uint32_t dataLength) {
  if (i2c::Missing(command, commandLength) || i2c::Missing(data, dataLength)) return 0;
  const std::lock_guard lock(mutex_);
  ConnectWhenNeeded();
  const std::span<const uint8_t> sent(command, commandLength);
  const std::span<uint8_t> received(data, dataLength);
  std::fill(received.begin(), received.end(), uint8_t{0});
  // A first packet announces the length of the whole phase where later ones have their offset.
  const auto index = [](size_t offset, size_t total) {
    return static_cast<uint16_t>(offset == 0 ? total : offset);
  };
  const bool ok =
      InPackets(kCommandWrite, sent.size(),
                [&](uint8_t request, size_t offset, size_t count) {
                  return Write(request, device >> 1, index(offset, sent.size()),
                               sent.subspan(offset, count));
                }) &&
      InPackets(kBlockRead, received.size(), [&](uint8_t request, size_t offset, size_t count) {
        return Read(request, device >> 1, index(offset, received.size()),
                    received.subspan(offset, count));
      });
  return ok ? 1 : 0;
}

void TconUsbBackEnd::SetSpeed(uint8_t request) { Write(request, 0, 0, {}); }

void TconUsbBackEnd::I2cSetClockRate(uint32_t kHz) {
  const std::lock_guard lock(mutex_);
  SetSpeed(kHz >= 400 ? kSpeed400 : kSpeed100);
}

void TconUsbBackEnd::SwitchChannel(uint8_t channel) {
  const std::lock_guard lock(mutex_);
  if (channel == channel_) return;
  channel_ = channel;
  const unsigned bus = channel & 0x0F;
  if (bus <= 1) SetSpeed(kSpeed100);
  if (bus == 2) SetSpeed(kSpeed400);
}

uint8_t TconUsbBackEnd::I2cLib_Write(uint8_t channel, uint16_t /*address*/,
                                     const uint8_t* /*first*/, uint32_t /*firstLength*/,
                                     const uint8_t* /*second*/, uint32_t /*secondLength*/) {
  SwitchChannel(channel);
  return 0;
}

uint8_t TconUsbBackEnd::I2cLib_Read(uint8_t channel, uint16_t /*address*/, uint8_t* /*data*/,
                                    uint32_t /*length*/) {
  SwitchChannel(channel);
  return 0;
}

uint8_t TconUsbBackEnd::I2cLib_WriteRead(uint8_t channel, uint16_t /*address*/,
                                         const uint8_t* /*write*/, uint32_t /*writeLength*/,
                                         uint8_t* /*read*/, uint32_t /*readLength*/) {
  SwitchChannel(channel);
  return 0;
}

uint32_t TconUsbBackEnd::SetPortVal(uint8_t port, uint8_t value) {
  const std::lock_guard lock(mutex_);
  ConnectWhenNeeded();
  if (!connected_) return 0;
  return Write(kWritePort, value, port, {}) ? 1 : 0;
}

// The request's value is whatever the request before it had.
uint32_t TconUsbBackEnd::GetPortVal(uint8_t port, uint8_t* value) {
  if (value == nullptr) return 0;
  const std::lock_guard lock(mutex_);
  ConnectWhenNeeded();
  const CUsbControlEndPoint* control = Control();
  if (!connected_ || control == nullptr) return 0;
  uint8_t byte = 0;
  if (!Read(kReadPort, control->value, port, {&byte, 1})) return 0;
  *value = byte;
  return 1;
}

void TconUsbBackEnd::HoldCpu(bool hold) {
  CUsbControlEndPoint& control = *board_->control();
  control.requestCode = kWriteInternalRam;
  control.value = kCpuControl;
  control.index = 0;
  uint8_t byte = hold ? 1 : 0;
  uint32_t length = 1;
  control.ControlWrite(&byte, &length);
}

bool TconUsbBackEnd::DownloadFirmware(const char* path, RamKind kind) {
  const std::lock_guard lock(mutex_);
  const std::unique_ptr<File> file = platform().files.OpenForReading(path);
  if (file == nullptr) {
    debugLog.Print(0, "Can't open the firmware file %s\n",
                   platform().files.AbsolutePath(path).c_str());
    return false;
  }
  if (board_ == nullptr || board_->control() == nullptr) return false;
  const HexFile image = ParseHex(ReadText(*file));
  for (const HexError& error : image.errors) {
    debugLog.Print(0, "%s, line %u: %s, left out\n", path, error.line, error.reason.c_str());
  }
  int number = 0;
  for (const HexRecord& record : image.records) {
    debugLog.Print(0, "%d : %s\n", number++, record.text.c_str());
  }
  CUsbControlEndPoint& control = *board_->control();
  if (kind == RamKind::kInternal) HoldCpu(true);
  control.requestCode = kind == RamKind::kInternal ? kWriteInternalRam : kWriteExternalRam;
  control.index = 0;
  for (HexChunk& chunk : GatherChunks(image.records, kind)) {
    control.value = chunk.address;
    auto length = static_cast<uint32_t>(chunk.data.size());
    control.ControlWrite(chunk.data.data(), &length);
  }
  if (kind == RamKind::kInternal) HoldCpu(false);
  return true;
}

}  // namespace brisk::usb
