// The debug board's library by itself: the four functions under their own names, on a bench of its
// own. On Windows its handles are the system's, because that is what the library's users close.
#include "sim/adapters/debug_board/debug_board_adapter.h"
#include "sim/entry/stand_in.h"

#if defined(_WIN32)
#include <map>
#include <windows.h>
#endif

namespace {

#if defined(_WIN32)
std::map<void*, void*>& Handles() {
  static std::map<void*, void*> handles;  // the system's handle: what it stands for
  return handles;
}

void* Wrap(void* inside) {
  if (inside == nullptr || inside == INVALID_HANDLE_VALUE) return inside;
  void* handle = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  Handles()[handle] = inside;
  return handle;
}

void* Unwrap(void* handle) {
  const auto found = Handles().find(handle);
  return found == Handles().end() ? nullptr : found->second;
}
#else
void* Wrap(void* inside) { return inside; }
void* Unwrap(void* handle) { return handle; }
#endif

void Prepare() { brisk::sim::UseStandInBench("debug-board"); }

}  // namespace

BRISK_STAND_IN void* BRISK_CALL W6563_OpenDev(void) {
  Prepare();
  return Wrap(brisk::sim::WinIoOpenDev());
}

BRISK_STAND_IN void* BRISK_CALL W6563_OpenPipe(const char* name) {
  Prepare();
  return Wrap(brisk::sim::WinIoOpenPipe(name));
}

BRISK_STAND_IN uint32_t BRISK_CALL W6563_BulkWrite(void* pipe, void* buffer, uint32_t length,
                                                   uint32_t* count) {
  return brisk::sim::WinIoBulkWrite(Unwrap(pipe), buffer, length, count);
}

BRISK_STAND_IN uint32_t BRISK_CALL W6563_BulkRead(void* pipe, void* buffer, uint32_t length,
                                                  uint32_t* count) {
  return brisk::sim::WinIoBulkRead(Unwrap(pipe), buffer, length, count);
}

#if !defined(_WIN32)
BRISK_STAND_IN void W6563_CloseHandle(void* handle) { brisk::sim::WinIoCloseHandle(handle); }
#endif
