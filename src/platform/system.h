#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace brisk {

// Facts about the operating system and the calling process. May be asked at any time; nothing here
// blocks or fails.
class System {
 public:
  virtual ~System() = default;
  virtual uint32_t ProcessId() = 0;
  // True on the NT family, which reaches the parallel port with port instructions of its own; the
  // 9x family sends a driver request for every access. Linux counts as NT.
  virtual bool IsNt() = 0;
  // Folder of system files, without a trailing separator; at most 260 characters.
  virtual std::string SystemDirectory() = 0;
  // Tells that a large piece of fresh memory will be written from end to end, so that the system
  // may back it with large pages: a picture costs thousands of page faults otherwise. A hint; a
  // system without a use for it does nothing.
  virtual void ExpectFullUse(void* /*memory*/, size_t /*size*/) {}
};

}  // namespace brisk
