// One exchange on the two bulk pipes, in packets of 64 bytes:
//
//   to the board     pipe 0: command    pipe 0: data     pipe 1: status byte
//   from the board   pipe 0: command    pipe 1: reply    pipe 1: status byte
//
// A command packet begins with the direction (38 to the board, 3A from it) and a code; its
// parameters follow, addresses high byte first. Codes below 08 and 17 begin a script: an I2C
// primitive at every place from 1 on, with its byte at the same place of the data packet or reply.
// The board acts when it has both packets, or, for a reply, when it has the command.
#include "sim/adapters/debug_board/debug_board_adapter.h"

#include <algorithm>
#include <mutex>

#include "sim/board/nor_flash.h"
#include "sim/common/faults.h"

namespace brisk::sim {
namespace {

// A full-speed bulk transfer of a packet, with its place in the frame.
constexpr uint64_t kTransferNs = 125'000;
// When the library gives a transfer up.
constexpr uint64_t kTimeOutNs = 1'000'000'000;

// Places in a command packet.
constexpr size_t kCode = 1;
constexpr size_t kUnit = 2;     // device, register or unit
constexpr size_t kValue = 3;    // or the first of several
constexpr size_t kAddress = 2;  // of the flash, three bytes
constexpr size_t kCount = 5;
constexpr size_t kFlashData = debug_board::kProgramHeader;

// The port is laid on upside down: D1 and D6, the picture lines, are bits 6 and 1 here.
constexpr uint8_t kOne = 0x40;
constexpr uint8_t kZero = 0x02;

constexpr uint8_t kBrokenStatus = 0xFF;  // of a transfer that the host reports as failed

constexpr unsigned Word(debug_board::BoardCommand command) {
  return static_cast<unsigned>(command.direction) << 8 | command.code;
}

}  // namespace

// Each is one selection of the flash.
struct DebugBoardAdapter::FlashCommand {
  debug_board::BoardCommand command;
  NorFlash::Instruction instruction;
  bool address;
  bool counted;    // byte 5 says how many bytes follow, to the flash or from it
  uint8_t answer;  // bytes from the flash where they are not counted
};

const DebugBoardAdapter::FlashCommand DebugBoardAdapter::kFlashCommands[] = {
    {debug_board::kFlashEnable, NorFlash::kWriteEnable, false, false, 0},
    {debug_board::kFlashStatus, NorFlash::kReadStatus, false, false, 1},
    {debug_board::kFlashErase, NorFlash::kChipErase, false, false, 0},
    {debug_board::kFlashSector, NorFlash::kSectorErase, true, false, 0},
    {debug_board::kFlashProgram, NorFlash::kPageProgram, true, true, 0},
    {debug_board::kFlashRead, NorFlash::kReadData, true, true, 0},
    {debug_board::kFlashId, NorFlash::kReadIdentification, false, false, 3},
};

DebugBoardAdapter::DebugBoardAdapter(const Site& site, LibraryShelf& libraries)
    : site_(site), libraries_(libraries), master_(site.board, site.clock) {
  libraries_.Add(debug_board::kLibraryName, WinIoSymbols());
}

DebugBoardAdapter::~DebugBoardAdapter() { libraries_.Remove(debug_board::kLibraryName); }

bool DebugBoardAdapter::Present() {
  if (site_.faults.Strikes(FaultKind::kUsbUnplug)) gone_ = true;
  return !gone_;
}

// Whether a transfer takes place.
bool DebugBoardAdapter::Answers() {
  if (!Present() || site_.faults.Strikes(FaultKind::kUsbStall)) return false;
  const bool silent = site_.faults.Strikes(FaultKind::kUsbTimeOut);
  site_.clock.Spend(silent ? kTimeOutNs : kTransferNs);
  return !silent;
}

bool DebugBoardAdapter::WritePipe0(std::span<const uint8_t> packet) {
  if (!Answers()) return false;
  const std::lock_guard lock(site_.board.mutex());
  if (packet.size() != debug_board::kPacketSize) {
    expects_ = Expects::kCommand;
    return false;
  }
  if (expects_ != Expects::kData) {
    std::copy(packet.begin(), packet.end(), command_.begin());
    CommandCame();
    return expects_ != Expects::kCommand;
  }
  std::copy(packet.begin(), packet.end(), data_.begin());
  expects_ = Expects::kStatus;
  status_ = Execute() ? 0 : 1;
  return true;
}

void DebugBoardAdapter::CommandCame() {
  data_.fill(0);
  status_ = 0;
  switch (debug_board::Direction{command_[0]}) {
    case debug_board::Direction::kToBoard:
      expects_ = Expects::kData;
      break;
    case debug_board::Direction::kFromBoard:
      expects_ = Expects::kReply;
      status_ = Execute() ? 0 : 1;
      break;
    default:
      expects_ = Expects::kCommand;
  }
}

size_t DebugBoardAdapter::ReadPipe1(std::span<uint8_t> packet) {
  if (!Answers()) return 0;
  if (expects_ == Expects::kReply && packet.size() == debug_board::kPacketSize) {
    const bool isShort = site_.faults.Strikes(FaultKind::kUsbShort);
    const size_t count = isShort ? debug_board::kPacketSize / 2 : debug_board::kPacketSize;
    std::copy_n(data_.begin(), count, packet.begin());
    expects_ = Expects::kStatus;
    return count;
  }
  const bool status = expects_ == Expects::kStatus && packet.size() == 1;
  expects_ = Expects::kCommand;
  if (!status) return 0;
  packet[0] = site_.faults.Strikes(FaultKind::kUsbStatus) ? kBrokenStatus : status_;
  return 1;
}

bool DebugBoardAdapter::Execute() {
  const unsigned word = unsigned{command_[0]} << 8 | command_[kCode];
  for (const FlashCommand& each : kFlashCommands) {
    if (word == Word(each.command)) return Flash(each);
  }
  switch (word) {
    case Word(debug_board::kPortWrite):
      ports_[command_[kUnit]] = command_[kValue];
      return true;
    case Word(debug_board::kPortRead):
      data_[0] = ports_[command_[kUnit]];
      return true;
    case Word(debug_board::kLptOutput):
      lptOutput_ = command_[kValue];
      site_.board.picture().Drive((lptOutput_ & kOne) != 0, (lptOutput_ & kZero) != 0);
      return true;
    case Word(debug_board::kLptInput):
      data_[0] = lptOutput_;
      return true;
    case Word(debug_board::kPllWrite):
      return true;  // nothing shows it
    case Word(debug_board::kI2cRegWrite):
      return WriteRegister();
    case Word(debug_board::kI2cRegRead):
      return ReadRegister();
    default:
      return Script();
  }
}

// Device, register and value stand in the data packet.
bool DebugBoardAdapter::WriteRegister() {
  master_.Start();
  const bool ok = master_.Send(data_[1]) && master_.Send(data_[3]) && master_.Send(data_[4]);
  master_.Stop();
  return ok;
}

bool DebugBoardAdapter::ReadRegister() {
  const uint8_t device = command_[kUnit];
  master_.Start();
  bool ok = master_.Send(device) && master_.Send(command_[4]);
  master_.Start();
  ok = ok && master_.Send(device | 1);
  data_[1] = master_.Receive(false);
  master_.Stop();
  return ok;
}

bool DebugBoardAdapter::Flash(const FlashCommand& command) {
  const bool sends = command.command.direction == debug_board::Direction::kToBoard;
  const size_t count = command.counted ? command_[kCount] : command.answer;
  if (count > (sends ? debug_board::kProgramMax : debug_board::kReadMax)) return false;
  master_.SelectFlash();
  master_.ExchangeSpi(command.instruction);
  for (size_t i = 0; command.address && i < 3; ++i) master_.ExchangeSpi(command_[kAddress + i]);
  for (size_t i = 0; i < count; ++i) {
    const uint8_t in = master_.ExchangeSpi(sends ? command_[kFlashData + i] : uint8_t{0});
    if (!sends) data_[i] = in;
  }
  master_.DeselectFlash();
  return true;
}

// Ends with an end code, or with the packet.
bool DebugBoardAdapter::Script() {
  const bool reading = command_[0] == static_cast<uint8_t>(debug_board::Direction::kFromBoard);
  bool done = true;
  bool end = false;
  for (size_t at = debug_board::script::kFirst; at < debug_board::script::kFull && !end; ++at) {
    done = ScriptStep(at, reading, &end) && done;
  }
  return done;
}

bool DebugBoardAdapter::ScriptStep(size_t at, bool reading, bool* end) {
  switch (command_[at]) {
    case debug_board::script::kStart:
      master_.Start();
      return true;
    case debug_board::script::kStop:
      master_.Stop();
      return true;
    case debug_board::script::kSend:
      return !reading && master_.Send(data_[at]);
    case debug_board::script::kReadLast:  // with the missing acknowledge behind it
    case debug_board::script::kRead:
      if (!reading) return false;
      data_[at] = master_.Receive(command_[at] == debug_board::script::kRead);
      return true;
    case debug_board::script::kNoAcknowledge:
      return true;
    default:
      *end = true;
      return command_[at] == debug_board::script::kEnd;
  }
}

}  // namespace brisk::sim
