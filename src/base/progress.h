#pragma once

#include <cstdint>

namespace brisk {

// 64-bit, so that sizes near 2^32 do not wrap. `total` is not 0.
inline uint32_t Percent(uint64_t done, uint64_t total) {
  return static_cast<uint32_t>(done * 100 / total);
}

// Told how far a long operation is: after every flash page or 256-byte chunk and after every
// picture row.
class ProgressReporter {
 public:
  virtual ~ProgressReporter() = default;
  // `done` of `total` units; true asks the operation to stop.
  virtual bool Report(uint32_t done, uint32_t total) = 0;
};

}  // namespace brisk
