#include "adapters/lpt/lpt_back_end.h"

#include "i2c/string_command.h"
#include "i2c/transactions.h"
#include "platform/platform.h"

namespace brisk::lpt {

LptBackEnd::LptBackEnd(const Wiring& wiring, Ports& ports, Driver& driver,
                       ProgressReporter& reporter)
    : ports_(ports),
      driver_(driver),
      i2c_(ports, wiring, base_),
      spi_(ports, base_),
      picture_(ports, base_, i2c_, bLptImage),
      flash_(spi_, reporter),
      transfer_(picture_, picture_, reporter) {}

uint32_t LptBackEnd::I2cWrite(uint8_t byte) { return i2c::Write(i2c_, byte); }

uint32_t LptBackEnd::I2cRead(uint8_t* data, uint32_t last) { return i2c::Read(i2c_, data, last); }

uint32_t LptBackEnd::I2cWriteHead(uint8_t device, uint8_t subAddress) {
  return i2c::WriteHead(i2c_, device, subAddress);
}

uint32_t LptBackEnd::I2cWriteByte(uint8_t device, uint8_t subAddress, uint8_t data) {
  return i2c::WriteByte(i2c_, device, subAddress, data);
}

uint32_t LptBackEnd::I2cReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) {
  return i2c::ReadByte(i2c_, device, subAddress, data);
}

uint32_t LptBackEnd::I2cWriteData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                                  const uint8_t* data, uint32_t dataLength) {
  return i2c::WriteData(i2c_, device, command, commandLength, data, dataLength);
}

uint32_t LptBackEnd::I2cReadData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                                 uint8_t* data, uint32_t dataLength) {
  return i2c::ReadData(i2c_, device, command, commandLength, data, dataLength);
}

uint8_t LptBackEnd::I2cLib_Write(uint8_t /*channel*/, uint16_t address, const uint8_t* first,
                                 uint32_t firstLength, const uint8_t* second,
                                 uint32_t secondLength) {
  return i2c::LibWrite(i2c_, address, first, firstLength, second, secondLength);
}

uint8_t LptBackEnd::I2cLib_Read(uint8_t /*channel*/, uint16_t address, uint8_t* data,
                                uint32_t length) {
  return i2c::LibRead(i2c_, address, data, length);
}

uint8_t LptBackEnd::I2cLib_WriteRead(uint8_t /*channel*/, uint16_t address, const uint8_t* write,
                                     uint32_t writeLength, uint8_t* read, uint32_t readLength) {
  return i2c::LibWriteRead(i2c_, address, write, writeLength, read, readLength);
}

uint32_t LptBackEnd::I2c_String(const char* command) { return i2c::String(i2c_, command); }

uint32_t LptBackEnd::I2c_ReadString(char* result, const char* command) {
  return i2c::ReadString(i2c_, result, command);
}

int32_t LptBackEnd::I2c_ReadStringEx(const char* command) {
  return i2c::ReadStringEx(i2c_, command);
}

// On the 9x family every access is a driver request, whose outcome is not examined.
uint32_t LptBackEnd::Lpt_Output(uint8_t value) {
  if (platform().sharedMemory.Section().dwIsNT != 0) {
    ports_.Port_Out(base_ + kData, value);
    bLptImage = value & 0xFC;
  } else {
    requestByte_ = value;
    driver_.SendData(&requestByte_);
  }
  return 0;
}

uint32_t LptBackEnd::Lpt_Input(uint8_t* value) {
  if (value == nullptr) return 1;
  if (platform().sharedMemory.Section().dwIsNT != 0) {
    *value = ports_.Port_In(base_ + kStatus);
  } else {
    driver_.ReadStatus(&requestByte_);
    *value = requestByte_;
  }
  return 0;
}

void LptBackEnd::Sddi_Bitblt_Copy(uint32_t x1, uint32_t y1, uint32_t x2, uint32_t y2,
                                  uint32_t width, uint32_t height) {
  transfer_.Sddi_Bitblt_Copy(x1, y1, x2, y2, width, height);
}

uint32_t LptBackEnd::Sddi_Bitmap(const char* path, uint32_t plane) {
  return transfer_.Sddi_Bitmap(path, plane);
}

uint32_t LptBackEnd::Sddi_Jpeg(const char* path, uint32_t plane) {
  return transfer_.Sddi_Jpeg(path, plane);
}

uint32_t LptBackEnd::Pll_Clock(uint32_t target, uint32_t reference, uint16_t* divider,
                               uint16_t* exponent, uint16_t* multiplier) {
  return flash::Pll_Clock(target, reference, divider, exponent, multiplier);
}

uint32_t LptBackEnd::Pll_Nandu(uint32_t target, uint32_t reference, uint16_t* high,
                               uint16_t* middle, uint16_t* low) {
  return flash::Pll_Nandu(target, reference, high, middle, low);
}

uint32_t LptBackEnd::SPIProgramFromFile(uint32_t adr, uint32_t maxsize, const char* szfile,
                                        uint32_t erase) {
  return flash_.ProgramFromFile(adr, maxsize, szfile, erase != 0);
}

uint32_t LptBackEnd::SPIProgramToFile(uint32_t adr, uint32_t maxsize, const char* szfile) {
  return flash_.ProgramToFile(adr, maxsize, szfile);
}

}  // namespace brisk::lpt
