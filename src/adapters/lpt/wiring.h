#pragma once

#include <cstdint>

#include "flash/bit_spi.h"

namespace brisk::lpt {

// The PC parallel port: three registers from the base address on.
//
//   data     out, bits 0 to 7 are pins 2 to 9 of the connector; the last write stays on them
//   status   in, bits 4 to 7 are pins 13, 12, 10 and 11 (the port itself inverts pin 11)
//   control  out, bits 0 to 3 are pins 1, 14, 16 and 17 (the port inverts all but pin 16)
//
// `inverted` below is what remains of all that between a register's bit and the I2C line, buffers
// of the adapter included.
enum Register : uint8_t { kData = 0, kStatus = 1, kControl = 2 };

struct OutputLine {
  Register reg;
  uint8_t mask;
  bool inverted;  // the bit is 0 while the line is high
};

struct InputLine {
  uint8_t mask;  // of the status register
  bool inverted;
};

// How an adapter connects the I2C lines to the port; all else is the same for every wiring.
struct Wiring {
  OutputLine scl;
  OutputLine sda;
  InputLine sdaIn;
  // Start values of the two registers' I2C images.
  uint8_t dataImage;
  uint8_t controlImage;
  // The single-bit operations work on the data register alone and never invert.
  uint8_t bitSda;
  uint8_t bitScl;
};

inline constexpr Wiring kWiringA{
    .scl = {kData, 0x02, false},
    .sda = {kData, 0x01, false},
    .sdaIn = {0x10, false},
    .dataImage = 0xFC,
    .controlImage = 0,
    .bitSda = 0x01,
    .bitScl = 0x02,
};

inline constexpr Wiring kWiringB{
    .scl = {kControl, 0x08, false},
    .sda = {kData, 0x80, true},
    .sdaIn = {0x80, false},
    .dataImage = 0x7F,
    .controlImage = 0xFF,
    .bitSda = 0x80,
    .bitScl = 0x08,
};

inline constexpr Wiring kWiringC{
    .scl = kWiringB.scl,
    .sda = kWiringB.sda,
    .sdaIn = {0x80, true},
    .dataImage = kWiringB.dataImage,
    .controlImage = kWiringB.controlImage,
    .bitSda = kWiringB.bitSda,
    .bitScl = kWiringB.bitScl,
};

// The flash's lines of the data register and of the status register, the same on every adapter.
inline constexpr flash::SpiPins kSpiPins{.sck = 0x04, .chipSelect = 0x08, .mosi = 0x40};
inline constexpr uint8_t kSpiMiso = 0x40;

}  // namespace brisk::lpt
