#pragma once

#include <cstdint>

#include "base/progress.h"
#include "flash/link.h"
#include "flash/sequences.h"
#include "platform/files.h"

namespace brisk::flash {

// The SPI exports over a link: single operations with their debug lines, and the file transfers.
// One object per back end: it owns that back end's progress and running flag.
class Flash {
 public:
  Flash(Link& link, ProgressReporter& reporter)
      : link_(link), sequences_(link), reporter_(reporter) {}
  Flash(const Flash&) = delete;
  Flash& operator=(const Flash&) = delete;

  uint32_t ReadId();
  void BulkErase() { sequences_.BulkErase(); }
  void EraseSector(uint32_t address) { sequences_.EraseSector(address); }
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
  uint32_t ProgramPage(uint32_t address, File& file);
  bool StopAsked(uint32_t done, uint32_t total);

  Link& link_;
  Sequences sequences_;
  ProgressReporter& reporter_;
  uint32_t progress_ = 0;
  bool running_ = false;
};

}  // namespace brisk::flash
