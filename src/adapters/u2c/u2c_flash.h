#pragma once

#include <cstdint>

#include "adapters/u2c/u2c_adapter.h"
#include "base/progress.h"
#include "flash/link.h"
#include "flash/sequences.h"

namespace brisk::u2c {

// The flash over the adapter's SPI, with line 0 as chip select. What fails on the way is handed to
// the silent trace, and the operation goes on.
class U2cFlash : private flash::Link {
 public:
  U2cFlash(U2cAdapter& adapter, ProgressReporter& reporter)
      : adapter_(adapter), sequences_(*this), reporter_(reporter) {}
  U2cFlash(const U2cFlash&) = delete;
  U2cFlash& operator=(const U2cFlash&) = delete;

  // Before every operation: progress back to 0, and the adapter and its SPI made ready when it is
  // not connected.
  void Prepare();

  uint32_t ReadId();
  void BulkErase();
  void EraseSector(uint32_t address);
  // Erases the whole chip first.
  void WriteByte(uint32_t address, uint32_t data);
  void ReadByte(uint32_t address, uint32_t* data);
  // Whole pages only, filled with 0xFF past the end of the file; runs to its end whatever is asked.
  // Returns the bytes sent.
  uint32_t ProgramFromFile(uint32_t address, uint32_t maxSize, const char* path, bool erase);
  uint32_t ProgramToFile(uint32_t address, uint32_t maxSize, const char* path);
  uint32_t progress() const { return progress_; }

 private:
  void Select() override { adapter_.SetLine(false); }
  void Deselect() override { adapter_.SetLine(true); }
  void SendByte(uint8_t byte) override;
  void SendAddress(uint32_t address) override;
  uint8_t ReadByte() override;
  void EraseSent() override;
  void Waited(bool inTime) override;

  U2cAdapter& adapter_;
  flash::Sequences sequences_;
  ProgressReporter& reporter_;
  uint32_t progress_ = 0;  // percent
};

}  // namespace brisk::u2c
