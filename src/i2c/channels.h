#pragma once

#include <cstdint>

#include "base/bytes.h"
#include "i2c/bus.h"
#include "i2c/registers.h"

namespace brisk::i2c {

// Transactions with a 16-bit address, 7- or 10-bit, on one of an adapter's channels. A 10-bit
// address is sent as its high byte, with the direction in bit 0, and its low byte, in both
// directions. Null pointers with a length fail before anything is sent.
class Channels {
 public:
  virtual ~Channels() = default;
  virtual Status Write(uint8_t channel, uint16_t address, Bytes first, Bytes second) = 0;
  virtual Status Read(uint8_t channel, uint16_t address, Buffer data) = 0;
  virtual Status WriteRead(uint8_t channel, uint16_t address, Bytes write, Buffer read) = 0;
};

// How an adapter's boards expect what the addresses and bytes leave open.
struct ChannelForm {
  bool repeatedStartBeforeRead;  // also on an idle bus; else a start
  bool acknowledgeReads;         // all but the last byte; else none
  bool stopAfterFailedWrite;     // of a write-then-read whose write phase failed
};

// Channel transactions over the primitives of a bus, whatever the channel. Address, first and
// second bytes are groups: each is sent whole, the next only when every byte before it was
// acknowledged. Results of received bytes do not count.
class BusChannels : public Channels {
 public:
  BusChannels(Bus& bus, const ChannelForm& form) : bus_(bus), form_(form) {}

  Status Write(uint8_t channel, uint16_t address, Bytes first, Bytes second) override;
  Status Read(uint8_t channel, uint16_t address, Buffer data) override;
  Status WriteRead(uint8_t channel, uint16_t address, Bytes write, Buffer read) override;

 private:
  Status SendAddress(uint16_t address, uint8_t direction);

  Bus& bus_;
  const ChannelForm form_;
};

// Register transactions as channel transactions, for bridges that have no other: the 8-bit device
// address is always a 7-bit one, the channel is 0.
class ChannelRegisters final : public ByteRegisters, public BlockRegisters {
 public:
  explicit ChannelRegisters(Channels& channels) : channels_(channels) {}

  Status WriteByte(uint8_t device, uint8_t subAddress, uint8_t data) override;
  Status ReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) override;
  Status WriteData(uint8_t device, Bytes command, Bytes data) override;
  Status ReadData(uint8_t device, Bytes command, Buffer data) override;

 private:
  Channels& channels_;
};

}  // namespace brisk::i2c
