#include "adapters/debug_board/board_library.h"

#include <string>

#include "platform/platform.h"
#include "vendor/vendor_library.h"

namespace brisk::usb {
namespace {

constexpr const char* kLibraryName = "WinIo";
constexpr const char* kPipeOut = "PIPE00";
constexpr const char* kPipeIn = "PIPE01";

template <typename Function>
bool Bind(DynamicLibrary& library, const char* name, Function* function) {
  return BindFunction(library, kLibraryName, name, function);
}

// No board: every bit of the handle is set.
bool IsInvalid(const void* handle) { return ~reinterpret_cast<uintptr_t>(handle) == 0; }

}  // namespace

bool BoardLibrary::Load() {
  std::string whyNot;
  library_ = platform().libraries.Load(kLibraryName, &whyNot);
  if (library_ == nullptr) return false;
  const bool complete = Bind(*library_, "W6563_OpenDev", &openDev_) &&
                        Bind(*library_, "W6563_OpenPipe", &openPipe_) &&
                        Bind(*library_, "W6563_BulkWrite", &bulkWrite_) &&
                        Bind(*library_, "W6563_BulkRead", &bulkRead_);
  if (!complete) library_.reset();
  return complete;
}

bool BoardLibrary::OpenBoard() {
  void* device = openDev_();
  if (IsInvalid(device)) return false;
  device_ = device;
  pipeOut_ = openPipe_(kPipeOut);
  pipeIn_ = openPipe_(kPipeIn);
  return true;
}

void BoardLibrary::Unload() {
  if (library_ == nullptr) return;
  CloseHandle(device_);
  CloseHandle(pipeOut_);
  CloseHandle(pipeIn_);
  library_.reset();
}

void BoardLibrary::CloseHandle(void*& handle) {
  if (handle == nullptr) return;
  if (!library_->CloseSystemHandle(handle)) {
    Close close = nullptr;
    if (Bind(*library_, "W6563_CloseHandle", &close)) close(handle);
  }
  handle = nullptr;
}

uint32_t BoardLibrary::Exchange(Frame& frame) {
  if (!ready()) return 0;
  uint32_t count = 0;
  bulkWrite_(pipeOut_, frame.command.data(), kPacketSize, &count);
  bulkWrite_(frame.ToBoard() ? pipeOut_ : pipeIn_, frame.data.data(), kPacketSize, &count);
  uint8_t status = 0;
  return bulkRead_(pipeIn_, &status, 1, &count);
}

}  // namespace brisk::usb
