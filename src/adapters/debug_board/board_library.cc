#include "adapters/debug_board/board_library.h"

namespace brisk::debug_board {
namespace {

enum Row : size_t { kOpenDev, kOpenPipe, kBulkWrite, kBulkRead };
constexpr vendor::Symbol kSymbols[] = {
    {"W6563_OpenDev"}, {"W6563_OpenPipe"}, {"W6563_BulkWrite"}, {"W6563_BulkRead"}};
constexpr vendor::LibraryContract kContract{.name = kLibraryName, .symbols = kSymbols};

constexpr char kCloseHandle[] = "W6563_CloseHandle";

// No board: every bit of the handle is set.
bool IsInvalid(const void* handle) { return ~reinterpret_cast<uintptr_t>(handle) == 0; }

}  // namespace

BoardLibrary::BoardLibrary(Libraries& libraries, CDebug& log)
    : library_(kContract, libraries, log), log_(log) {}

bool BoardLibrary::OpenBoard() {
  void* device = library_.Get<OpenDevFunction>(kOpenDev)();
  if (IsInvalid(device)) return false;
  device_ = device;
  const auto openPipe = library_.Get<OpenPipeFunction>(kOpenPipe);
  pipe0_ = openPipe(kPipe0);
  pipe1_ = openPipe(kPipe1);
  return true;
}

// The handles first: closing them may take the library's own function.
void BoardLibrary::Unload() {
  CloseHandle(device_);
  CloseHandle(pipe0_);
  CloseHandle(pipe1_);
  library_.Unload();
}

void BoardLibrary::CloseHandle(void*& handle) {
  if (handle == nullptr) return;
  if (!library_.CloseSystemHandle(handle)) {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast)
    const auto close = reinterpret_cast<CloseHandleFunction>(library_.Find(kCloseHandle));
    if (close != nullptr) {
      close(handle);
    } else {
      log_.Print(0, "%s lacks %s\n", kLibraryName, kCloseHandle);
    }
  }
  handle = nullptr;
}

uint32_t BoardLibrary::Exchange(Frame& frame) {
  if (!ready()) return 0;
  const auto bulkWrite = library_.Get<BulkFunction>(kBulkWrite);
  uint32_t count = 0;
  bulkWrite(pipe0_, frame.command.data(), kPacketSize, &count);
  bulkWrite(frame.ToBoard() ? pipe0_ : pipe1_, frame.data.data(), kPacketSize, &count);
  uint8_t status = 0;
  return library_.Get<BulkFunction>(kBulkRead)(pipe1_, &status, 1, &count);
}

Status BoardLibrary::Run(Frame& frame) {
  if (!ready()) return Cause::kNoAdapter;
  const uint32_t result = Exchange(frame);
  return (result & 1) != 0 ? Status::Done(result) : Status(Cause::kTransfer, result);
}

}  // namespace brisk::debug_board
