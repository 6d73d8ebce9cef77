#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "platform/files.h"

namespace brisk {

// A file that is read from memory.
class MemoryFile : public File {
 public:
  explicit MemoryFile(std::vector<uint8_t> bytes) : bytes_(std::move(bytes)) {}

  size_t Read(void* buffer, size_t count) override {
    const size_t got = std::min(count, bytes_.size() - position_);
    if (got > 0) std::memcpy(buffer, bytes_.data() + position_, got);
    position_ += got;
    atEnd_ = atEnd_ || got < count;
    return got;
  }
  size_t Write(const void*, size_t) override { return 0; }
  bool AtEnd() const override { return atEnd_; }
  bool Close() override { return true; }

 private:
  const std::vector<uint8_t> bytes_;
  size_t position_ = 0;
  bool atEnd_ = false;
};

}  // namespace brisk
