#pragma once

#include <cstdint>

#include "base/progress.h"
#include "flash/link.h"
#include "platform/files.h"

namespace brisk::flash {

// Command sequences and file transfers of the board's serial NOR flash over a link. One object per
// back end: it owns that back end's progress and running flag. The functions are the SPI exports.
class Flash {
 public:
  Flash(Link& link, ProgressReporter& reporter) : link_(link), reporter_(reporter) {}
  Flash(const Flash&) = delete;
  Flash& operator=(const Flash&) = delete;

  uint32_t ReadId();
  void BulkErase();
  void EraseSector(uint32_t address);
  void WriteByte(uint32_t address, uint32_t data);
  void ReadByte(uint32_t address, uint32_t* data);
  uint32_t ProgramFromFile(uint32_t address, uint32_t maxSize, const char* path, bool erase);
  // A stopped transfer counts every byte that is in the file.
  uint32_t ProgramToFile(uint32_t address, uint32_t maxSize, const char* path);
  uint32_t progress() const { return progress_; }  // percent
  void Stop() { running_ = false; }

 private:
  void Begin();
  void End();
  // Selects and sends a command, leaving the flash selected.
  void Send(uint8_t command);
  void Send(uint8_t command, uint32_t address);
  void WriteEnable();
  void WaitUntilReady();
  uint32_t ProgramPage(uint32_t address, File& file);
  bool StopAsked(uint32_t done, uint32_t total);

  Link& link_;
  ProgressReporter& reporter_;
  uint32_t progress_ = 0;
  bool running_ = false;
};

}  // namespace brisk::flash
