#pragma once

#include <cstdint>

namespace brisk::flash {

// Commands of the 25-series serial NOR flashes, with JEDEC identification.
enum Command : uint8_t {
  kPageProgram = 0x02,         // address, then data
  kReadData = 0x03,            // address, then data for as long as chip select stays low
  kReadStatus = 0x05,          // the status byte, repeated
  kWriteEnable = 0x06,         // before every erase and program
  kReadIdentification = 0x9F,  // manufacturer, memory type, capacity
  kBulkErase = 0xC7,
  kSectorErase = 0xD8,  // address
};

// Bits of the status byte.
inline constexpr uint8_t kWriteInProgress = 0x01;
inline constexpr uint8_t kWriteEnableLatch = 0x02;

inline constexpr uint32_t kPageSize = 256;
inline constexpr uint32_t kBusyLimit = 5000;  // milliseconds

}  // namespace brisk::flash
