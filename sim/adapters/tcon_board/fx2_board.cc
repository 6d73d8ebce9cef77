#include "sim/adapters/tcon_board/fx2_board.h"

#include <algorithm>
#include <mutex>

#include "sim/adapters/tcon_board/fx2_descriptors.h"

namespace brisk::sim {
namespace {

constexpr uint32_t kCpuControl = 0xE600;
constexpr uint32_t kScratchRam = 0xE000;
constexpr uint32_t kScratchRamEnd = 0xE200;
constexpr uint64_t kControlNs = 125'000;

// Where bytes sent to an OUT endpoint come back; by endpoint number.
constexpr uint8_t kLoopBulkOut = 2;
constexpr uint8_t kLoopBulkIn = 6;
constexpr uint8_t kIsochronousOut = 4;
constexpr uint8_t kIsochronousIn = 8;

}  // namespace

Fx2Board::Fx2Board(Bench& bench)
    : bench_(bench), master_(bench.board(), bench.clock()), ram_(kRamSize) {}

bool Fx2Board::Present() {
  if (bench_.faults().Strikes(FaultKind::kUsbUnplug)) gone_ = true;
  return !gone_;
}

UsbAnswer Fx2Board::Control(const UsbSetup& setup, std::vector<uint8_t>* data) {
  if (!Present()) return UsbAnswer::kGone;
  const std::lock_guard lock(bench_.board().mutex());
  bench_.clock().Spend(kControlNs);
  seen.push_back({setup, setup.in() ? std::vector<uint8_t>() : *data});
  if (seen.size() > kMostSeen) seen.pop_front();
  const bool vendor = (setup.requestType & 0x60) == 0x40;
  if (vendor && bench_.faults().Strikes(FaultKind::kUsbStall)) return UsbAnswer::kStall;
  if (vendor && bench_.faults().Strikes(FaultKind::kUsbTimeOut)) return UsbAnswer::kSilent;
  UsbAnswer answer = UsbAnswer::kStall;
  if (!vendor) {
    answer = Standard(setup, data);
  } else if (setup.request == 0xA0) {
    answer = LoadRam(setup, data);
  } else if (FirmwareRuns()) {
    answer = Vendor(setup, data);
  }
  if (!setup.in() || answer != UsbAnswer::kDone) return answer;
  data->resize(std::min<size_t>(data->size(), setup.length));
  if (vendor && !data->empty() && bench_.faults().Strikes(FaultKind::kUsbShort)) data->pop_back();
  return answer;
}

UsbAnswer Fx2Board::Standard(const UsbSetup& setup, std::vector<uint8_t>* data) {
  if (setup.requestType != 0x80 || setup.request != 6) return UsbAnswer::kStall;
  const auto index = static_cast<uint8_t>(setup.value);
  data->clear();
  switch (setup.value >> 8) {
    case 1:
      *data = Fx2DeviceDescriptor();
      break;
    case 2:
      if (index == 0) *data = Fx2ConfigDescriptor();
      break;
    case 3:
      *data = Fx2StringDescriptor(index);
      break;
    default:
      break;
  }
  return data->empty() ? UsbAnswer::kStall : UsbAnswer::kDone;
}

UsbAnswer Fx2Board::LoadRam(const UsbSetup& setup, std::vector<uint8_t>* data) {
  const uint32_t end = uint32_t{setup.value} + setup.length;
  if (!setup.in() && setup.value == kCpuControl) {
    if (data->size() != 1) return UsbAnswer::kStall;
    const bool hold = ((*data)[0] & 1) != 0;
    if (hold && !cpuHeld_) imageBytes_ = 0;
    cpuHeld_ = hold;
    return UsbAnswer::kDone;
  }
  const bool scratch = setup.value >= kScratchRam && end <= kScratchRamEnd;
  if (end > kInternalRamEnd && !scratch) return UsbAnswer::kStall;
  if (setup.in()) {
    data->assign(ram_.begin() + setup.value, ram_.begin() + end);
  } else {
    std::copy(data->begin(), data->end(), ram_.begin() + setup.value);
    imageBytes_ += data->size();
  }
  return UsbAnswer::kDone;
}

UsbAnswer Fx2Board::Vendor(const UsbSetup& setup, std::vector<uint8_t>* data) {
  const auto number = static_cast<uint8_t>(setup.index);
  bool ok = true;
  switch (setup.requestType << 8 | setup.request) {
    case 0x40A2:
      ok = WriteRegister(static_cast<uint8_t>(setup.value), *data);
      break;
    case 0x40A3:
      ok = setup.value >= kInternalRamEnd && setup.value + data->size() <= kScratchRam;
      if (ok) std::copy(data->begin(), data->end(), ram_.begin() + setup.value);
      break;
    case 0x40A4:
      slave_ = static_cast<uint8_t>(setup.value << 1);
      break;
    case 0xC0AE:
      ok = ReadRegister(static_cast<uint8_t>(setup.value), data);
      break;
    case 0x40AA:
      SetRate(100);
      break;
    case 0x40AB:
      SetRate(400);
      break;
    case 0x40B1:
    case 0x40B3:
    case 0x40B5:
    case 0x40B7:
      ok = BlockWrite(setup, *data);
      break;
    case 0xC0B2:
    case 0xC0B4:
    case 0xC0B6:
    case 0xC0B8:
      ok = BlockRead(setup, data);
      break;
    case 0x40C1:
      ports_[number] = static_cast<uint8_t>(setup.value);
      break;
    case 0xC0C2:
      *data = {ports_[number]};
      break;
    default:
      ok = false;
  }
  return ok ? UsbAnswer::kDone : UsbAnswer::kStall;
}

void Fx2Board::SetRate(unsigned kHz) {
  i2cRate_ = kHz;
  master_.SetI2cRate(kHz);
}

bool Fx2Board::WriteRegister(uint8_t address, const std::vector<uint8_t>& data) {
  master_.Start();
  bool ok = master_.Send(slave_) && master_.Send(address);
  for (const uint8_t byte : data) ok = ok && master_.Send(byte);
  master_.Stop();
  return ok;
}

bool Fx2Board::ReadRegister(uint8_t address, std::vector<uint8_t>* data) {
  master_.Start();
  bool ok = master_.Send(slave_) && master_.Send(address);
  if (ok) {
    master_.Start();
    ok = master_.Send(slave_ | 1);
  }
  if (ok) *data = {master_.Receive(false)};
  master_.Stop();
  return ok;
}

// 0xB1 and 0xB3 begin a message, 0xB1 and 0xB7 end it.
bool Fx2Board::BlockWrite(const UsbSetup& setup, const std::vector<uint8_t>& data) {
  const bool first = setup.request == 0xB1 || setup.request == 0xB3;
  const bool last = setup.request == 0xB1 || setup.request == 0xB7;
  bool ok = data.size() <= 64;
  if (ok && first) {
    master_.Start();
    ok = master_.Send(static_cast<uint8_t>(setup.value << 1));
  }
  for (const uint8_t byte : data) ok = ok && master_.Send(byte);
  if (last || !ok) master_.Stop();
  return ok;
}

// 0xB2 and 0xB4 begin the message with a repeated start after a write without stop; 0xB2 and 0xB8
// end it, and answer the last byte with NACK.
bool Fx2Board::BlockRead(const UsbSetup& setup, std::vector<uint8_t>* data) {
  const bool first = setup.request == 0xB2 || setup.request == 0xB4;
  const bool last = setup.request == 0xB2 || setup.request == 0xB8;
  bool ok = setup.length <= 64;
  if (ok && first) {
    master_.Start();
    ok = master_.Send(static_cast<uint8_t>(setup.value << 1 | 1));
  }
  data->clear();
  for (size_t i = 0; ok && i < setup.length; ++i) {
    data->push_back(master_.Receive(!last || i + 1 < setup.length));
  }
  if (last || !ok) master_.Stop();
  return ok;
}

UsbAnswer Fx2Board::Write(uint8_t endpoint, const std::vector<uint8_t>& bytes) {
  if (!Present()) return UsbAnswer::kGone;
  if (endpoint == kIsochronousOut) return UsbAnswer::kDone;  // nobody has to listen
  if (endpoint != kLoopBulkOut && endpoint != 1) return UsbAnswer::kStall;
  if (!FirmwareRuns() || bench_.faults().Strikes(FaultKind::kUsbTimeOut)) return UsbAnswer::kSilent;
  if (bench_.faults().Strikes(FaultKind::kUsbStall)) return UsbAnswer::kStall;
  std::deque<uint8_t>& pipe = pipes_[endpoint == kLoopBulkOut ? kLoopBulkIn : endpoint];
  pipe.insert(pipe.end(), bytes.begin(), bytes.end());
  return UsbAnswer::kDone;
}

UsbAnswer Fx2Board::Read(uint8_t endpoint, size_t most, std::vector<uint8_t>* bytes) {
  if (!Present()) return UsbAnswer::kGone;
  const uint8_t number = endpoint & 0x0F;
  if (number == kIsochronousIn) {
    bytes->resize(most);
    for (size_t i = 0; i < most; ++i) (*bytes)[i] = static_cast<uint8_t>(i);
    return UsbAnswer::kDone;
  }
  std::deque<uint8_t>& pipe = pipes_[number];
  if (pipe.empty() || bench_.faults().Strikes(FaultKind::kUsbTimeOut)) return UsbAnswer::kSilent;
  if (bench_.faults().Strikes(FaultKind::kUsbStall)) return UsbAnswer::kStall;
  size_t count = std::min(most, pipe.size());
  if (bench_.faults().Strikes(FaultKind::kUsbShort)) count /= 2;
  bytes->assign(pipe.begin(), pipe.begin() + static_cast<ptrdiff_t>(count));
  pipe.erase(pipe.begin(), pipe.begin() + static_cast<ptrdiff_t>(count));
  return UsbAnswer::kDone;
}

}  // namespace brisk::sim
