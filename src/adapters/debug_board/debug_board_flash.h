#pragma once

#include <cstdint>

#include "adapters/debug_board/board_library.h"
#include "base/bytes.h"
#include "base/debug.h"
#include "base/progress.h"
#include "contracts/debug_board.h"
#include "flash/file_transfer.h"
#include "flash/flash.h"
#include "platform/clock.h"
#include "platform/files.h"

namespace brisk::debug_board {

// The flash beside the debug board's controller, which speaks SPI itself: this sends it commands of
// erase, program, read and status. Between two looks at the status pass 1 millisecond, and no limit
// is set to them; only an exchange that the library fails ends the wait.
//
// Without the board nothing is sent and every operation fails, file transfers before they look at
// the file. Files always replace the whole contents: the chip is erased before the file is opened.
// There is nothing to set up, no stop request and no clock.
class DebugBoardFlash final : public flash::Flash, private flash::Contents {
 public:
  DebugBoardFlash(BoardLibrary& library, Clock& clock, Files& files, CDebug& log,
                  ProgressReporter& reporter);
  DebugBoardFlash(const DebugBoardFlash&) = delete;
  DebugBoardFlash& operator=(const DebugBoardFlash&) = delete;

  Outcome<uint32_t> ReadId() override;
  void BulkErase() override;
  void EraseSector(uint32_t address) override;
  void WriteByte(uint32_t address, uint32_t data) override;  // erases nothing first
  // `data` is left alone when the byte cannot be read.
  void ReadByte(uint32_t address, uint32_t* data) override;

  flash::Transferred ProgramFromFile(uint32_t address, uint32_t maxSize, const char* path,
                                     bool erase) override;
  flash::Transferred ProgramToFile(uint32_t address, uint32_t maxSize, const char* path) override;
  uint32_t progress() const override { return transfer_.progress(); }

 private:
  // Whether a transfer can begin.
  Status Ready(const char* path) const;

  bool WaitForStatus(uint8_t mask, uint8_t wanted);
  bool EnableWrites();
  // An erase and the wait for it.
  void EraseWith(Frame command);
  bool ProgramPacket(uint32_t address, Bytes bytes);

  void Erase() override { BulkErase(); }
  bool Program(uint32_t address, Bytes bytes) override;
  bool Read(uint32_t address, Buffer bytes) override;

  BoardLibrary& library_;
  Clock& clock_;
  CDebug& log_;
  flash::FileTransfer transfer_;
};

}  // namespace brisk::debug_board
