#pragma once

#include <cstdint>

#include "base/bytes.h"
#include "i2c/bus.h"

namespace brisk::i2c {

// One register behind a one-byte sub-address. `device` is the 8-bit address byte, write form.
class ByteRegisters {
 public:
  virtual ~ByteRegisters() = default;
  virtual Status WriteByte(uint8_t device, uint8_t subAddress, uint8_t data) = 0;
  // What a failure leaves in `*data` is the adapter's; a null `data` fails.
  virtual Status ReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) = 0;
};

// Blocks behind any number of command bytes. Null pointers with a length fail before anything is
// sent.
class BlockRegisters {
 public:
  virtual ~BlockRegisters() = default;
  virtual Status WriteData(uint8_t device, Bytes command, Bytes data) = 0;
  virtual Status ReadData(uint8_t device, Bytes command, Buffer data) = 0;
};

// Register transactions over the primitives of a bus. Every transaction ends with a stop condition,
// except WriteHead, which leaves the bus to the caller.
class BusRegisters final : public ByteRegisters, public BlockRegisters {
 public:
  explicit BusRegisters(Bus& bus) : bus_(bus) {}

  Status WriteHead(uint8_t device, uint8_t subAddress);
  Status WriteByte(uint8_t device, uint8_t subAddress, uint8_t data) override;
  Status ReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) override;
  // All command bytes are sent whatever their acknowledges; only the last one's counts.
  Status WriteData(uint8_t device, Bytes command, Bytes data) override;
  // The read address is sent even when the write address was not acknowledged.
  Status ReadData(uint8_t device, Bytes command, Buffer data) override;

 private:
  Bus& bus_;
};

// Sends every byte, also after one that was not acknowledged; the first failure is the result.
Status SendAll(Bus& bus, Bytes bytes);

}  // namespace brisk::i2c
