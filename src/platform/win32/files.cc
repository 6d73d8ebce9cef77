#include <cstdio>

#include "platform/win32/module.h"
#include "platform/win32/parts.h"

namespace brisk::win32 {
namespace {

class StreamFile final : public File {
 public:
  explicit StreamFile(std::FILE* stream) : stream_(stream) {}
  StreamFile(const StreamFile&) = delete;
  StreamFile& operator=(const StreamFile&) = delete;
  ~StreamFile() override { Close(); }

  size_t Read(void* buffer, size_t count) override {
    return stream_ != nullptr ? std::fread(buffer, 1, count, stream_) : 0;
  }
  size_t Write(const void* bytes, size_t count) override {
    return stream_ != nullptr ? std::fwrite(bytes, 1, count, stream_) : 0;
  }
  bool AtEnd() const override { return stream_ == nullptr || std::feof(stream_) != 0; }
  bool Close() override {
    if (stream_ == nullptr) return false;
    const bool intact = std::ferror(stream_) == 0;
    const bool closed = std::fclose(stream_) == 0;
    stream_ = nullptr;
    return intact && closed;
  }

 private:
  std::FILE* stream_;
};

std::unique_ptr<File> OpenStream(const char* path, const char* mode) {
  std::FILE* const stream = std::fopen(path, mode);
  return stream != nullptr ? std::make_unique<StreamFile>(stream) : nullptr;
}

class WindowsFiles final : public Files {
 public:
  std::unique_ptr<File> OpenForReading(const char* path) override { return OpenStream(path, "rb"); }
  std::unique_ptr<File> Create(const char* path) override { return OpenStream(path, "wb"); }
  bool Remove(const char* path) override { return std::remove(path) == 0; }
  std::string AbsolutePath(const char* path) override {
    char whole[MAX_PATH];
    const DWORD length = GetFullPathNameA(path, sizeof whole, whole, nullptr);
    return length == 0 || length >= sizeof whole ? path : std::string(whole, length);
  }
};

}  // namespace

Files& DiskFiles() {
  static WindowsFiles files;
  return files;
}

}  // namespace brisk::win32
