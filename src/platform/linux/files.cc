#include <filesystem>
#include <system_error>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"
#include "platform/common/stdio_files.h"

namespace brisk::os {
namespace {

class LinuxFiles final : public StdioFiles {
 public:
  // "e": no program that this process starts inherits them.
  LinuxFiles() : StdioFiles("rbe", "wbe") {}

  std::string AbsolutePath(const char* path) override {
    std::error_code failed;
    const std::filesystem::path whole = std::filesystem::absolute(path, failed);
    return failed ? path : whole.string();
  }
};

}  // namespace

Files& TheFiles() { return Permanent<LinuxFiles>(); }

}  // namespace brisk::os
