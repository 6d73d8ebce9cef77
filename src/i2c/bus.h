#pragma once

#include <cstdint>

#include "base/status.h"

namespace brisk::i2c {

// The four primitives of an I2C bus (NXP UM10204) that an adapter's hardware offers; transactions,
// channel transactions and string commands run over them. Bytes go most significant bit first, each
// followed by a ninth clock for the acknowledge.
class Bus {
 public:
  virtual ~Bus() = default;
  virtual void Start() = 0;
  virtual void RepeatedStart() = 0;
  virtual void Stop() = 0;
  // Done when the byte was acknowledged. The code is the acknowledge as the hardware told it, 0 for
  // acknowledged; adapters whose library answers something else give that.
  virtual Status Send(uint8_t byte) = 0;
  // `last` 0 answers the byte with ACK, anything else with NACK; serial bridges are told the number
  // itself. `*byte` is written when a byte came: when done; after kTransfer, where a library moved
  // it and reports a failure all the same; and after kRejected, where a bridge sent it with a
  // status of its own, the code. It is left alone after anything else.
  virtual Status Receive(uint8_t* byte, uint32_t last) = 0;
};

// Receives into a caller's buffer, which keeps its byte when none came or the bridge disowned it.
Status ReceiveInto(Bus& bus, uint8_t* data, uint32_t last);

// Single clocks on the bus lines, for benches that build a transfer bit by bit.
class Bits {
 public:
  virtual ~Bits() = default;
  virtual void BitOut(bool bit) = 0;
  virtual bool BitIn() = 0;
};

class BusClock {
 public:
  virtual ~BusClock() = default;
  // The nearest rate that the hardware has; what 0 means is each adapter's.
  virtual void SetClockRate(uint32_t kHz) = 0;
};

// A 16-bit address whose top five bits are 11110 is a 10-bit address in two-byte form.
constexpr bool IsTenBitAddress(uint16_t address) { return address >> 11 == 0x1E; }

inline constexpr uint8_t kWriteFlag = 0;
inline constexpr uint8_t kReadFlag = 1;

// What a 16-bit address puts on the bus: its low byte, or both bytes of a 10-bit address, with the
// direction in bit 0 of the first.
struct AddressBytes {
  constexpr AddressBytes(uint16_t address, uint8_t direction) {
    const bool two = IsTenBitAddress(address);
    const auto first = static_cast<uint8_t>(two ? address >> 8 : address);
    bytes[0] = static_cast<uint8_t>((first & 0xFE) | direction);
    bytes[1] = static_cast<uint8_t>(address);
    count = two ? 2 : 1;
  }

  uint8_t bytes[2];
  uint32_t count;
};

}  // namespace brisk::i2c
