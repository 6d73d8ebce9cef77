#pragma once

#include <array>
#include <cstdint>

#include "sim/board/i2c_slave.h"
#include "sim/common/virtual_clock.h"

namespace brisk::sim {

// A 2-kbit I2C EEPROM of the 24C02 kind, pins A2 to A0 low: 256 bytes, a page write of up to 8
// bytes that wraps inside its page, started by the STOP (a repeated START instead drops the bytes),
// then 5 ms of write cycle in which the device does not answer to its address.
class Eeprom final : public I2cSlave {
 public:
  static constexpr uint8_t kAddress = 0xA0;
  static constexpr uint64_t kWriteCycleNs = 5'000'000;
  static constexpr unsigned kPageSize = 8;

  Eeprom(I2cWires& wires, Faults& faults, VirtualClock& clock)
      : I2cSlave("eeprom", kAddress, wires, faults), clock_(clock) {
    memory_.fill(0xFF);
  }

  // Behind the bus's back.
  uint8_t Byte(uint8_t address) const { return memory_[address]; }
  void SetByte(uint8_t address, uint8_t value) { memory_[address] = value; }

 private:
  bool Addressed(bool read) override;
  bool Receive(uint8_t byte) override;
  uint8_t Send() override { return memory_[wordAddress_++]; }
  void Ended(bool stop) override;

  VirtualClock& clock_;
  std::array<uint8_t, 256> memory_{};
  std::array<uint8_t, kPageSize> latch_{};
  uint8_t latched_ = 0;  // one bit per byte of the latch that was written
  uint8_t wordAddress_ = 0;
  bool wordAddressNext_ = false;
  uint64_t busyUntil_ = 0;
};

}  // namespace brisk::sim
