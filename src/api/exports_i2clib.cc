#include "brisk/brisk.h"

#include "api/call.h"

using brisk::BackEnd;
using brisk::Dispatched;

BRISK_API uint8_t BRISK_LIB_CALL I2cLib_Init(void) { return 1; }

BRISK_API uint8_t BRISK_LIB_CALL I2cLib_Cleanup(void) { return 1; }

BRISK_API uint8_t BRISK_LIB_CALL I2cLib_Scan7bitAddr(uint8_t /*address*/) { return 0; }

BRISK_API uint8_t BRISK_LIB_CALL I2cLib_Write(uint8_t channel, uint16_t address,
                                              const uint8_t* first, uint32_t firstLength,
                                              const uint8_t* second, uint32_t secondLength) {
  return Dispatched([&](BackEnd& board) {
    return board.I2cLib_Write(channel, address, first, firstLength, second, secondLength);
  });
}

BRISK_API uint8_t BRISK_LIB_CALL I2cLib_Read(uint8_t channel, uint16_t address, uint8_t* data,
                                             uint32_t length) {
  return Dispatched(
      [&](BackEnd& board) { return board.I2cLib_Read(channel, address, data, length); });
}

BRISK_API uint8_t BRISK_LIB_CALL I2cLib_WriteRead(uint8_t channel, uint16_t address,
                                                  const uint8_t* write, uint32_t writeLength,
                                                  uint8_t* read, uint32_t readLength) {
  return Dispatched([&](BackEnd& board) {
    return board.I2cLib_WriteRead(channel, address, write, writeLength, read, readLength);
  });
}

BRISK_API uint8_t BRISK_LIB_CALL I2cLib_W1Byte(uint8_t channel, uint16_t address, uint8_t byte) {
  return Dispatched([&](BackEnd& board) { return board.I2cLib_W1Byte(channel, address, byte); });
}

BRISK_API uint8_t BRISK_LIB_CALL I2cLib_W2Bytes(uint8_t channel, uint16_t address, uint8_t first,
                                                uint8_t second) {
  return Dispatched(
      [&](BackEnd& board) { return board.I2cLib_W2Bytes(channel, address, first, second); });
}

BRISK_API uint8_t BRISK_LIB_CALL I2cLib_W1ByteR1Byte(uint8_t channel, uint16_t address,
                                                     uint8_t byte, uint8_t* data) {
  return Dispatched(
      [&](BackEnd& board) { return board.I2cLib_W1ByteR1Byte(channel, address, byte, data); });
}
