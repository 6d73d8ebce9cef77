#include "flash/flash.h"

#include <algorithm>
#include <array>

#include "base/debug.h"
#include "base/user_message.h"
#include "flash/commands.h"
#include "platform/platform.h"

namespace brisk::flash {
namespace {

const char* Shown(const char* path) { return path != nullptr ? path : ""; }

}  // namespace

void Flash::WriteByte(uint32_t address, uint32_t data) {
  debugLog.Print(0, "SPIWriteByte, adr = %x, data=%x\n", address, data);
  sequences_.EraseSector(address);
  sequences_.BeginProgram(address);
  link_.SendByte(static_cast<uint8_t>(data));
  sequences_.EndProgram();
}

void Flash::ReadByte(uint32_t address, uint32_t* data) {
  debugLog.Print(0, "SPIReadByte, adr = %x\n", address);
  if (data != nullptr) *data = sequences_.ReadByte(address);
}

uint32_t Flash::ReadId() {
  const uint32_t id = sequences_.ReadId();
  debugLog.Print(0,
                 "SPIReadID, Manufacturer ID = 0x%x, Memory Type =0x%x,  Memory Capacity =0x%x\n",
                 id >> 16, id >> 8 & 0xFF, id & 0xFF);
  return id;
}

// The page program goes out even when the file has nothing left for it.
uint32_t Flash::ProgramPage(uint32_t address, File& file) {
  std::array<uint8_t, kPageSize> page{};
  sequences_.BeginProgram(address);
  const auto count = static_cast<uint32_t>(file.Read(page.data(), page.size()));
  for (uint32_t i = 0; i < count; ++i) link_.SendByte(page[i]);
  sequences_.EndProgram();
  return count;
}

uint32_t Flash::ProgramFromFile(uint32_t address, uint32_t maxSize, const char* path, bool erase) {
  debugLog.Print(0, "SPIProgramFromFile, adr = %x, maxsize=%x, szfile=%s\n", address, maxSize,
                 Shown(path));
  Begin();
  const auto file = path != nullptr ? platform().files.OpenForReading(path) : nullptr;
  if (file == nullptr) {
    TellUser(kNoInputFile);
    End();
    return 0;
  }
  debugLog.Print(0, "SPIProgramFromFile, adr = %x, maxsize=%x\n", address, maxSize);
  if (erase) BulkErase();

  const uint64_t pages = (uint64_t{maxSize} + kPageSize - 1) / kPageSize;
  uint32_t programmed = 0;
  for (uint64_t page = 0; page < pages; ++page) {
    const auto offset = static_cast<uint32_t>(page * kPageSize);
    programmed = offset + ProgramPage(address + offset, *file);
    progress_ = Percent(page, pages);
    if (StopAsked(programmed, maxSize) || file->AtEnd()) break;
  }
  End();
  return programmed;
}

// One read command covers the whole range.
uint32_t Flash::ProgramToFile(uint32_t address, uint32_t maxSize, const char* path) {
  Begin();
  debugLog.Print(0, "SPIProgramToFile, adr = %x, maxsize=%x, szfile=%s\n", address, maxSize,
                 Shown(path));
  const auto file = path != nullptr ? platform().files.Create(path) : nullptr;
  if (file == nullptr) {
    TellUser(kNoOutputFile);
    End();
    return 0;
  }
  sequences_.BeginRead(address);
  std::array<uint8_t, kPageSize> chunk{};
  uint32_t done = 0;
  while (done < maxSize) {
    const uint32_t count = std::min(kPageSize, maxSize - done);
    std::generate_n(chunk.begin(), count, [this] { return link_.ReadByte(); });
    file->Write(chunk.data(), count);
    progress_ = Percent(done, maxSize);
    done += count;
    if (StopAsked(done, maxSize)) break;
  }
  sequences_.EndRead();
  file->Close();
  End();
  return done;
}

void Flash::Begin() {
  progress_ = 0;
  running_ = true;
}

void Flash::End() {
  progress_ = 100;
  running_ = false;
}

bool Flash::StopAsked(uint32_t done, uint32_t total) {
  if (reporter_.Report(std::min(done, total), total)) running_ = false;
  return !running_;
}

}  // namespace brisk::flash
