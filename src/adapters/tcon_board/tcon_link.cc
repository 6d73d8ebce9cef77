#include "adapters/tcon_board/tcon_link.h"

#include <string>
#include <vector>

#include "adapters/tcon_board/vendor_requests.h"
#include "contracts/tcon_driver.h"

namespace brisk::tcon_board {
namespace {

constexpr const char* kFirmwareFile = "firmware.hex";
constexpr uint32_t kOpenRetryDelay = 1000;  // milliseconds
constexpr uint32_t kTimeOut = 50;           // milliseconds, of everything but the download

std::string ReadText(File& file) {
  std::string text;
  char buffer[4096];
  for (;;) {
    const size_t count = file.Read(buffer, sizeof buffer);
    text.append(buffer, count);
    if (count < sizeof buffer) return text;
  }
}

// Transfers move data either way, so they take bytes that they could write to.
bool ControlWrite(CUsbControlEndPoint& control, Bytes bytes) {
  std::vector<uint8_t> copy(bytes.begin(), bytes.end());
  auto length = static_cast<uint32_t>(copy.size());
  return control.ControlWrite(copy.data(), &length);
}

}  // namespace

bool TconLink::Connect() {
  board_.reset();  // before another handle of the same device is asked for
  board_ = std::make_unique<CUsbDevice>(system_.deviceInterfaces, system_.devices, nullptr,
                                        kTconInterfaceClass, true);
  board_->CountDevices();
  board_->OpenDevice(0);
  FindBoard();
  if (board_->IsOpen() && board_->descriptor.vendorId == kTconVendorId) {
    DownloadFirmware(kFirmwareFile, RamKind::kInternal);
    connected_ = true;
  }
  return connected_;
}

// A board that has just been plugged in may need a moment before it opens.
void TconLink::FindBoard() {
  const unsigned count = board_->CountDevices();
  uint16_t vendorId = 0;
  for (unsigned index = 0; index < count && vendorId != kTconVendorId; ++index) {
    board_->OpenDevice(static_cast<uint8_t>(index));
    if (!board_->IsOpen()) {
      system_.clock.Sleep(kOpenRetryDelay);
      board_->OpenDevice(static_cast<uint8_t>(index));
    }
    vendorId = board_->descriptor.vendorId;
  }
}

CUsbControlEndPoint* TconLink::Prepare(uint8_t request, uint16_t value, uint16_t index) {
  CUsbControlEndPoint* const endPoint = control();
  if (endPoint == nullptr || !board_->IsOpen()) return nullptr;
  endPoint->timeOut = kTimeOut;
  endPoint->requestCode = request;
  endPoint->value = value;
  endPoint->index = index;
  return endPoint;
}

Status TconLink::Write(uint8_t request, uint16_t value, uint16_t index, Bytes bytes) {
  CUsbControlEndPoint* const endPoint = Prepare(request, value, index);
  if (endPoint == nullptr) return Cause::kNoAdapter;
  return ControlWrite(*endPoint, bytes) ? Status() : Cause::kTransfer;
}

Status TconLink::Read(uint8_t request, uint16_t value, uint16_t index, Buffer bytes) {
  CUsbControlEndPoint* const endPoint = Prepare(request, value, index);
  if (endPoint == nullptr) return Cause::kNoAdapter;
  auto length = static_cast<uint32_t>(bytes.size());
  return endPoint->ControlRead(bytes.data(), &length) ? Status() : Cause::kTransfer;
}

uint16_t TconLink::lastValue() const { return control() != nullptr ? control()->value : 0; }

bool TconLink::DownloadFirmware(const char* path, RamKind kind) {
  const std::unique_ptr<File> file = system_.files.OpenForReading(path);
  if (file == nullptr) {
    log_.Print(0, "Can't open the firmware file %s\n", system_.files.AbsolutePath(path).c_str());
    return false;
  }
  if (control() == nullptr) return false;
  const HexFile image = ParseHex(ReadText(*file));
  LogImage(image, path);
  Load(image, kind);
  return true;
}

void TconLink::LogImage(const HexFile& image, const char* path) const {
  for (const HexError& error : image.errors) {
    log_.Print(0, "%s, line %u: %s, left out\n", path, error.line, error.reason.c_str());
  }
  int number = 0;
  for (const HexRecord& record : image.records) {
    log_.Print(0, "%d : %s\n", number++, record.text.c_str());
  }
}

// The CPU must not run what is only half there. The RAM outside it is filled by the firmware that
// runs, so that one is left alone.
void TconLink::Load(const HexFile& image, RamKind kind) {
  constexpr uint8_t kHold = 1;
  constexpr uint8_t kRun = 0;
  const bool internal = kind == RamKind::kInternal;
  CUsbControlEndPoint& endPoint = *control();
  endPoint.requestCode = internal ? kWriteInternalRam : kWriteExternalRam;
  endPoint.index = 0;
  const auto load = [&](uint16_t address, Bytes bytes) {
    endPoint.value = address;
    ControlWrite(endPoint, bytes);
  };
  if (internal) load(kCpuControl, {&kHold, 1});
  for (const HexChunk& chunk : GatherChunks(image.records, kind)) load(chunk.address, chunk.data);
  if (internal) load(kCpuControl, {&kRun, 1});
}

}  // namespace brisk::tcon_board
