#include "platform/system.h"

#include <sys/mman.h>
#include <unistd.h>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"

namespace brisk::os {
namespace {

class LinuxSystem final : public System {
 public:
  uint32_t ProcessId() override { return static_cast<uint32_t>(getpid()); }
  bool IsNt() override { return true; }
  // There is no folder of driver images: no image is embedded either, so none is ever written.
  std::string SystemDirectory() override { return {}; }
  // Whole pages only: what lies around the memory is somebody else's.
  void ExpectFullUse(void* memory, size_t size) override {
    constexpr uintptr_t kPage = 4096;
    const uintptr_t before = (kPage - reinterpret_cast<uintptr_t>(memory) % kPage) % kPage;
    if (before >= size) return;
    madvise(static_cast<char*>(memory) + before, (size - before) / kPage * kPage, MADV_HUGEPAGE);
  }
};

// Port permission is asked of the kernel, not of an installed service.
class NoServices final : public Services {
 public:
  std::unique_ptr<ServiceManager> Connect() override { return nullptr; }
};

class NoResources final : public Resources {
 public:
  std::span<const uint8_t> Find(const char* /*name*/) override { return {}; }
};

class NoMessageQueue final : public MessageQueue {
 public:
  bool TakeStopRequest() override { return false; }
};

}  // namespace

System& TheSystem() { return Permanent<LinuxSystem>(); }

Services& TheServices() { return Permanent<NoServices>(); }

Resources& TheResources() { return Permanent<NoResources>(); }

MessageQueue& TheMessageQueue() { return Permanent<NoMessageQueue>(); }

}  // namespace brisk::os
