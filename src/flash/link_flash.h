#pragma once

#include <cstdint>

#include "base/debug.h"
#include "base/progress.h"
#include "flash/file_transfer.h"
#include "flash/flash.h"
#include "flash/link.h"
#include "flash/sequences.h"
#include "platform/clock.h"
#include "platform/files.h"

namespace brisk::flash {

// In what the flashes behind links differ.
struct LinkForm {
  FileForm files;
  bool logs = true;                // of single bytes and the identification, to the debug log
  bool erasesChipForByte = false;  // before a single byte is written; else the sector that holds it
  bool resetsProgress = false;     // with every operation; else with file transfers only
};

// The flash behind a link that moves single bytes.
class LinkFlash : public Flash, private Contents {
 public:
  LinkFlash(Link& link, Clock& clock, Files& files, CDebug& log, ProgressReporter& reporter,
            const LinkForm& form = {});
  LinkFlash(const LinkFlash&) = delete;
  LinkFlash& operator=(const LinkFlash&) = delete;

  void Init() override;
  void Stop() override { transfer_.Stop(); }

  Outcome<uint32_t> ReadId() override;
  void BulkErase() override;
  void EraseSector(uint32_t address) override;
  void WriteByte(uint32_t address, uint32_t data) override;
  void ReadByte(uint32_t address, uint32_t* data) override;

  Transferred ProgramFromFile(uint32_t address, uint32_t maxSize, const char* path,
                              bool erase) override;
  Transferred ProgramToFile(uint32_t address, uint32_t maxSize, const char* path) override;
  uint32_t progress() const override { return transfer_.progress(); }

 private:
  void BeginOperation();

  void Erase() override { sequences_.BulkErase(); }
  bool Program(uint32_t address, Bytes bytes) override;
  void BeginRead(uint32_t address) override { sequences_.BeginRead(address); }
  bool Read(uint32_t address, Buffer bytes) override;
  void EndRead() override { sequences_.EndRead(); }

  Link& link_;
  CDebug& log_;
  const LinkForm form_;
  Sequences sequences_;
  FileTransfer transfer_;
};

}  // namespace brisk::flash
