#pragma once

#include <cstdint>

#include "flash/link.h"
#include "platform/clock.h"

namespace brisk::flash {

// The command sequences of the board's serial NOR flash over a link, without files and messages.
// Every erase and program waits until the flash is ready, for at most 5 seconds, and then goes on.
class Sequences {
 public:
  Sequences(Link& link, Clock& clock) : link_(link), clock_(clock) {}

  uint32_t ReadId();  // manufacturer << 16 | memory type << 8 | capacity
  void BulkErase();
  void EraseSector(uint32_t address);
  uint8_t ReadByte(uint32_t address);

  // One page program: data bytes go straight to the link between the two.
  void BeginProgram(uint32_t address);
  void EndProgram();
  // One read over any range: data bytes come from the link between the two.
  void BeginRead(uint32_t address);
  void EndRead() { link_.Deselect(); }

 private:
  // Selects and sends a command, leaving the flash selected.
  void Send(uint8_t command);
  void Send(uint8_t command, uint32_t address);
  void WriteEnable();
  void EndErase();
  void WaitUntilReady();

  Link& link_;
  Clock& clock_;
};

}  // namespace brisk::flash
