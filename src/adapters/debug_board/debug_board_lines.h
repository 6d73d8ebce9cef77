#pragma once

#include <cstdint>

#include "adapters/debug_board/board_library.h"
#include "device/device.h"
#include "image/port_words.h"

namespace brisk::debug_board {

// The emulated parallel port with the picture port on it; every byte is an exchange, so a picture
// word of n bits costs 2 + 2 n of them. Its lines count as done whatever the board does. Without
// the board nothing is sent and outputs are left alone.
class DebugBoardLines final : public PortLines, public image::PortWords {
 public:
  explicit DebugBoardLines(BoardLibrary& library) : PortWords(base_), library_(library) {}

  Status Output(uint8_t value) override;
  Status Input(uint8_t* value) override;
  // The other lines stay as the port reads when the word begins, with bit 0 high.
  void SendWord(uint32_t bits, uint32_t value) override;

 private:
  void WritePort(uint8_t value) override { static_cast<void>(Output(value)); }

  BoardLibrary& library_;
  uint8_t base_ = 0;  // of the picture word under way
};

// The registers of the board's own controller, and the PLL behind it. Without the board nothing is
// sent and outputs are left alone.
class DebugBoardRegisters final : public PortRegisters, public ClockGenerator {
 public:
  explicit DebugBoardRegisters(BoardLibrary& library) : library_(library) {}

  Status WritePort(uint8_t port, uint8_t value) override;
  Status ReadPort(uint8_t port, uint8_t* value) override;
  // Done whatever the board does. Bits 23 to 16 of `e` are the board's: it expects a number of its
  // own there.
  Status WriteDividers(uint8_t a, uint8_t b, uint32_t c, uint32_t d, uint32_t e) override;

 private:
  BoardLibrary& library_;
};

}  // namespace brisk::debug_board
