#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "outcome.h"
#include "session.h"

namespace brisk::tool {

constexpr uint32_t kPageSize = 256;
constexpr uint32_t kSectorSize = 0x10000;
// Addresses have 24 bits.
constexpr uint32_t kAddressable = 0x1000000;

// The flash as its identification tells.
struct FlashChip {
  uint32_t id = 0;  // manufacturer, memory type, capacity
  uint64_t size = 0;

  // What can be reached of it.
  uint32_t Reachable() const;
  // "EF4016 (Winbond, 4 MiB)".
  std::string Text() const;
  Json Data() const;
};

// Connects the device and identifies its flash.
FlashChip OpenFlash(Session& session);

// Refuses a range that has no byte or does not lie inside the flash.
void CheckRange(const FlashChip& chip, const std::string& tried, uint64_t address, uint64_t size);

// One call of the library's file programming.
struct ProgramPart {
  uint32_t address;
  uint32_t offset;  // in the file
  uint32_t length;
};

// The library sends file pages to address + 256 p as they are, and a flash wraps inside its own
// page; so the bytes up to the first page boundary go in a call of their own. `longest` (0: any)
// bounds a call where the hardware cannot stop one.
std::vector<ProgramPart> SplitProgram(uint32_t address, uint32_t length, bool alignsPages,
                                      uint32_t longest);

}  // namespace brisk::tool
