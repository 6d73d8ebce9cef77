#include "sim/adapters/debug_board/debug_board_adapter.h"

#include <algorithm>
#include <cstring>
#include <mutex>

namespace brisk::sim {
namespace {

constexpr uint8_t kOut = 0x38;
constexpr uint8_t kIn = 0x3A;

// A full-speed bulk transfer of a packet, with its place in the frame.
constexpr uint64_t kTransferNs = 125'000;
// When the library gives a transfer up.
constexpr uint64_t kTimeOutNs = 1'000'000'000;

char device;
char pipes[2];

DebugBoardAdapter* Current() {
  return static_cast<DebugBoardAdapter*>(bench().adapter("debug-board"));
}

}  // namespace

DebugBoardAdapter::DebugBoardAdapter(Bench& bench)
    : bench_(bench), master_(bench.board(), bench.clock()) {
  const auto address = [](auto function) { return reinterpret_cast<void*>(function); };
  bench.libraries().Add("WinIo", {{"W6563_OpenDev", 0, address(WinIoOpenDev)},
                                  {"W6563_OpenPipe", 0, address(WinIoOpenPipe)},
                                  {"W6563_BulkWrite", 0, address(WinIoBulkWrite)},
                                  {"W6563_BulkRead", 0, address(WinIoBulkRead)},
                                  {"W6563_CloseHandle", 0, address(WinIoCloseHandle)}});
}

DebugBoardAdapter::~DebugBoardAdapter() { bench_.libraries().Remove("WinIo"); }

bool DebugBoardAdapter::Present() {
  if (bench_.faults().Strikes(FaultKind::kUsbUnplug)) gone_ = true;
  return !gone_;
}

// Whether a transfer takes place.
bool DebugBoardAdapter::Answers() {
  if (!Present() || bench_.faults().Strikes(FaultKind::kUsbStall)) return false;
  const bool silent = bench_.faults().Strikes(FaultKind::kUsbTimeOut);
  bench_.clock().Spend(silent ? kTimeOutNs : kTransferNs);
  return !silent;
}

bool DebugBoardAdapter::WritePipe0(std::span<const uint8_t> packet) {
  if (!Answers()) return false;
  const std::lock_guard lock(bench_.board().mutex());
  if (packet.size() != kPacket) {
    expects_ = Expects::kCommand;
    return false;
  }
  if (expects_ != Expects::kData) {
    std::copy(packet.begin(), packet.end(), command_.begin());
    data_.fill(0);
    status_ = 0;
    expects_ = command_[0] == kOut  ? Expects::kData
               : command_[0] == kIn ? Expects::kReply
                                    : Expects::kCommand;
    if (command_[0] == kIn) Execute();
    return expects_ != Expects::kCommand;
  }
  std::copy(packet.begin(), packet.end(), data_.begin());
  expects_ = Expects::kStatus;
  Execute();
  return true;
}

size_t DebugBoardAdapter::ReadPipe1(std::span<uint8_t> packet) {
  if (!Answers()) return 0;
  if (expects_ == Expects::kReply && packet.size() == kPacket) {
    const size_t count = bench_.faults().Strikes(FaultKind::kUsbShort) ? kPacket / 2 : kPacket;
    std::copy_n(data_.begin(), count, packet.begin());
    expects_ = Expects::kStatus;
    return count;
  }
  const bool status = expects_ == Expects::kStatus && packet.size() == 1;
  expects_ = Expects::kCommand;
  if (!status) return 0;
  packet[0] = bench_.faults().Strikes(FaultKind::kUsbStatus) ? 0xFF : status_;
  return 1;
}

void DebugBoardAdapter::Execute() {
  if (command_[1] <= 0x07 || command_[1] == 0x17) {
    Script();
  } else if (!Ports() && !Registers() && !Flash()) {
    status_ = 1;
  }
}

bool DebugBoardAdapter::Ports() {
  switch (command_[0] << 8 | command_[1]) {
    case 0x381A:
      ports_[command_[2]] = command_[3];
      return true;
    case 0x3A1B:
      data_[0] = ports_[command_[2]];
      return true;
    case 0x3824:
      // The port is laid on upside down: D1 and D6, the picture lines, are bits 6 and 1 here.
      lptOutput_ = command_[3];
      bench_.board().picture().Drive((lptOutput_ & 0x40) != 0, (lptOutput_ & 0x02) != 0);
      return true;
    case 0x3A25:
      data_[0] = lptOutput_;
      return true;
    case 0x3826:
      std::copy_n(command_.begin() + 3, pll_.size(), pll_.begin());
      return true;
    default:
      return false;
  }
}

bool DebugBoardAdapter::Registers() {
  if (command_[0] == kOut && command_[1] == 0x16) {
    master_.Start();
    const bool ok = master_.Send(data_[1]) && master_.Send(data_[3]) && master_.Send(data_[4]);
    master_.Stop();
    status_ = ok ? 0 : 1;
    return true;
  }
  if (command_[0] != kIn || command_[1] != 0x15) return false;
  master_.Start();
  bool ok = master_.Send(command_[2]) && master_.Send(command_[4]);
  master_.Start();
  ok = ok && master_.Send(command_[2] | 1);
  data_[1] = master_.Receive(false);
  master_.Stop();
  status_ = ok ? 0 : 1;
  return true;
}

void DebugBoardAdapter::FlashCommand(uint8_t code, bool withAddress) {
  master_.SelectFlash();
  master_.ExchangeSpi(code);
  for (size_t i = 2; withAddress && i < 5; ++i) master_.ExchangeSpi(command_[i]);
}

bool DebugBoardAdapter::Flash() {
  const size_t count = command_[5];
  switch (command_[0] << 8 | command_[1]) {
    case 0x381C:
      FlashCommand(0x06, false);
      break;
    case 0x3A1E:
      FlashCommand(0x05, false);
      data_[0] = master_.ExchangeSpi(0);
      break;
    case 0x3821:
      FlashCommand(0xC7, false);
      break;
    case 0x3820:
      FlashCommand(0xD8, true);
      break;
    case 0x381F:
      if (count > kPacket - 6) return false;
      FlashCommand(0x02, true);
      for (size_t i = 0; i < count; ++i) master_.ExchangeSpi(command_[6 + i]);
      break;
    case 0x3A1D:
      if (count > kPacket) return false;
      FlashCommand(0x03, true);
      for (size_t i = 0; i < count; ++i) data_[i] = master_.ExchangeSpi(0);
      break;
    case 0x3A22:
      FlashCommand(0x9F, false);
      for (size_t i = 0; i < 3; ++i) data_[i] = master_.ExchangeSpi(0);
      break;
    default:
      return false;
  }
  master_.DeselectFlash();
  return true;
}

// A script ends with 0x17, or with the packet.
void DebugBoardAdapter::Script() {
  bool end = false;
  for (size_t at = 1; at < kPacket && !end; ++at) {
    if (!ScriptStep(at, command_[0] == kIn, &end)) status_ = 1;
  }
}

bool DebugBoardAdapter::ScriptStep(size_t at, bool reading, bool* end) {
  switch (command_[at]) {
    case 0x00:
      master_.Start();
      return true;
    case 0x01:
      master_.Stop();
      return true;
    case 0x05:
      return !reading && master_.Send(data_[at]);
    case 0x06:  // with the 0x03 behind it
    case 0x07:
      if (!reading) return false;
      data_[at] = master_.Receive(command_[at] == 0x07);
      return true;
    case 0x03:
      return true;
    default:
      *end = true;
      return command_[at] == 0x17;
  }
}

std::unique_ptr<Adapter> MakeDebugBoard(Bench& bench, std::string* /*whyNot*/) {
  return std::make_unique<DebugBoardAdapter>(bench);
}

void* BRISK_CALL WinIoOpenDev() {
  DebugBoardAdapter* board = Current();
  if (board == nullptr || !board->Present()) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): what the library's users compare with
    return reinterpret_cast<void*>(~uintptr_t{0});
  }
  ++board->openHandles;
  return &device;
}

