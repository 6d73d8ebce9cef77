#pragma once

#include <cstdint>
#include <string>

namespace brisk {

// Facts about the operating system and the calling process.
class System {
 public:
  virtual ~System() = default;
  virtual uint32_t ProcessId() = 0;
  // True on the NT family, which reaches the parallel port with port instructions of its own; the
  // 9x family sends a driver request for every access. Linux counts as NT.
  virtual bool IsNt() = 0;
  // Folder of system files, without a trailing separator; at most 260 characters.
  virtual std::string SystemDirectory() = 0;
};

}  // namespace brisk
