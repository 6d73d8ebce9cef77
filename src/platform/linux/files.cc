#include "platform/files.h"

#include <cstdio>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>

#include "platform/linux/never_destroyed.h"
#include "platform/linux/parts.h"

namespace brisk::linux_system {
namespace {

class StdioFile final : public File {
 public:
  explicit StdioFile(std::FILE* file) : file_(file) {}
  StdioFile(const StdioFile&) = delete;
  StdioFile& operator=(const StdioFile&) = delete;
  ~StdioFile() override { Close(); }

  size_t Read(void* buffer, size_t count) override {
    return file_ == nullptr ? 0 : std::fread(buffer, 1, count, file_);
  }
  size_t Write(const void* bytes, size_t count) override {
    if (file_ == nullptr) return 0;
    const size_t written = std::fwrite(bytes, 1, count, file_);
    lost_ = lost_ || written != count;
    return written;
  }
  bool AtEnd() const override { return file_ == nullptr || std::feof(file_) != 0; }
  bool Close() override {
    if (file_ == nullptr) return false;
    const bool closed = std::fclose(file_) == 0;
    file_ = nullptr;
    return closed && !lost_;
  }

 private:
  std::FILE* file_;
  bool lost_ = false;
};

std::unique_ptr<File> OpenFile(const char* path, const char* mode) {
  if (path == nullptr) return nullptr;
  std::FILE* file = std::fopen(path, mode);
  if (file == nullptr) return nullptr;
  auto opened = std::make_unique<StdioFile>(file);
  // A folder opens for reading, and then has neither bytes nor an end.
  struct stat facts {};
  if (fstat(fileno(file), &facts) != 0 || S_ISDIR(facts.st_mode)) return nullptr;
  return opened;
}

class StdioFiles final : public Files {
 public:
  std::unique_ptr<File> OpenForReading(const char* path) override { return OpenFile(path, "rbe"); }
  std::unique_ptr<File> Create(const char* path) override { return OpenFile(path, "wbe"); }
  bool Remove(const char* path) override { return path != nullptr && std::remove(path) == 0; }
  std::string AbsolutePath(const char* path) override {
    std::error_code failed;
    const std::filesystem::path whole = std::filesystem::absolute(path, failed);
    return failed ? path : whole.string();
  }
};

}  // namespace

Files& TheFiles() {
  static NeverDestroyed<StdioFiles> files;
  return *files;
}

}  // namespace brisk::linux_system
