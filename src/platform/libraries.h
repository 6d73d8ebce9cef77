#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace brisk {

// A loaded vendor library; unloaded by the destructor, which runs the library's own code.
class DynamicLibrary {
 public:
  virtual ~DynamicLibrary() = default;
  // A function by export name, or by ordinal where the system has ordinals and `ordinal` is not 0.
  // Null when the library lacks it.
  virtual void* Symbol(const char* name, uint16_t ordinal) = 0;
  // Releases a handle that one of its functions returned and that belongs to the system
  // (CloseHandle). False on systems where such handles are the library's own business.
  virtual bool CloseSystemHandle(void* /*handle*/) { return false; }
};

// Vendor libraries, bound at run time because most machines have none of them. `name` is the bare
// name ("FTD2XX", "WinIo"); the system adds its prefix and suffix and looks in the library's own
// folder and the system's folders, never in the current directory. Null when the library is absent;
// `whyNot` then names the file that was looked for. May block on the disk.
class Libraries {
 public:
  virtual ~Libraries() = default;
  virtual std::unique_ptr<DynamicLibrary> Load(const char* name, std::string* whyNot) = 0;
};

}  // namespace brisk