void* BRISK_CALL WinIoOpenPipe(const char* name) {
  DebugBoardAdapter* board = Current();
  if (board == nullptr || !board->Present()) return nullptr;
  const bool first = std::strcmp(name, "PIPE00") == 0;
  if (!first && std::strcmp(name, "PIPE01") != 0) return nullptr;
  ++board->openHandles;
  return &pipes[first ? 0 : 1];
}

uint32_t BRISK_CALL WinIoBulkWrite(void* pipe, void* buffer, uint32_t length, uint32_t* count) {
  DebugBoardAdapter* board = Current();
  auto* bytes = static_cast<uint8_t*>(buffer);
  *count = 0;
  if (board == nullptr) return 0;
  if (pipe == &pipes[0] && board->WritePipe0({bytes, length})) *count = length;
  if (pipe == &pipes[1]) *count = static_cast<uint32_t>(board->ReadPipe1({bytes, length}));
  return *count != 0 ? 1 : 0;
}

uint32_t BRISK_CALL WinIoBulkRead(void* pipe, void* buffer, uint32_t length, uint32_t* count) {
  DebugBoardAdapter* board = Current();
  *count = 0;
  if (board == nullptr || pipe != &pipes[1]) return 0;
  *count = static_cast<uint32_t>(board->ReadPipe1({static_cast<uint8_t*>(buffer), length}));
  return *count != 0 ? 1 : 0;
}

void BRISK_CALL WinIoCloseHandle(void* handle) {
  DebugBoardAdapter* board = Current();
  const bool known = handle == &device || handle == &pipes[0] || handle == &pipes[1];
  if (board != nullptr && known) --board->openHandles;
}

}  // namespace brisk::sim
