#include <windows.h>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"
#include "platform/common/stdio_files.h"

namespace brisk::os {
namespace {

class WindowsFiles final : public StdioFiles {
 public:
  WindowsFiles() : StdioFiles("rb", "wb") {}

  std::string AbsolutePath(const char* path) override {
    char whole[MAX_PATH];
    const DWORD length = GetFullPathNameA(path, sizeof whole, whole, nullptr);
    return length == 0 || length >= sizeof whole ? path : std::string(whole, length);
  }
};

}  // namespace

Files& TheFiles() { return Permanent<WindowsFiles>(); }

}  // namespace brisk::os
