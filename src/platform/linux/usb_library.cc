#include "platform/linux/usb_library.h"

#include <mutex>

#include "base/debug.h"
#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"

namespace brisk::os {
namespace {

constexpr vendor::Symbol kSymbols[] = {
#define BRISK_ROW(name, ...) {"libusb_" #name},
    BRISK_LIBUSB_FUNCTIONS(BRISK_ROW)
#undef BRISK_ROW
};
constexpr vendor::LibraryContract kContract{.name = "usb-1.0", .symbols = kSymbols};

// The binder's lines go nowhere: a machine without boards need not hear of a library for them.
class Silence final : public DebugStream {
 public:
  void Write(const char* /*text*/) override {}
};

class SilentLog final : public CDebug {
 public:
  SilentLog() : CDebug(Permanent<Silence>()) {}
};

// Weak, so that the library goes when the last board is closed.
struct InUse {
  std::mutex mutex;
  std::weak_ptr<UsbLibrary> library;
};

}  // namespace

std::shared_ptr<UsbLibrary> UsbLibrary::Get() {
  InUse& inUse = Permanent<InUse>();
  const std::lock_guard lock(inUse.mutex);
  if (auto library = inUse.library.lock()) return library;
  auto library = std::make_shared<UsbLibrary>();
  if (!library->Start()) return nullptr;
  inUse.library = library;
  return library;
}

UsbLibrary::UsbLibrary() : library_(kContract, TheLibraries(), Permanent<SilentLog>()) {}

UsbLibrary::~UsbLibrary() {
  if (context_ != nullptr) exit(context_);
}

bool UsbLibrary::Start() {
  if (!library_.Load()) return false;
  size_t row = 0;
#define BRISK_ROW(name, ...) name = library_.Get<decltype(name)>(row++);
  BRISK_LIBUSB_FUNCTIONS(BRISK_ROW)
#undef BRISK_ROW
  return init(&context_) == 0;
}

}  // namespace brisk::os
