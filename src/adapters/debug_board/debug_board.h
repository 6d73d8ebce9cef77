#pragma once

#include "adapters/debug_board/board_library.h"
#include "adapters/debug_board/debug_board_flash.h"
#include "adapters/debug_board/debug_board_i2c.h"
#include "adapters/debug_board/debug_board_lines.h"
#include "device/device.h"
#include "device/host.h"
#include "i2c/channels.h"

namespace brisk::debug_board {

// The USB debug board. The board does the bus work; every operation is one or more exchanges of
// packets. Its port registers serve nearly every other device type as well.
//
// Without the board or its library every operation sends nothing, leaves its outputs alone and
// fails.
class DebugBoard {
 public:
  // `selectedPorts` are the port registers of whatever device type is selected: the values that the
  // board writes when it comes and goes reach that type's board.
  DebugBoard(const Host& host, PortRegisters& selectedPorts);
  DebugBoard(const DebugBoard&) = delete;
  DebugBoard& operator=(const DebugBoard&) = delete;

  // Loads the library and opens the board, with two port writes; one more and the closing at
  // detach. What is missing is told on the debug log. May block on the disk.
  void Attach();
  void Detach();

  const Device& device() const { return device_; }

 private:
  CDebug& log_;
  PortRegisters& selectedPorts_;
  BoardLibrary library_;
  DebugBoardI2c i2c_{library_};
  i2c::BusChannels channels_;
  DebugBoardFlash flash_;
  DebugBoardLines lines_{library_};
  DebugBoardRegisters registers_{library_};
  const Device device_;
};

}  // namespace brisk::debug_board
