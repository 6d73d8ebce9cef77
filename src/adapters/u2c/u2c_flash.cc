#include "adapters/u2c/u2c_flash.h"

#include <algorithm>
#include <array>

#include "adapters/u2c/silent_trace.h"
#include "base/user_message.h"
#include "flash/commands.h"
#include "platform/platform.h"

namespace brisk::u2c {

void U2cFlash::Prepare() {
  progress_ = 0;
  if (adapter_.connected()) return;
  adapter_.Connect();
  adapter_.SetFastestSpiClock();
  adapter_.MakeLineAnOutput();
}

void U2cFlash::SendByte(uint8_t byte) {
  if (!adapter_.SpiWrite(&byte, 1)) SilentTrace("SPIWriteByte Fail\n");
}

void U2cFlash::SendAddress(uint32_t address) {
  std::array<uint8_t, 3> bytes = {static_cast<uint8_t>(address >> 16),
                                  static_cast<uint8_t>(address >> 8),
                                  static_cast<uint8_t>(address)};
  if (!adapter_.SpiWrite(bytes.data(), bytes.size())) SilentTrace("spiwrite24adr Fail\n");
}

uint8_t U2cFlash::ReadByte() {
  uint8_t byte = 0;
  if (!adapter_.SpiRead(&byte)) SilentTrace("SPIReadByte Fail\n");
  return byte;
}

void U2cFlash::EraseSent() { platform().clock.Sleep(0); }

void U2cFlash::Waited(bool inTime) {
  if (!inTime) SilentTrace("System is still busy\n");
}

uint32_t U2cFlash::ReadId() {
  Prepare();
  return sequences_.ReadId();
}

void U2cFlash::BulkErase() {
  Prepare();
  sequences_.BulkErase();
}

void U2cFlash::EraseSector(uint32_t address) {
  Prepare();
  sequences_.EraseSector(address);
}

void U2cFlash::WriteByte(uint32_t address, uint32_t data) {
  BulkErase();
  sequences_.BeginProgram(address);
  SendByte(static_cast<uint8_t>(data));
  sequences_.EndProgram();
}

void U2cFlash::ReadByte(uint32_t address, uint32_t* data) {
  if (data == nullptr) return;
  Prepare();
  *data = sequences_.ReadByte(address);
}

uint32_t U2cFlash::ProgramFromFile(uint32_t address, uint32_t maxSize, const char* path,
                                   bool erase) {
  Prepare();
  const auto file = path != nullptr ? platform().files.OpenForReading(path) : nullptr;
  if (file == nullptr) {
    TellUser(kNoInputFile);
    progress_ = 100;
    return 0;
  }
  if (erase) sequences_.BulkErase();

  const uint64_t pages = (uint64_t{maxSize} + flash::kPageSize - 1) / flash::kPageSize;
  for (uint64_t page = 0; page < pages; ++page) {
    const auto offset = static_cast<uint32_t>(page * flash::kPageSize);
    std::array<uint8_t, flash::kPageSize> bytes{};
    const size_t read = file->Read(bytes.data(), bytes.size());
    std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(read), bytes.end(), uint8_t{0xFF});
    sequences_.BeginProgram(address + offset);
    for (const uint8_t byte : bytes) SendByte(byte);
    sequences_.EndProgram();
    progress_ = Percent(page, pages);
    const uint64_t done = uint64_t{offset} + flash::kPageSize;
    reporter_.Report(static_cast<uint32_t>(std::min<uint64_t>(done, maxSize)), maxSize);
  }
  progress_ = 100;
  return static_cast<uint32_t>(pages * flash::kPageSize);
}

uint32_t U2cFlash::ProgramToFile(uint32_t address, uint32_t maxSize, const char* path) {
  Prepare();
  const auto file = path != nullptr ? platform().files.Create(path) : nullptr;
  if (file == nullptr) {
    TellUser(kNoOutputFile);
    progress_ = 100;
    return 0;
  }
  sequences_.BeginRead(address);
  for (uint32_t done = 0; done < maxSize;) {
    const uint8_t byte = ReadByte();
    file->Write(&byte, 1);
    ++done;
    progress_ = Percent(done, maxSize);
    if (done % flash::kPageSize == 0 || done == maxSize) reporter_.Report(done, maxSize);
  }
  sequences_.EndRead();
  file->Close();
  progress_ = 100;
  return maxSize;
}

}  // namespace brisk::u2c
