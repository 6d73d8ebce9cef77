// Every operation is one exchange of packets or more. An erase or a program is three: write enable,
// with the status read until its latch is set; the command; the status read until it is not busy.
#include "adapters/debug_board/debug_board_flash.h"

#include <algorithm>

#include "flash/commands.h"
#include "flash/debug_lines.h"

namespace brisk::debug_board {
namespace {

constexpr uint32_t kPollInterval = 1;  // milliseconds

// The board knows no file: what goes to it has the file's own length and keeps to pages.
constexpr flash::FileForm kForm{
    .erasesFirst = true,
    .readsAhead = true,
    .countsProgrammed = true,
    .countsRead = true,
    .checksWrites = true,
};

// Addresses travel as 24 bits, the count beside them where a command has one.
Frame Addressed(BoardCommand command, uint32_t address, size_t count = 0) {
  return Frame(command, {ByteOf(address, 2), ByteOf(address, 1), ByteOf(address, 0),
                         static_cast<uint8_t>(count)});
}

}  // namespace

DebugBoardFlash::DebugBoardFlash(BoardLibrary& library, Clock& clock, Files& files, CDebug& log,
                                 ProgressReporter& reporter)
    : library_(library), clock_(clock), log_(log), transfer_(*this, kForm, files, log, reporter) {}

Outcome<uint32_t> DebugBoardFlash::ReadId() {
  if (!library_.ready()) return Cause::kNoAdapter;
  Frame frame(kFlashId);
  library_.Exchange(frame);
  const uint32_t id = uint32_t{frame.data[0]} << 16 | frame.data[1] << 8 | frame.data[2];
  flash::LogId(log_, id);
  return id;
}

void DebugBoardFlash::BulkErase() { EraseWith(Frame(kFlashErase)); }

void DebugBoardFlash::EraseSector(uint32_t address) { EraseWith(Addressed(kFlashSector, address)); }

void DebugBoardFlash::WriteByte(uint32_t address, uint32_t data) {
  flash::LogWriteByte(log_, address, data);
  if (!library_.ready()) return;
  const auto byte = static_cast<uint8_t>(data);
  Program(address, {&byte, 1});
}

void DebugBoardFlash::ReadByte(uint32_t address, uint32_t* data) {
  flash::LogReadByte(log_, address);
  uint8_t byte = 0;
  if (data != nullptr && Read(address, {&byte, 1})) *data = byte;
}

flash::Transferred DebugBoardFlash::ProgramFromFile(uint32_t address, uint32_t maxSize,
                                                    const char* path, bool erase) {
  const Status ready = Ready(path);
  return ready.ok() ? transfer_.FromFile(address, maxSize, path, erase)
                    : flash::Transferred{0, ready};
}

flash::Transferred DebugBoardFlash::ProgramToFile(uint32_t address, uint32_t maxSize,
                                                  const char* path) {
  const Status ready = Ready(path);
  return ready.ok() ? transfer_.ToFile(address, maxSize, path) : flash::Transferred{0, ready};
}

Status DebugBoardFlash::Ready(const char* path) const {
  if (path == nullptr) return Cause::kBadArgument;
  return library_.ready() ? Status() : Cause::kNoAdapter;
}

bool DebugBoardFlash::WaitForStatus(uint8_t mask, uint8_t wanted) {
  for (;;) {
    Frame frame(kFlashStatus);
    if (library_.Exchange(frame) == 0) return false;
    if ((frame.data[0] & mask) == wanted) return true;
    clock_.Sleep(kPollInterval);
  }
}

bool DebugBoardFlash::EnableWrites() {
  Frame frame(kFlashEnable);
  library_.Exchange(frame);
  return WaitForStatus(flash::kWriteEnableLatch, flash::kWriteEnableLatch);
}

// The command follows even when the board did not say that it may.
void DebugBoardFlash::EraseWith(Frame command) {
  if (!library_.ready()) return;
  EnableWrites();
  library_.Exchange(command);
  WaitForStatus(flash::kWriteInProgress, 0);
}

bool DebugBoardFlash::ProgramPacket(uint32_t address, Bytes bytes) {
  if (!EnableWrites()) return false;
  Frame frame = Addressed(kFlashProgram, address, bytes.size());
  std::copy(bytes.begin(), bytes.end(), frame.command.begin() + kProgramHeader);
  library_.Exchange(frame);
  return WaitForStatus(flash::kWriteInProgress, 0);
}

// A packet carries 58 bytes beside its header, so a page is five of them, each with its own write
// enable and wait.
bool DebugBoardFlash::Program(uint32_t address, Bytes bytes) {
  while (!bytes.empty()) {
    const size_t count = std::min(bytes.size(), kProgramMax);
    if (!ProgramPacket(address, bytes.first(count))) return false;
    address += static_cast<uint32_t>(count);
    bytes = bytes.subspan(count);
  }
  return true;
}

bool DebugBoardFlash::Read(uint32_t address, Buffer bytes) {
  while (!bytes.empty()) {
    const size_t count = std::min(bytes.size(), kReadMax);
    Frame frame = Addressed(kFlashRead, address, count);
    if (library_.Exchange(frame) == 0) return false;
    std::copy_n(frame.data.begin(), count, bytes.begin());
    address += static_cast<uint32_t>(count);
    bytes = bytes.subspan(count);
  }
  return true;
}

}  // namespace brisk::debug_board
