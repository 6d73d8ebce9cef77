#pragma once

#include <cstdint>

#include "adapters/debug_board/board_library.h"
#include "base/bytes.h"
#include "i2c/bus.h"
#include "i2c/registers.h"

namespace brisk::debug_board {

// The board's I2C bus. Its firmware runs a script of bus actions for each of the four primitives
// and for blocks, and has packets of its own for single registers. A script and its data, which
// writes 0xAA to register 0x10 of device 0x50:
//
//   command packet   38 00 05 05 05 01 17   start, send, send, send, stop, end
//   data packet      -- -- 50 10 AA -- --
//
// Results carry what the library answered; a block is done when its packets are out, because the
// board does not say more. Without the board nothing is sent and outputs are left alone.
//
// Block writes go out in the packets that boards in the field are driven with, byte for byte. Where
// one position of the last packet is left over, the stop follows in a packet of its own and that
// position keeps what the packet held: brisk_i2c.h says what reaches the bus then.
class DebugBoardI2c final : public i2c::Bus, public i2c::ByteRegisters, public i2c::BlockRegisters {
 public:
  explicit DebugBoardI2c(BoardLibrary& library) : library_(library) {}

  void Start() override;
  void RepeatedStart() override { Start(); }
  void Stop() override;
  Status Send(uint8_t byte) override;
  Status Receive(uint8_t* byte, uint32_t last) override;

  Status WriteByte(uint8_t device, uint8_t subAddress, uint8_t data) override;
  // The byte is stored whatever the library answers.
  Status ReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) override;
  // Commands that do not fit into the first packet fail: at most 60 bytes when writing, 58 when
  // reading.
  Status WriteData(uint8_t device, Bytes command, Bytes data) override;
  Status ReadData(uint8_t device, Bytes command, Buffer data) override;

 private:
  // Whether a block can begin.
  Status Ready(Bytes command, size_t most, Bytes data) const;
  // The write phase of a block read, up to the address with the read flag.
  void SendReadAddress(uint8_t device, Bytes command);
  // The read phase: at least one byte.
  void ReadBlock(Buffer data);

  BoardLibrary& library_;
};

}  // namespace brisk::debug_board
