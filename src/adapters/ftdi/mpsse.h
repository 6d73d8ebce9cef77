#pragma once

#include <cstdint>

namespace brisk::ftdi {

// MPSSE commands, names and codes from FTDI's application note AN108. Data goes most significant
// bit first; "falling" names the clock edge on which data out changes.
enum MpsseCommand : uint8_t {
  kBytesOutFalling = 0x11,         // length - 1 (low, high), the bytes
  kBitsOutFalling = 0x13,          // bits - 1, the byte with the bits from bit 7 down
  kBytesInFalling = 0x25,          // length - 1 (low, high); answers the bytes
  kBitsInFalling = 0x27,           // bits - 1; answers one byte, the last bit in bit 0
  kBitsInRisingOutFalling = 0x33,  // bits - 1, the byte; answers one byte
  kSetLowPins = 0x80,              // value, direction (1 = output)
  kReadLowPins = 0x81,
  kSetHighPins = 0x82,  // value, direction
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

// Pins of the low byte.
inline constexpr uint8_t kScl = 0x01;
inline constexpr uint8_t kSdaOut = 0x02;
inline constexpr uint8_t kSdaIn = 0x04;
inline constexpr uint8_t kChipSelect = 0x08;
inline constexpr uint8_t kGpioL0 = 0x10;
inline constexpr uint8_t kSpiClock = 0x20;
inline constexpr uint8_t kSpiOut = 0x40;

// Directions of the low five pins while the bus is driven, and while both lines are released; the
// upper three keep theirs.
inline constexpr uint8_t kI2cPins = 0x1F;
inline constexpr uint8_t kI2cDirection = kScl | kSdaOut | kGpioL0;
inline constexpr uint8_t kReleasedDirection = kGpioL0;
// The whole direction byte while the device drives SDA: every pin but SCL and GPIOL0 is an input.
inline constexpr uint8_t kReadDirection = kScl | kGpioL0;

// Bit rates (Hz): two clock periods of the engine per bit.
inline constexpr uint32_t kBaseClock = 12000000;
inline constexpr uint32_t kHiSpeedBaseClock = 60000000;
inline constexpr uint32_t kMaxDivisor = 65535;
constexpr uint32_t BitRate(uint32_t baseClock, uint32_t divisor) {
  return baseClock / ((1 + divisor) * 2);
}

}  // namespace brisk::ftdi
