#include "flash/link_flash.h"

#include <algorithm>

#include "flash/debug_lines.h"

namespace brisk::flash {

LinkFlash::LinkFlash(Link& link, Clock& clock, Files& files, CDebug& log,
                     ProgressReporter& reporter, const LinkForm& form)
    : link_(link),
      log_(log),
      form_(form),
      sequences_(link, clock),
      transfer_(*this, form_.files, files, log, reporter) {}

void LinkFlash::BeginOperation() {
  link_.Begin();
  if (form_.resetsProgress) transfer_.ResetProgress();
}

void LinkFlash::Init() {
  BeginOperation();
  link_.Rest();
}

Outcome<uint32_t> LinkFlash::ReadId() {
  BeginOperation();
  const uint32_t id = sequences_.ReadId();
  if (form_.logs) LogId(log_, id);
  return id;
}

void LinkFlash::BulkErase() {
  BeginOperation();
  sequences_.BulkErase();
}

void LinkFlash::EraseSector(uint32_t address) {
  BeginOperation();
  sequences_.EraseSector(address);
}

void LinkFlash::WriteByte(uint32_t address, uint32_t data) {
  if (form_.logs) LogWriteByte(log_, address, data);
  BeginOperation();
  if (form_.erasesChipForByte) {
    sequences_.BulkErase();
  } else {
    sequences_.EraseSector(address);
  }
  const auto byte = static_cast<uint8_t>(data);
  Program(address, {&byte, 1});
}

void LinkFlash::ReadByte(uint32_t address, uint32_t* data) {
  if (form_.logs) LogReadByte(log_, address);
  if (data == nullptr) return;
  BeginOperation();
  *data = sequences_.ReadByte(address);
}

Transferred LinkFlash::ProgramFromFile(uint32_t address, uint32_t maxSize, const char* path,
                                       bool erase) {
  BeginOperation();
  return transfer_.FromFile(address, maxSize, path, erase);
}

Transferred LinkFlash::ProgramToFile(uint32_t address, uint32_t maxSize, const char* path) {
  BeginOperation();
  return transfer_.ToFile(address, maxSize, path);
}

bool LinkFlash::Program(uint32_t address, Bytes bytes) {
  sequences_.BeginProgram(address);
  for (const uint8_t byte : bytes) link_.SendByte(byte);
  sequences_.EndProgram();
  return true;
}

bool LinkFlash::Read(uint32_t /*address*/, Buffer bytes) {
  std::generate(bytes.begin(), bytes.end(), [this] { return link_.ReadByte(); });
  return true;
}

}  // namespace brisk::flash
