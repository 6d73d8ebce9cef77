#pragma once

#include <array>
#include <cstdint>

#include "base/bytes.h"

namespace brisk::ftdi {

// MPSSE commands waiting for a flush. The longest sequence between two flushes is far below the
// size; should one ever be longer, the queue takes no more and says so, and the flush fails.
class CommandQueue {
 public:
  static constexpr uint32_t kSize = 0x20000;

  void Clear() {
    count_ = 0;
    overflowed_ = false;
  }
  void Append(uint8_t byte) {
    if (count_ == kSize) [[unlikely]] {
      overflowed_ = true;
      return;
    }
    bytes_[count_++] = byte;
  }
  bool overflowed() const { return overflowed_; }
  Bytes bytes() const { return {bytes_.data(), count_}; }

 private:
  uint32_t count_ = 0;
  bool overflowed_ = false;
  std::array<uint8_t, kSize> bytes_;
};

}  // namespace brisk::ftdi
