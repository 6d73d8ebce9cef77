#pragma once

#include <cstdint>

namespace brisk::flash {

// The board's serial NOR flash: the command set that all 25-series chips share, with JEDEC read
// identification. Four lines: clock SCK, chip select CS# (active low), MOSI to the flash, MISO from
// it; SPI mode 0, most significant bit first.
//
// A transaction is CS# low, a command byte, a 24-bit address where the command has one, data, CS#
// high. Erases and programs begin when CS# goes high; each needs a write enable of its own before
// it. Erasing makes bytes 0xFF, programming only clears bits, and a program that reaches the end of
// a 256-byte page goes on at the page's start. Reading has no such limits.
//
// Typical times: a page program 1 ms, a sector erase 1 s, a chip erase seconds to minutes. While
// busy the chip answers nothing but its status.
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
// Milliseconds that a wait lasts at most: less than the chip erase of a large flash takes.
inline constexpr uint32_t kBusyLimit = 5000;

}  // namespace brisk::flash
