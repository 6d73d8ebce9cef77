#pragma once

#include <cstdint>
#include <span>

namespace brisk {

// Data carried inside the library's own module, asked for when the driver's file is written.
class Resources {
 public:
  virtual ~Resources() = default;
  // RCDATA by name, valid for the life of the process; empty when absent.
  virtual std::span<const uint8_t> Find(const char* name) = 0;
};

}  // namespace brisk
