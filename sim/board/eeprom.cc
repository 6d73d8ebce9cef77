#include "sim/board/eeprom.h"

namespace brisk::sim {

bool Eeprom::Addressed(bool read) {
  if (clock_.Now() < busyUntil_) return false;
  wordAddressNext_ = !read;
  latched_ = 0;
  return true;
}

bool Eeprom::Receive(uint8_t byte) {
  if (wordAddressNext_) {
    wordAddress_ = byte;
    wordAddressNext_ = false;
    return true;
  }
  const unsigned offset = wordAddress_ % kPageSize;
  latch_[offset] = byte;
  latched_ = static_cast<uint8_t>(latched_ | 1U << offset);
  const unsigned page = wordAddress_ - offset;
  wordAddress_ = static_cast<uint8_t>(page + (offset + 1) % kPageSize);
  return true;
}

void Eeprom::Ended(bool stop) {
  if (latched_ == 0) return;
  const uint8_t latched = latched_;
  latched_ = 0;
  if (!stop) return;
  const unsigned page = wordAddress_ - wordAddress_ % kPageSize;
  for (unsigned i = 0; i < kPageSize; ++i) {
    if ((latched >> i & 1) != 0) memory_[page + i] = latch_[i];
  }
  busyUntil_ = clock_.Now() + kWriteCycleNs;
}

}  // namespace brisk::sim
