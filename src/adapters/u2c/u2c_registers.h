#pragma once

#include <cstdint>

#include "adapters/u2c/u2c_flash.h"
#include "adapters/u2c/u2c_link.h"
#include "base/bytes.h"
#include "i2c/channels.h"
#include "i2c/registers.h"

namespace brisk::u2c {

// Register transactions of the adapter: records, each one call of its library, except where a
// record cannot say what is wanted. Counts that a record cannot carry (more than 4 sub-address
// bytes, more than 256 data bytes) fail before anything is sent.
class U2cRegisters final : public i2c::ByteRegisters,
                           public i2c::BlockRegisters,
                           public i2c::BusClock {
 public:
  U2cRegisters(U2cLink& link, U2cFlash& flash) : link_(link), flash_(flash) {}

  Status WriteByte(uint8_t device, uint8_t subAddress, uint8_t data) override;
  // The byte is stored even on failure.
  Status ReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) override;
  // Of the joined bytes the first is the memory address and the rest is data.
  Status WriteData(uint8_t device, Bytes command, Bytes data) override;
  // The command bytes are a number, most significant byte first; three of them are sent byte by
  // byte on the bus.
  Status ReadData(uint8_t device, Bytes command, Buffer data) override;
  // Makes the flash's SPI ready too, where the adapter is not connected.
  void SetClockRate(uint32_t kHz) override;

 private:
  Status ReadWithThreeSubBytes(uint8_t device, Bytes command, Buffer data);

  U2cLink& link_;
  U2cFlash& flash_;
};

// Channel transactions: records where there are bytes of both kinds and a 7-bit address, the
// sub-address copied in order from the record's first byte on; else the bus. A channel's low nibble
// is a speed, set when the channel changes.
class U2cChannels final : public i2c::BusChannels {
 public:
  U2cChannels(U2cLink& link, i2c::BusClock& clock);

  Status Write(uint8_t channel, uint16_t address, Bytes first, Bytes second) override;
  Status Read(uint8_t channel, uint16_t address, Buffer data) override;
  Status WriteRead(uint8_t channel, uint16_t address, Bytes write, Buffer read) override;

 private:
  void SetSpeedMode(uint8_t mode);

  U2cLink& link_;
  i2c::BusClock& clock_;
  uint8_t speedMode_ = 2;
};

}  // namespace brisk::u2c
