#pragma once

#include <cstdint>

namespace brisk {

// Told how far a long operation is: after every flash page or 256-byte chunk and after every
// picture row.
class ProgressReporter {
 public:
  virtual ~ProgressReporter() = default;
  // `done` of `total` units; true asks the operation to stop.
  virtual bool Report(uint32_t done, uint32_t total) = 0;
};

}  // namespace brisk
