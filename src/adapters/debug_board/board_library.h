#pragma once

#include <cstdint>

#include "base/debug.h"
#include "base/status.h"
#include "contracts/debug_board.h"
#include "platform/libraries.h"
#include "vendor/library.h"

namespace brisk::debug_board {

// The closed library of the debug board, with the board and its two pipes. Loaded and opened once,
// when the process loads us: a board plugged in later is not found.
class BoardLibrary {
 public:
  BoardLibrary(Libraries& libraries, CDebug& log);
  BoardLibrary(const BoardLibrary&) = delete;
  BoardLibrary& operator=(const BoardLibrary&) = delete;
  ~BoardLibrary() { Unload(); }

  // False when the library is absent or lacks one of its four functions. May block on the disk.
  bool Load() { return library_.Load(); }
  // Opens the board and its pipes; false when no board answers.
  bool OpenBoard();
  // Closes what is open and frees the library.
  void Unload();

  bool loaded() const { return library_.loaded(); }
  bool ready() const { return pipe0_ != nullptr && pipe1_ != nullptr; }

  // Command packet, data packet, status byte; blocks for as long as the library does. Returns what
  // the status read returned, whose bit 0 means success; the status byte itself says nothing. 0
  // without a board, and then `frame` is left alone.
  uint32_t Exchange(Frame& frame);
  // The same as a status with that number.
  Status Run(Frame& frame);

 private:
  // By the system, or by a function that the library offers where its handles are its own.
  void CloseHandle(void*& handle);

  vendor::Library library_;
  CDebug& log_;
  void* device_ = nullptr;
  void* pipe0_ = nullptr;
  void* pipe1_ = nullptr;
};

}  // namespace brisk::debug_board
