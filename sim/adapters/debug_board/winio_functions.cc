// Opening the device is of use for one thing: where it fails, with INVALID_HANDLE_VALUE, there is
// no board. Pipes are opened by name. A bulk transfer returns 1 when bytes moved, and how many; the
// status byte of an exchange comes through BulkRead.
#include <cstring>

#include "sim/adapters/debug_board/debug_board_adapter.h"
#include "sim/adapters/vendor_function.h"

#if defined(_WIN32)
#include <map>
#include <windows.h>
#endif

namespace brisk::sim {
namespace {

using Boards = Plugged<DebugBoardAdapter>;

// What a handle stands for. On Windows the handles themselves are the system's, because that is
// what users of the real library close.
char device;
char pipes[2];

#if defined(_WIN32)
std::map<void*, void*>& Handles() {
  static std::map<void*, void*> handles;  // the system's handle: what it stands for
  return handles;
}

void* Wrap(void* inside) {
  void* handle = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  Handles()[handle] = inside;
  return handle;
}

void* Unwrap(void* handle) {
  const auto found = Handles().find(handle);
  return found == Handles().end() ? nullptr : found->second;
}

void Close(void* handle) {
  Handles().erase(handle);
  CloseHandle(handle);
}
#else
void* Wrap(void* inside) { return inside; }
void* Unwrap(void* handle) { return handle; }
void Close(void* /*handle*/) {}
#endif

}  // namespace

BRISK_VENDOR_FUNCTION void* BRISK_CALL W6563_OpenDev() {
  const auto board = Boards::Last();
  if (board != nullptr && board->Present()) return Wrap(&device);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): what the library's users compare with
  return reinterpret_cast<void*>(~uintptr_t{0});
}

BRISK_VENDOR_FUNCTION void* BRISK_CALL W6563_OpenPipe(const char* name) {
  const auto board = Boards::Last();
  if (board == nullptr || !board->Present()) return nullptr;
  if (std::strcmp(name, debug_board::kPipe0) == 0) return Wrap(&pipes[0]);
  return std::strcmp(name, debug_board::kPipe1) == 0 ? Wrap(&pipes[1]) : nullptr;
}

// Moves data in the direction of its pipe.
BRISK_VENDOR_FUNCTION uint32_t BRISK_CALL W6563_BulkWrite(void* handle, void* buffer,
                                                          uint32_t length, uint32_t* count) {
  const auto board = Boards::Last();
  const void* pipe = Unwrap(handle);
  *count = 0;
  if (board == nullptr) return 0;
  const std::span packet(static_cast<uint8_t*>(buffer), length);
  if (pipe == &pipes[0] && board->WritePipe0(packet)) *count = length;
  if (pipe == &pipes[1]) *count = static_cast<uint32_t>(board->ReadPipe1(packet));
  return *count != 0 ? 1 : 0;
}

BRISK_VENDOR_FUNCTION uint32_t BRISK_CALL W6563_BulkRead(void* handle, void* buffer,
                                                         uint32_t length, uint32_t* count) {
  *count = 0;
  return Unwrap(handle) == &pipes[1] ? W6563_BulkWrite(handle, buffer, length, count) : 0;
}

BRISK_VENDOR_FUNCTION void BRISK_CALL W6563_CloseHandle(void* handle) {
  const void* inside = Unwrap(handle);
  if (inside != &device && inside != &pipes[0] && inside != &pipes[1]) return;
  Close(handle);
}

std::vector<LibraryShelf::Symbol> WinIoSymbols() {
  return {LibraryShelf::Named("W6563_OpenDev", W6563_OpenDev),
          LibraryShelf::Named("W6563_OpenPipe", W6563_OpenPipe),
          LibraryShelf::Named("W6563_BulkWrite", W6563_BulkWrite),
          LibraryShelf::Named("W6563_BulkRead", W6563_BulkRead),
          LibraryShelf::Named("W6563_CloseHandle", W6563_CloseHandle)};
}

}  // namespace brisk::sim
