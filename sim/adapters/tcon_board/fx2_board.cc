// The FX2's memory: internal RAM up to 0x2000, scratch RAM from 0xE000 to 0xE200, both of which the
// ROM's request 0xA0 reaches, and external RAM between them, which only running firmware can write.
// The CPU control register at 0xE600 holds the CPU in reset while its bit 0 is set.
//
// Firmware requests with a data stage to the board act on the whole of it; block requests carry up
// to 64 bytes, and a longer message is spread over first, middle and last ones.
#include "sim/adapters/tcon_board/fx2_board.h"

#include <algorithm>
#include <mutex>
#include <numeric>

#include "sim/common/faults.h"

namespace brisk::sim {
namespace {

constexpr size_t kRamSize = 0x10000;
constexpr uint32_t kInternalRamEnd = 0x2000;
constexpr uint32_t kCpuControl = 0xE600;
constexpr uint32_t kScratchRam = 0xE000;
constexpr uint32_t kScratchRamEnd = 0xE200;
constexpr uint64_t kControlNs = 125'000;

// Addresses of the endpoints that take bytes, and where these come back; isochronous ones do not.
constexpr uint8_t kInterruptOut = 0x01;  // number 1 in both directions
constexpr uint8_t kBulkOut = 0x02;
constexpr uint8_t kBulkIn = 0x86;
constexpr uint8_t kIsochronousOut = 0x04;
constexpr uint8_t kIsochronousIn = 0x88;

// Request types: USB 2.0, chapter 9.3.
constexpr uint8_t kTypeMask = 0x60;
constexpr uint8_t kStandardIn = 0x80;
constexpr uint8_t kGetDescriptor = 6;
constexpr uint8_t kToBoard = 0x40;  // vendor requests
constexpr uint8_t kFromBoard = 0xC0;

constexpr uint8_t kRam = 0xA0;  // in ROM; value: address
constexpr uint8_t kRate400kHz = 0xAB;
constexpr uint8_t kReadMessage = 0xB2;
constexpr uint8_t kReadFirst = 0xB4;
constexpr uint8_t kWriteLast = 0xB7;
constexpr size_t kLongestBlock = 64;

}  // namespace

// The request and what answers it.
struct Fx2Board::VendorRequest {
  uint8_t type;
  uint8_t request;
  bool (Fx2Board::*run)(const UsbSetup& setup, std::vector<uint8_t>* data);
};

const Fx2Board::VendorRequest Fx2Board::kVendorRequests[] = {
    {kToBoard, 0xA2, &Fx2Board::Registers},    // value: the first register
    {kToBoard, 0xA3, &Fx2Board::WriteMemory},  // value: address in the external memory
    {kToBoard, 0xA4, &Fx2Board::SetSlave},     // value: 7-bit address for the register requests
    {kToBoard, 0xAA, &Fx2Board::SetRate},      // 100 kHz
    {kToBoard, kRate400kHz, &Fx2Board::SetRate},
    {kFromBoard, 0xAE, &Fx2Board::Registers},  // value: the register
    {kToBoard, 0xC1, &Fx2Board::Port},         // value: the byte; index: the port
    {kFromBoard, 0xC2, &Fx2Board::Port},       // index: the port
    // Whole messages, then first, middle and last packets of longer ones; value: 7-bit address.
    {kToBoard, 0xB1, &Fx2Board::Block},
    {kFromBoard, kReadMessage, &Fx2Board::Block},
    {kToBoard, 0xB3, &Fx2Board::Block},
    {kFromBoard, kReadFirst, &Fx2Board::Block},
    {kToBoard, 0xB5, &Fx2Board::Block},
    {kFromBoard, 0xB6, &Fx2Board::Block},
    {kToBoard, kWriteLast, &Fx2Board::Block},
    {kFromBoard, 0xB8, &Fx2Board::Block},
};

Fx2Board::Fx2Board(const Site& site)
    : site_(site), master_(site.board, site.clock), ram_(kRamSize) {}

bool Fx2Board::Present() {
  if (site_.faults.Strikes(FaultKind::kUsbUnplug)) gone_ = true;
  return !gone_;
}

UsbResult Fx2Board::Control(const UsbSetup& setup, std::span<uint8_t> stage) {
  if (!Present()) return {UsbAnswer::kGone};
  const std::lock_guard lock(site_.board.mutex());
  site_.clock.Spend(kControlNs);
  std::vector<uint8_t> data;
  if (!setup.in()) data.assign(stage.begin(), stage.end());
  seen.push_back({setup, data});
  if (seen.size() > kMostSeen) seen.pop_front();
  const bool vendor = (setup.requestType & kTypeMask) == kToBoard;
  if (vendor && site_.faults.Strikes(FaultKind::kUsbStall)) return {UsbAnswer::kStall};
  if (vendor && site_.faults.Strikes(FaultKind::kUsbTimeOut)) return {UsbAnswer::kSilent};
  bool done = false;
  if (vendor) {
    done = setup.request == kRam ? LoadRam(setup, &data) : Vendor(setup, &data);
  } else if (setup.requestType == kStandardIn && setup.request == kGetDescriptor) {
    data = Fx2Descriptor(setup.value);
    done = !data.empty();
  }
  if (!done) return {UsbAnswer::kStall};
  if (setup.in()) {
    data.resize(std::min(data.size(), stage.size()));
    if (vendor && !data.empty() && site_.faults.Strikes(FaultKind::kUsbShort)) data.pop_back();
    std::copy(data.begin(), data.end(), stage.begin());
  }
  return {UsbAnswer::kDone, data.size()};
}

bool Fx2Board::LoadRam(const UsbSetup& setup, std::vector<uint8_t>* data) {
  const uint32_t end = uint32_t{setup.value} + setup.length;
  if (!setup.in() && setup.value == kCpuControl) {
    if (data->size() != 1) return false;
    const bool hold = ((*data)[0] & 1) != 0;
    if (hold && !cpuHeld_) imageBytes_ = 0;
    cpuHeld_ = hold;
    return true;
  }
  const bool scratch = setup.value >= kScratchRam && end <= kScratchRamEnd;
  if (end > kInternalRamEnd && !scratch) return false;
  if (setup.in()) {
    data->assign(ram_.begin() + setup.value, ram_.begin() + end);
  } else {
    std::copy(data->begin(), data->end(), ram_.begin() + setup.value);
    imageBytes_ += data->size();
  }
  return true;
}

bool Fx2Board::Vendor(const UsbSetup& setup, std::vector<uint8_t>* data) {
  if (!FirmwareRuns()) return false;
  for (const VendorRequest& each : kVendorRequests) {
    if (each.type != setup.requestType || each.request != setup.request) continue;
    return (this->*each.run)(setup, data);
  }
  return false;
}

bool Fx2Board::WriteMemory(const UsbSetup& setup, std::vector<uint8_t>* data) {
  if (setup.value < kInternalRamEnd || setup.value + data->size() > kScratchRam) return false;
  std::copy(data->begin(), data->end(), ram_.begin() + setup.value);
  return true;
}

bool Fx2Board::SetSlave(const UsbSetup& setup, std::vector<uint8_t>* /*data*/) {
  slave_ = static_cast<uint8_t>(setup.value << 1);
  return true;
}

bool Fx2Board::SetRate(const UsbSetup& setup, std::vector<uint8_t>* /*data*/) {
  master_.SetI2cRate(setup.request == kRate400kHz ? 400 : 100);
  return true;
}

bool Fx2Board::Port(const UsbSetup& setup, std::vector<uint8_t>* data) {
  uint8_t& port = ports_[static_cast<uint8_t>(setup.index)];
  if (setup.in()) {
    *data = {port};
  } else {
    port = static_cast<uint8_t>(setup.value);
  }
  return true;
}

bool Fx2Board::Registers(const UsbSetup& setup, std::vector<uint8_t>* data) {
  master_.Start();
  bool ok = master_.Send(slave_) && master_.Send(static_cast<uint8_t>(setup.value));
  for (const uint8_t byte : *data) ok = ok && master_.Send(byte);
  if (ok && setup.in()) {
    master_.Start();
    ok = master_.Send(slave_ | 1);
    if (ok) *data = {master_.Receive(false)};
  }
  master_.Stop();
  return ok;
}

// A read begins with a repeated start after a write without stop. Its message's last byte is
// answered with NACK.
bool Fx2Board::Block(const UsbSetup& setup, std::vector<uint8_t>* data) {
  const bool first = setup.request <= kReadFirst;
  const bool last = setup.request <= kReadMessage || setup.request >= kWriteLast;
  bool ok = setup.length <= kLongestBlock;
  if (ok && first) {
    master_.Start();
    ok = master_.Send(static_cast<uint8_t>(setup.value << 1 | (setup.in() ? 1 : 0)));
  }
  for (size_t i = 0; ok && i < setup.length; ++i) {
    if (setup.in()) {
      data->push_back(master_.Receive(!last || i + 1 < setup.length));
    } else {
      ok = master_.Send((*data)[i]);
    }
  }
  if (last || !ok) master_.Stop();
  return ok;
}

UsbResult Fx2Board::Transfer(uint8_t endpoint, std::span<uint8_t> bytes) {
  if (!Present()) return {UsbAnswer::kGone};
  const bool in = (endpoint & 0x80) != 0;
  if (endpoint == kIsochronousIn) std::iota(bytes.begin(), bytes.end(), uint8_t{0});
  if (endpoint == kIsochronousIn || endpoint == kIsochronousOut) {
    return {UsbAnswer::kDone, bytes.size()};  // whether or not anybody listens
  }
  if (!in && endpoint != kBulkOut && endpoint != kInterruptOut) return {UsbAnswer::kStall};
  std::deque<uint8_t>& pipe = pipes_[(endpoint == kBulkOut ? kBulkIn : endpoint) & 0x0F];
  const bool ready = in ? !pipe.empty() : FirmwareRuns();
  if (!ready || site_.faults.Strikes(FaultKind::kUsbTimeOut)) return {UsbAnswer::kSilent};
  if (site_.faults.Strikes(FaultKind::kUsbStall)) return {UsbAnswer::kStall};
  if (!in) {
    pipe.insert(pipe.end(), bytes.begin(), bytes.end());
    return {UsbAnswer::kDone, bytes.size()};
  }
  size_t count = std::min(bytes.size(), pipe.size());
  if (site_.faults.Strikes(FaultKind::kUsbShort)) count /= 2;
  const auto end = pipe.begin() + static_cast<ptrdiff_t>(count);
  std::copy(pipe.begin(), end, bytes.begin());
  pipe.erase(pipe.begin(), end);
  return {UsbAnswer::kDone, count};
}

}  // namespace brisk::sim
