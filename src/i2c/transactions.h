#pragma once

#include <cstdint>

#include "i2c/bus.h"

namespace brisk::i2c {

// Transactions over the bus primitives. Results are 1 for success and 0 for a missing acknowledge;
// every transaction ends with a stop condition, except WriteHead. A null buffer that should hold
// bytes, or receive them, fails before anything is sent.

uint32_t Write(Bus& bus, uint8_t byte);
uint32_t Read(Bus& bus, uint8_t* data, uint32_t last);
uint32_t WriteHead(Bus& bus, uint8_t device, uint8_t subAddress);
uint32_t WriteByte(Bus& bus, uint8_t device, uint8_t subAddress, uint8_t data);
uint32_t ReadByte(Bus& bus, uint8_t device, uint8_t subAddress, uint8_t* data);

// All command bytes are sent whatever their acknowledges; only the last one's counts.
uint32_t WriteData(Bus& bus, uint8_t device, const uint8_t* command, uint32_t commandLength,
                   const uint8_t* data, uint32_t dataLength);
// The read address is sent even when the write address was not acknowledged.
uint32_t ReadData(Bus& bus, uint8_t device, const uint8_t* command, uint32_t commandLength,
                  uint8_t* data, uint32_t dataLength);

// The I2cLib_ family. A 10-bit address is sent as its high byte, with the direction in bit 0, and
// its low byte, in both directions. A group of bytes is sent whole, the next only when every byte
// before it was acknowledged. SendAddress and WriteAll send one group each, for a back end whose
// transactions differ.
uint32_t SendAddress(Bus& bus, uint16_t address, uint8_t readFlag);
uint32_t WriteAll(Bus& bus, const uint8_t* bytes, uint32_t length);
uint8_t LibWrite(Bus& bus, uint16_t address, const uint8_t* first, uint32_t firstLength,
                 const uint8_t* second, uint32_t secondLength);
uint8_t LibRead(Bus& bus, uint16_t address, uint8_t* data, uint32_t length);
uint8_t LibWriteRead(Bus& bus, uint16_t address, const uint8_t* write, uint32_t writeLength,
                     uint8_t* read, uint32_t readLength);

}  // namespace brisk::i2c
