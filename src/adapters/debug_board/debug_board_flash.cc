#include <algorithm>
#include <vector>

#include "adapters/debug_board/debug_board.h"
#include "base/debug.h"
#include "base/user_message.h"
#include "flash/commands.h"
#include "platform/platform.h"

namespace brisk::usb {
namespace {

constexpr uint32_t kPollInterval = 1;  // milliseconds

Frame Addressed(BoardCommand command, uint32_t address, size_t count = 0) {
  return Frame(command, {static_cast<uint8_t>(address >> 16), static_cast<uint8_t>(address >> 8),
                         static_cast<uint8_t>(address), static_cast<uint8_t>(count)});
}

// The first `limit` bytes of the file, or all of it when it is shorter or `limit` is 0.
std::vector<uint8_t> ReadFile(File& file, uint32_t limit) {
  constexpr size_t kChunk = 65536;
  std::vector<uint8_t> bytes;
  while (limit == 0 || bytes.size() < limit) {
    const size_t old = bytes.size();
    const size_t want = limit == 0 ? kChunk : std::min<size_t>(kChunk, limit - old);
    bytes.resize(old + want, 0xFF);
    const size_t got = file.Read(bytes.data() + old, want);
    bytes.resize(old + got);
    if (got < want) break;
  }
  return bytes;
}

}  // namespace

bool DebugBoardBackEnd::WaitForStatus(uint8_t mask, uint8_t wanted) {
  for (;;) {
    Frame frame(kFlashStatus);
    if (library_.Exchange(frame) == 0) return false;
    if ((frame.data[0] & mask) == wanted) return true;
    platform().clock.Sleep(kPollInterval);
  }
}

bool DebugBoardBackEnd::FlashEnable() {
  Send(Frame(kFlashEnable));
  return WaitForStatus(flash::kWriteEnableLatch, flash::kWriteEnableLatch);
}

void DebugBoardBackEnd::FlashCommand(Frame frame) {
  if (!library_.ready()) return;
  FlashEnable();
  library_.Exchange(frame);
  WaitForStatus(flash::kWriteInProgress, 0);
}

void DebugBoardBackEnd::SPIBulkErase() { FlashCommand(Frame(kFlashErase)); }

void DebugBoardBackEnd::SPISectorErase(uint32_t adr) { FlashCommand(Addressed(kFlashSector, adr)); }

bool DebugBoardBackEnd::ProgramPacket(uint32_t address, std::span<const uint8_t> bytes) {
  if (!FlashEnable()) return false;
  Frame frame = Addressed(kFlashProgram, address, bytes.size());
  std::copy(bytes.begin(), bytes.end(), frame.command.begin() + kProgramHeader);
  library_.Exchange(frame);
  return WaitForStatus(flash::kWriteInProgress, 0);
}

// Within one page.
bool DebugBoardBackEnd::ProgramRange(uint32_t address, std::span<const uint8_t> bytes) {
  while (!bytes.empty()) {
    const size_t count = std::min(bytes.size(), kProgramMax);
    if (!ProgramPacket(address, bytes.first(count))) return false;
    address += static_cast<uint32_t>(count);
    bytes = bytes.subspan(count);
  }
  return true;
}

bool DebugBoardBackEnd::ReadRange(uint32_t address, std::span<uint8_t> bytes) {
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

uint32_t DebugBoardBackEnd::SPIReadID() {
  if (!library_.ready()) return 0;
  Frame frame(kFlashId);
  library_.Exchange(frame);
  const uint32_t manufacturer = frame.data[0];
  const uint32_t type = frame.data[1];
  const uint32_t capacity = frame.data[2];
  debugLog.Print(0,
                 "SPIReadID, Manufacturer ID = 0x%x, Memory Type =0x%x,  Memory Capacity =0x%x\n",
                 manufacturer, type, capacity);
  return manufacturer << 16 | type << 8 | capacity;
}

void DebugBoardBackEnd::SPIWriteByte(uint32_t adr, uint32_t data) {
  debugLog.Print(0, "SPIWriteByte, adr = %x, data=%x\n", adr, data);
  if (!library_.ready()) return;
  const uint8_t bytes[] = {static_cast<uint8_t>(data)};
  ProgramRange(adr, bytes);
}

void DebugBoardBackEnd::SPIReadByte(uint32_t adr, uint32_t* data) {
  debugLog.Print(0, "SPIReadByte, adr = %x\n", adr);
  uint8_t byte = 0;
  if (data == nullptr || !ReadRange(adr, {&byte, 1})) return;
  *data = byte;
}

bool DebugBoardBackEnd::StopAsked(uint64_t done, uint64_t total) {
  progress_ = Percent(done, total);
  return reporter_.Report(static_cast<uint32_t>(done), static_cast<uint32_t>(total));
}

uint32_t DebugBoardBackEnd::ProgramPages(uint32_t address, std::span<const uint8_t> bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    const size_t at = address + done;
    const size_t count =
        std::min<size_t>(flash::kPageSize - at % flash::kPageSize, bytes.size() - done);
    if (!ProgramRange(static_cast<uint32_t>(at), bytes.subspan(done, count))) break;
    done += count;
    if (StopAsked(done, bytes.size())) break;
  }
  return static_cast<uint32_t>(done);
}

uint32_t DebugBoardBackEnd::SPIProgramFromFile(uint32_t adr, uint32_t maxsize, const char* szfile,
                                               uint32_t /*erase*/) {
  if (szfile == nullptr || !library_.ready()) return 0;
  debugLog.Print(0, "SPIProgramFromFile, adr = %x, maxsize=%x, szfile=%s\n", adr, maxsize, szfile);
  SPIBulkErase();
  const std::unique_ptr<File> file = platform().files.OpenForReading(szfile);
  if (file == nullptr) {
    TellUser(kNoInputFile);
    progress_ = 100;
    return 0;
  }
  debugLog.Print(0, "SPIProgramFromFile, adr = %x, maxsize=%x\n", adr, maxsize);
  const std::vector<uint8_t> bytes = ReadFile(*file, maxsize);
  progress_ = 0;
  const uint32_t done = ProgramPages(adr, bytes);
  progress_ = 100;
  return done;
}

uint32_t DebugBoardBackEnd::SPIProgramToFile(uint32_t adr, uint32_t maxsize, const char* szfile) {
  if (szfile == nullptr || !library_.ready()) return 0;
  progress_ = 0;
  debugLog.Print(0, "SPIProgramToFile, adr = %x, maxsize=%x, szfile=%s\n", adr, maxsize, szfile);
  const std::unique_ptr<File> file = platform().files.Create(szfile);
  if (file == nullptr) {
    TellUser(kNoOutputFile);
    progress_ = 100;
    return 0;
  }
  uint8_t chunk[flash::kPageSize];
  uint32_t done = 0;
  while (done < maxsize) {
    const uint32_t count = std::min<uint32_t>(sizeof chunk, maxsize - done);
    if (!ReadRange(adr + done, {chunk, count})) break;
    if (file->Write(chunk, count) != count) break;
    done += count;
    if (StopAsked(done, maxsize)) break;
  }
  file->Close();
  progress_ = 100;
  return done;
}

}  // namespace brisk::usb
