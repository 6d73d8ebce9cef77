#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "contracts/debug_board.h"
#include "sim/adapters/adapter.h"
#include "sim/adapters/plugged.h"
#include "sim/board/board_master.h"
#include "sim/pc/connectors.h"

namespace brisk::sim {

// The USB debug board: what its firmware does with the packets on its two pipes. A command packet
// on pipe 0 is followed by a data packet, there or (for commands that answer) on pipe 1, and by a
// status byte on pipe 1: 0, or 1 after a command that the board does not know or a byte that no I2C
// device acknowledged. A transfer out of that order fails and the board waits for a command again,
// which a packet on pipe 0 in place of the reply's or status byte's transfer already is.
class DebugBoardAdapter final : public Adapter {
 public:
  DebugBoardAdapter(const Site& site, LibraryShelf& libraries);
  ~DebugBoardAdapter() override;

  // False once a fault has unplugged the board, for good.
  bool Present();
  // False when the transfer failed: no board, a stall, a time-out, or a packet out of order.
  bool WritePipe0(std::span<const uint8_t> packet);
  // The reply, or the status byte. The result is the bytes that came, 0 when the transfer failed.
  size_t ReadPipe1(std::span<uint8_t> packet);

 private:
  enum class Expects : uint8_t { kCommand, kData, kReply, kStatus };
  struct FlashCommand;
  static const FlashCommand kFlashCommands[];

  bool Answers();
  void CommandCame();
  // What a command packet asks for, with its data packet. False = status 1, here and below.
  bool Execute();
  bool WriteRegister();
  bool ReadRegister();
  bool Flash(const FlashCommand& command);
  // Steps that cannot be done where they stand count as failed; the script goes on.
  bool Script();
  bool ScriptStep(size_t at, bool reading, bool* end);

  const Site site_;
  LibraryShelf& libraries_;
  BoardMaster master_;
  Expects expects_ = Expects::kCommand;
  debug_board::Packet command_{};
  debug_board::Packet data_{};
  uint8_t status_ = 0;
  bool gone_ = false;
  std::array<uint8_t, 256> ports_{};
  uint8_t lptOutput_ = 0;  // as it left the board, mirrored
  const Plugged<DebugBoardAdapter> plugged_{*this};
};

// The functions of the board's library, WinIo, on the board that is plugged in.
std::vector<LibraryShelf::Symbol> WinIoSymbols();

}  // namespace brisk::sim
