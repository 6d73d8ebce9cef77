#pragma once

#include <cstdint>

// FTDI's multi-protocol synchronous serial engine (MPSSE; application note AN108): a command
// processor between the USB and two bytes of pins. Commands run in the order in which they arrive,
// one after another without gaps; what they read comes back as answer bytes, at the latest when the
// latency timer has run out. On a board:
//
//   low byte    0 SCL   1 SDA out   2 SDA in, wired to 1   3 flash CS#   4 GPIOL0
//               5 flash SCK   6 flash MOSI
//   high byte   0 to 7 GPIOH, of which 2 is flash MISO
//
// The engine clocks data on SCL, SDA out and SDA in by itself; START, STOP and the flash are made
// of single settings of the low byte. A pin that shall be released becomes an input.
namespace brisk::ftdi {

// Data goes most significant bit first; "falling" names the clock edge on which data out changes.
enum MpsseCommand : uint8_t {
  kBytesOutFalling = 0x11,         // Count(length) low, high, the bytes
  kBitsOutFalling = 0x13,          // Count(bits), the byte with the bits from bit 7 down
  kBytesInFalling = 0x25,          // Count(length) low, high; answers the bytes
  kBitsInFalling = 0x27,           // Count(bits); answers one byte, the last bit in bit 0
  kBitsInRisingOutFalling = 0x33,  // Count(bits), the byte; answers one byte
  kSetLowPins = 0x80,              // levels, outputs
  kReadLowPins = 0x81,
  kSetHighPins = 0x82,  // levels, outputs
  kReadHighPins = 0x83,
  kLoopbackOn = 0x84,
  kLoopbackOff = 0x85,
  kSetDivisor = 0x86,     // low, high
  kSendImmediate = 0x87,  // answers leave without waiting for the latency timer
  kDivideByFiveOff = 0x8A,
  kDivideByFiveOn = 0x8B,
  kThreePhaseOff = 0x8D,
  kAdaptiveClockOn = 0x96,
  kAdaptiveClockOff = 0x97,
  kBadCommandEcho = 0xFA,  // answered before a command that does not exist
  kBogusCommand1 = 0xAA,
  kBogusCommand2 = 0xAB,
};

// Lengths and numbers of bits travel less one.
constexpr uint8_t Count(uint32_t length) { return static_cast<uint8_t>(length - 1); }
constexpr uint8_t CountHigh(uint32_t length) { return static_cast<uint8_t>((length - 1) >> 8); }

// Data out that holds a line: the acknowledge bit, or eight bits that leave SDA to the device.
inline constexpr uint8_t kAck = 0x00;
inline constexpr uint8_t kNack = 0xFF;
inline constexpr uint8_t kReleased = 0xFF;

inline constexpr uint8_t kScl = 0x01;
inline constexpr uint8_t kSdaOut = 0x02;
inline constexpr uint8_t kChipSelect = 0x08;
inline constexpr uint8_t kGpioL0 = 0x10;
inline constexpr uint8_t kSpiClock = 0x20;
inline constexpr uint8_t kSpiOut = 0x40;
inline constexpr uint8_t kMiso = 0x04;  // high byte

// Outputs among the low five pins while the bus is driven, and while both lines are released; the
// upper three keep theirs.
inline constexpr uint8_t kI2cPins = 0x1F;
inline constexpr uint8_t kI2cOutputs = kScl | kSdaOut | kGpioL0;
inline constexpr uint8_t kReleasedOutputs = kGpioL0;
// All outputs while the device drives SDA: every pin but SCL and GPIOL0 is an input.
inline constexpr uint8_t kReadOutputs = kScl | kGpioL0;

// Eight pins as the argument bytes of the pin commands; an output has its bit set.
struct Pins {
  uint8_t levels = 0;
  uint8_t outputs = 0;

  static constexpr uint8_t Merge(uint8_t byte, uint8_t mask, uint8_t bits) {
    return static_cast<uint8_t>((byte & ~mask) | (bits & mask));
  }
  constexpr void Set(uint8_t mask, uint8_t bits) { levels = Merge(levels, mask, bits); }
  constexpr void Raise(uint8_t mask) { Set(mask, mask); }
  constexpr void Lower(uint8_t mask) { Set(mask, 0); }
  constexpr void Drive(uint8_t mask, uint8_t bits) { outputs = Merge(outputs, mask, bits); }
};

// Bit rates (Hz): two clock periods of the engine per bit.
inline constexpr uint32_t kBaseClock = 12000000;
inline constexpr uint32_t kHiSpeedBaseClock = 60000000;
inline constexpr uint32_t kMaxDivisor = 65535;
constexpr uint32_t BitRate(uint32_t baseClock, uint32_t divisor) {
  return baseClock / ((1 + divisor) * 2);
}

}  // namespace brisk::ftdi
