#pragma once

#include <cstdint>

#include "base/status.h"

namespace brisk::flash {

// How much of a file transfer was done, and why it is not more where that is known.
struct [[nodiscard]] Transferred {
  uint32_t bytes = 0;
  Status status;
};

// The board's serial NOR flash as an adapter offers it. Erases and programs wait until the chip is
// ready, for at most 5 seconds, and then go on. Addresses are 24 bits. A null path is a file that
// cannot be opened, which the standard output is told.
class Flash {
 public:
  virtual ~Flash() = default;

  virtual void Init() {}  // the SPI pins or the adapter, where they need it
  virtual void Stop() {}  // asks a file transfer to end after the page under way, where it can

  virtual Outcome<uint32_t> ReadId() = 0;  // manufacturer << 16 | memory type << 8 | capacity
  virtual void BulkErase() = 0;
  virtual void EraseSector(uint32_t address) = 0;
  // The low 8 bits; the debug log shows all of them.
  virtual void WriteByte(uint32_t address, uint32_t data) = 0;
  // A null `data` is left out.
  virtual void ReadByte(uint32_t address, uint32_t* data) = 0;

  virtual Transferred ProgramFromFile(uint32_t address, uint32_t maxSize, const char* path,
                                      bool erase) = 0;
  virtual Transferred ProgramToFile(uint32_t address, uint32_t maxSize, const char* path) = 0;
  virtual uint32_t progress() const = 0;  // percent of the file transfer under way, or of the last

  virtual void SetClockRate(uint32_t /*kHz*/) {}
};

}  // namespace brisk::flash
