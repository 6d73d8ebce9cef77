#pragma once

#include <cstdint>

namespace brisk {

// One kind of interface hardware: one operation per row of the dispatch table, under the names of
// the exports. The base class is the device type without a back end: its operations do nothing and
// return 0. A back end overrides its own rows, and states its other fixed results in one block of
// its header. Operations run under the global lock, never call an export and return when the bus
// work is done.
class BackEnd {
 public:
  BackEnd() = default;
  BackEnd(const BackEnd&) = delete;
  BackEnd& operator=(const BackEnd&) = delete;
  virtual ~BackEnd() = default;

  // Steps outside the table. ProcessAttach and ProcessDetach run once at load and unload, without
  // the global lock; Select is BriskSetDevice's result, without the lock; Prepare runs before every
  // dispatched operation, under it.
  virtual void ProcessAttach() {}
  virtual void ProcessDetach() {}
  virtual uint8_t Select() { return 1; }
  virtual void Prepare() {}

  virtual void I2c_Start() {}
  virtual void I2c_RStart() {}
  virtual void I2c_Stop() {}
  virtual uint32_t I2c_Tx(uint32_t /*byte*/) { return 0; }
  virtual uint32_t I2c_Rx(uint32_t* /*data*/, uint32_t /*last*/) { return 0; }
  virtual void I2c_BitOut(uint8_t /*bit*/) {}
  virtual uint8_t I2c_BitIn() { return 0; }

  virtual uint32_t I2cWrite(uint8_t /*byte*/) { return 0; }
  virtual uint32_t I2cRead(uint8_t* /*data*/, uint32_t /*last*/) { return 0; }
  virtual uint32_t I2cWriteHead(uint8_t /*device*/, uint8_t /*subAddress*/) { return 0; }
  virtual uint32_t I2cWriteByte(uint8_t /*device*/, uint8_t /*subAddress*/, uint8_t /*data*/) {
    return 0;
  }
  virtual uint32_t I2cReadByte(uint8_t /*device*/, uint8_t /*subAddress*/, uint8_t* /*data*/) {
    return 0;
  }
  virtual uint32_t I2cWriteData(uint8_t /*device*/, const uint8_t* /*command*/,
                                uint32_t /*commandLength*/, const uint8_t* /*data*/,
                                uint32_t /*dataLength*/) {
    return 0;
  }
  virtual uint32_t I2cReadData(uint8_t /*device*/, const uint8_t* /*command*/,
                               uint32_t /*commandLength*/, uint8_t* /*data*/,
                               uint32_t /*dataLength*/) {
    return 0;
  }
  virtual void I2cSetClockRate(uint32_t /*kHz*/) {}

  virtual uint8_t I2cLib_Write(uint8_t /*channel*/, uint16_t /*address*/, const uint8_t* /*first*/,
                               uint32_t /*firstLength*/, const uint8_t* /*second*/,
                               uint32_t /*secondLength*/) {
    return 0;
  }
  virtual uint8_t I2cLib_Read(uint8_t /*channel*/, uint16_t /*address*/, uint8_t* /*data*/,
                              uint32_t /*length*/) {
    return 0;
  }
  virtual uint8_t I2cLib_WriteRead(uint8_t /*channel*/, uint16_t /*address*/,
                                   const uint8_t* /*write*/, uint32_t /*writeLength*/,
                                   uint8_t* /*read*/, uint32_t /*readLength*/) {
    return 0;
  }
  // The three short forms are the same everywhere: they go through the operations above.
  uint8_t I2cLib_W1Byte(uint8_t channel, uint16_t address, uint8_t byte) {
    return I2cLib_Write(channel, address, &byte, 1, nullptr, 0);
  }
  uint8_t I2cLib_W2Bytes(uint8_t channel, uint16_t address, uint8_t first, uint8_t second) {
    return I2cLib_Write(channel, address, &first, 1, &second, 1);
  }
  uint8_t I2cLib_W1ByteR1Byte(uint8_t channel, uint16_t address, uint8_t byte, uint8_t* data) {
    return I2cLib_WriteRead(channel, address, &byte, 1, data, 1);
  }

  virtual uint32_t I2c_String(const char* /*command*/) { return 0; }
  // On the UART bridge the first argument of the next and the last of this group points to a count.
  virtual uint32_t I2c_ReadString(char* /*result*/, const char* /*command*/) { return 0; }
  virtual int32_t I2c_ReadStringEx(const char* /*command*/) { return 0; }
  virtual uint32_t I2c_WriteString(char* /*count*/, const char* /*text*/) { return 0; }

  virtual uint32_t Lpt_Output(uint8_t /*value*/) { return 0; }
  virtual uint32_t Lpt_Input(uint8_t* /*value*/) { return 0; }
  virtual uint32_t SetPortVal(uint8_t /*port*/, uint8_t /*value*/) { return 0; }
  virtual uint32_t GetPortVal(uint8_t /*port*/, uint8_t* /*value*/) { return 0; }

  virtual void Sddi_Erase(uint32_t /*colour*/) {}
  virtual void Sddi_Bitblt(uint32_t /*x*/, uint32_t /*y*/, uint32_t /*unused*/) {}
  virtual void Sddi_Bitblt_Copy(uint32_t /*x1*/, uint32_t /*y1*/, uint32_t /*x2*/, uint32_t /*y2*/,
                                uint32_t /*width*/, uint32_t /*height*/) {}
  virtual uint32_t Sddi_Bitmap(const char* /*path*/, uint32_t /*plane*/) { return 0; }
  virtual uint32_t Sddi_Jpeg(const char* /*path*/, uint32_t /*plane*/) { return 0; }
  virtual void Sddi_Tx(uint32_t /*bits*/, uint32_t /*value*/) {}
  virtual void C1_TxDebug(uint32_t /*bits*/, uint32_t /*value*/) {}

  virtual uint32_t Pll_Clock(uint32_t /*target*/, uint32_t /*reference*/, uint16_t* /*divider*/,
                             uint16_t* /*exponent*/, uint16_t* /*multiplier*/) {
    return 0;
  }
  virtual uint32_t Pll_Nandu(uint32_t /*target*/, uint32_t /*reference*/, uint16_t* /*high*/,
                             uint16_t* /*middle*/, uint16_t* /*low*/) {
    return 0;
  }
  virtual uint32_t Pll_Write(uint8_t /*a*/, uint8_t /*b*/, uint32_t /*c*/, uint32_t /*d*/,
                             uint32_t /*e*/) {
    return 0;
  }

  virtual void SPIInit() {}
  virtual void SPIStop() {}
  virtual uint32_t SPIReadID() { return 0; }
  virtual void SPIBulkErase() {}
  virtual void SPISectorErase(uint32_t /*adr*/) {}
  virtual void SPIWriteByte(uint32_t /*adr*/, uint32_t /*data*/) {}
  virtual void SPIReadByte(uint32_t /*adr*/, uint32_t* /*data*/) {}
  virtual uint32_t SPIProgramFromFile(uint32_t /*adr*/, uint32_t /*maxsize*/,
                                      const char* /*szfile*/, uint32_t /*erase*/) {
    return 0;
  }
  virtual uint32_t SPIProgramToFile(uint32_t /*adr*/, uint32_t /*maxsize*/,
                                    const char* /*szfile*/) {
    return 0;
  }
  virtual uint32_t SPIGetProgress() { return 0; }
  virtual void SPISetClockRate(uint32_t /*rate*/) {}
};

}  // namespace brisk
