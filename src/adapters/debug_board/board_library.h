#pragma once

#include <cstdint>
#include <memory>

#include "brisk/brisk_types.h"

#include "contracts/debug_board.h"
#include "platform/libraries.h"

namespace brisk::usb {

// The closed library of the debug board, with the board and its two pipes. Loaded and opened once,
// when the process loads us: a board plugged in later is not found.
class BoardLibrary {
 public:
  BoardLibrary() = default;
  BoardLibrary(const BoardLibrary&) = delete;
  BoardLibrary& operator=(const BoardLibrary&) = delete;
  ~BoardLibrary() { Unload(); }

  // False when the library is absent or lacks one of its four functions.
  bool Load();
  // Opens the board and its pipes; false when no board answers.
  bool OpenBoard();
  // Closes what is open and frees the library.
  void Unload();

  bool loaded() const { return library_ != nullptr; }
  bool ready() const { return pipeOut_ != nullptr && pipeIn_ != nullptr; }

  // Command packet, data packet, status byte. Returns what the status read returned, whose bit 0
  // means success; the status byte itself says nothing. 0 without a board.
  uint32_t Exchange(Frame& frame);

 private:
  using OpenDev = void*(BRISK_CALL*)();
  using OpenPipe = void*(BRISK_CALL*)(const char* name);
  using Bulk = uint32_t(BRISK_CALL*)(void* pipe, void* buffer, uint32_t length, uint32_t* count);
  using Close = void(BRISK_CALL*)(void* handle);

  // By the system, or by a function that the library offers where its handles are its own.
  void CloseHandle(void*& handle);

  std::unique_ptr<DynamicLibrary> library_;
  OpenDev openDev_ = nullptr;
  OpenPipe openPipe_ = nullptr;
  Bulk bulkWrite_ = nullptr;  // on the second pipe it fetches the board's reply
  Bulk bulkRead_ = nullptr;
  void* device_ = nullptr;
  void* pipeOut_ = nullptr;
  void* pipeIn_ = nullptr;
};

}  // namespace brisk::usb
