#include "platform/common/stdio_files.h"

#include <cstdio>
#include <sys/stat.h>

namespace brisk::os {
namespace {

// A short write is remembered: the stream's own error flag would count failed reads too.
class StdioFile final : public File {
 public:
  explicit StdioFile(std::FILE* file) : file_(file) {}
  StdioFile(const StdioFile&) = delete;
  StdioFile& operator=(const StdioFile&) = delete;
  ~StdioFile() override { Close(); }

  size_t Read(void* buffer, size_t count) override {
    return file_ != nullptr ? std::fread(buffer, 1, count, file_) : 0;
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
  std::FILE* const file = path != nullptr ? std::fopen(path, mode) : nullptr;
  if (file == nullptr) return nullptr;
  auto opened = std::make_unique<StdioFile>(file);
  // Where a folder opens for reading it has neither bytes nor an end.
  struct stat facts {};
  if (fstat(fileno(file), &facts) == 0 && S_ISDIR(facts.st_mode)) return nullptr;
  return opened;
}

}  // namespace

std::unique_ptr<File> StdioFiles::OpenForReading(const char* path) {
  return OpenFile(path, readMode_);
}

std::unique_ptr<File> StdioFiles::Create(const char* path) { return OpenFile(path, createMode_); }

bool StdioFiles::Remove(const char* path) { return path != nullptr && std::remove(path) == 0; }

}  // namespace brisk::os
