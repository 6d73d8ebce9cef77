#pragma once

#include <cstdint>

#include "base/debug.h"

namespace brisk::flash {

// What the debug log tells of single operations; the text is fixed, tools match it.

inline void LogWriteByte(const CDebug& log, uint32_t address, uint32_t data) {
  log.Print(0, "SPIWriteByte, adr = %x, data=%x\n", address, data);
}

inline void LogReadByte(const CDebug& log, uint32_t address) {
  log.Print(0, "SPIReadByte, adr = %x\n", address);
}

// `id` is manufacturer << 16 | memory type << 8 | capacity.
inline void LogId(const CDebug& log, uint32_t id) {
  log.Print(0, "SPIReadID, Manufacturer ID = 0x%x, Memory Type =0x%x,  Memory Capacity =0x%x\n",
            id >> 16, id >> 8 & 0xFF, id & 0xFF);
}

}  // namespace brisk::flash
