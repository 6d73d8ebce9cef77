#pragma once

#include <cstdint>

namespace brisk::lpt {

// Registers of the PC parallel port, as offsets from its base address.
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

// The flash's pins, the same on every adapter.
struct SpiPins {
  uint8_t sck, chipSelect, mosi;  // of the data register; chip select is active low
  uint8_t miso;                   // of the status register
};

inline constexpr SpiPins kSpiPins{.sck = 0x04, .chipSelect = 0x08, .mosi = 0x40, .miso = 0x40};

}  // namespace brisk::lpt
