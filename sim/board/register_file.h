#pragma once

#include <array>
#include <cstdint>

#include "sim/board/i2c_slave.h"

namespace brisk::sim {

// An I2C device of 256 registers behind a sub-address that advances by one after every byte, in
// both directions, and wraps. The first byte written after the address is the sub-address, which is
// kept from one message to the next.
class RegisterFile : public I2cSlave {
 public:
  using I2cSlave::I2cSlave;

  // Behind the bus's back.
  uint8_t Register(uint8_t address) const { return registers_[address]; }
  void SetRegister(uint8_t address, uint8_t value) { registers_[address] = value; }
  // Two registers, the low byte in the first.
  uint16_t Register16(uint8_t address) const;
  void SetRegister16(uint8_t address, unsigned value);

 private:
  bool Addressed(bool read) override;
  bool Receive(uint8_t byte) override;
  uint8_t Send() override { return registers_[subAddress_++]; }

  std::array<uint8_t, 256> registers_{};
  uint8_t subAddress_ = 0;
  bool subAddressNext_ = true;
};

}  // namespace brisk::sim
