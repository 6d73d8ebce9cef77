#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"
#include "platform/win32/module.h"

namespace brisk::os {
namespace {

class ModuleData final : public Resources {
 public:
  std::span<const uint8_t> Find(const char* name) override {
    const LPCSTR rcData = MAKEINTRESOURCEA(10);
    HRSRC found = FindResourceA(OwnModule(), name, rcData);
    if (found == nullptr) return {};
    HGLOBAL loaded = LoadResource(OwnModule(), found);
    const void* bytes = loaded != nullptr ? LockResource(loaded) : nullptr;
    if (bytes == nullptr) return {};
    return {static_cast<const uint8_t*>(bytes), SizeofResource(OwnModule(), found)};
  }
};

}  // namespace

Resources& TheResources() { return Permanent<ModuleData>(); }

}  // namespace brisk::os
