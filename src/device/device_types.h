#pragma once

#include <cstdint>

namespace brisk {

inline constexpr uint8_t kDeviceTypes = 10;

// A cell of the dispatch table below: the device's own operation, or a fixed result without one.
using Cell = int8_t;
inline constexpr Cell kOwn = 127;
inline constexpr Cell kNone = 0;  // an operation that would return nothing does nothing

// One row a device type, as the exports are dispatched: for every group of exports, whether the
// device does it or what they answer instead; and the results in which device types differ although
// each does it.
struct DeviceType {
  const char* name;

  Cell picture;     // Sddi_Erase, Sddi_Bitblt, Sddi_Bitblt_Copy, C1_TxDebug; Sddi_Bitmap, Sddi_Jpeg
  Cell word;        // Sddi_Tx
  Cell lines;       // Lpt_Output, Lpt_Input
  Cell dividers;    // Pll_Clock, Pll_Nandu: computed without hardware where kOwn
  Cell generator;   // Pll_Write
  Cell bus;         // I2c_Start, I2c_RStart, I2c_Stop; I2c_Tx, I2c_Rx, I2cWrite, I2cRead
  Cell bits;        // I2c_BitOut; I2c_BitIn
  Cell string;      // I2c_String
  Cell stringEx;    // I2c_ReadStringEx
  Cell readString;  // I2c_ReadString
  Cell writeString;  // I2c_WriteString
  Cell head;         // I2cWriteHead
  Cell registers;    // I2cWriteByte, I2cReadByte
  Cell blocks;       // I2cWriteData, I2cReadData
  Cell clock;        // I2cSetClockRate
  Cell flash;        // SPIBulkErase to SPIProgramToFile, SPIInit, SPIStop, SPIGetProgress
  Cell flashId;      // SPIReadID; the USB board's own answer is 0
  Cell channels;     // I2cLib_ transactions

  // Whether the board's library answers with numbers that the exports pass on as they are.
  bool answersAreResults;
  bool sendAlwaysDone;            // I2c_Tx
  uint8_t receiveWithoutPointer;  // I2c_Rx with a null pointer
  uint8_t inputWithoutPointer;    // Lpt_Input with a null pointer
};

// The row of a device type; for those without hardware, one that does nothing and answers 0.
const DeviceType& TypeOf(uint8_t deviceType);

}  // namespace brisk
