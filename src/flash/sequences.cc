#include "flash/sequences.h"

#include "flash/commands.h"

namespace brisk::flash {

void Sequences::Send(uint8_t command) {
  link_.Select();
  link_.SendByte(command);
}

void Sequences::Send(uint8_t command, uint32_t address) {
  Send(command);
  link_.SendAddress(address);
}

void Sequences::WriteEnable() {
  Send(kWriteEnable);
  link_.Deselect();
}

// One chip select for the whole poll: the flash repeats its status byte.
void Sequences::WaitUntilReady() {
  const uint32_t start = clock_.TickCount();
  Send(kReadStatus);
  uint8_t status = 0;
  uint32_t elapsed = 0;
  do {
    status = link_.ReadStatus();
    elapsed = clock_.TickCount() - start;
  } while ((status & kWriteInProgress) != 0 && elapsed <= kBusyLimit);
  link_.Deselect();
  link_.Waited(elapsed < kBusyLimit);
}

void Sequences::EndErase() {
  link_.Deselect();
  link_.EraseSent();
  WaitUntilReady();
}

void Sequences::BulkErase() {
  WriteEnable();
  Send(kBulkErase);
  EndErase();
}

void Sequences::EraseSector(uint32_t address) {
  WriteEnable();
  Send(kSectorErase, address);
  EndErase();
}

void Sequences::BeginProgram(uint32_t address) {
  WriteEnable();
  Send(kPageProgram, address);
}

void Sequences::EndProgram() {
  link_.Deselect();
  WaitUntilReady();
}

void Sequences::BeginRead(uint32_t address) { Send(kReadData, address); }

uint8_t Sequences::ReadByte(uint32_t address) {
  BeginRead(address);
  const uint8_t byte = link_.ReadByte();
  EndRead();
  return byte;
}

uint32_t Sequences::ReadId() {
  Send(kReadIdentification);
  uint32_t id = 0;
  for (int i = 0; i < 3; ++i) id = id << 8 | link_.ReadByte();
  link_.Deselect();
  return id;
}

}  // namespace brisk::flash
