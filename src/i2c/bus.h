#pragma once

#include <cstdint>

namespace brisk::i2c {

// The bus primitives that a back end offers; transactions and string commands run over them.
class Bus {
 public:
  virtual ~Bus() = default;
  virtual void I2c_Start() = 0;
  virtual void I2c_RStart() = 0;
  virtual void I2c_Stop() = 0;
  // Sends the low 8 bits; returns the acknowledge bit: 0 = acknowledged, 1 = not.
  virtual uint32_t I2c_Tx(uint32_t byte) = 0;
  // Receives a byte, answered with ACK when `last` is 0, else with NACK; 0 = success.
  virtual uint32_t I2c_Rx(uint32_t* data, uint32_t last) = 0;
};

// A null buffer that should hold bytes, or receive them.
inline bool Missing(const void* buffer, uint32_t length) {
  return buffer == nullptr && length != 0;
}

// A 16-bit address whose top five bits are 11110 is a 10-bit address in two-byte form.
constexpr bool IsTenBitAddress(uint16_t address) { return address >> 11 == 0x1E; }

// What a 16-bit address puts on the bus: its low byte, or both bytes of a 10-bit address.
struct AddressBytes {
  constexpr AddressBytes(uint16_t address, uint8_t readFlag) {
    const bool two = IsTenBitAddress(address);
    const auto first = static_cast<uint8_t>(two ? address >> 8 : address);
    bytes[0] = static_cast<uint8_t>((first & 0xFE) | readFlag);
    bytes[1] = static_cast<uint8_t>(address);
    count = two ? 2 : 1;
  }

  uint8_t bytes[2];
  uint32_t count;
};

}  // namespace brisk::i2c
