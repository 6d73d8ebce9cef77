#pragma once

#include <cstdint>

#include "adapters/lpt/lpt_i2c.h"
#include "adapters/lpt/lpt_picture.h"
#include "adapters/lpt/lpt_spi.h"
#include "adapters/lpt/ports.h"
#include "adapters/lpt/wiring.h"
#include "api/back_end.h"
#include "base/progress.h"
#include "flash/flash.h"
#include "image/transfer.h"
#include "platform/shared_section.h"
#include "pll/pll.h"
#include "port_driver/driver.h"

namespace brisk::lpt {

// The PC parallel port: device types 0, 5 and 9 are three objects of this class that differ in
// their wiring. Timing is shared, everything else is the object's own.
class LptBackEnd : public BackEnd {
 public:
  LptBackEnd(const Wiring& wiring, Ports& ports, Driver& driver, ProgressReporter& reporter);

  void I2c_Start() override { i2c_.I2c_Start(); }
  void I2c_RStart() override { i2c_.I2c_RStart(); }
  void I2c_Stop() override { i2c_.I2c_Stop(); }
  uint32_t I2c_Tx(uint32_t byte) override { return i2c_.I2c_Tx(byte); }
  uint32_t I2c_Rx(uint32_t* data, uint32_t last) override { return i2c_.I2c_Rx(data, last); }
  void I2c_BitOut(uint8_t bit) override { i2c_.BitOut(bLptImage, bit); }
  uint8_t I2c_BitIn() override { return i2c_.BitIn(bLptImage); }

  uint32_t I2cWrite(uint8_t byte) override;
  uint32_t I2cRead(uint8_t* data, uint32_t last) override;
  uint32_t I2cWriteHead(uint8_t device, uint8_t subAddress) override;
  uint32_t I2cWriteByte(uint8_t device, uint8_t subAddress, uint8_t data) override;
  uint32_t I2cReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) override;
  uint32_t I2cWriteData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                        const uint8_t* data, uint32_t dataLength) override;
  uint32_t I2cReadData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                       uint8_t* data, uint32_t dataLength) override;
  void I2cSetClockRate(uint32_t kHz) override { ports_.SetClockRate(kHz); }

  uint8_t I2cLib_Write(uint8_t channel, uint16_t address, const uint8_t* first,
                       uint32_t firstLength, const uint8_t* second, uint32_t secondLength) override;
  uint8_t I2cLib_Read(uint8_t channel, uint16_t address, uint8_t* data, uint32_t length) override;
  uint8_t I2cLib_WriteRead(uint8_t channel, uint16_t address, const uint8_t* write,
                           uint32_t writeLength, uint8_t* read, uint32_t readLength) override;

  uint32_t I2c_String(const char* command) override;
  uint32_t I2c_ReadString(char* result, const char* command) override;
  int32_t I2c_ReadStringEx(const char* command) override;

  uint32_t Lpt_Output(uint8_t value) override;
  uint32_t Lpt_Input(uint8_t* value) override;

  void Sddi_Erase(uint32_t colour) override { transfer_.Sddi_Erase(colour); }
  void Sddi_Bitblt(uint32_t x, uint32_t y, uint32_t /*unused*/) override {
    transfer_.Sddi_Bitblt(x, y);
  }
  void Sddi_Bitblt_Copy(uint32_t x1, uint32_t y1, uint32_t x2, uint32_t y2, uint32_t width,
                        uint32_t height) override;
  uint32_t Sddi_Bitmap(const char* path, uint32_t plane) override;
  uint32_t Sddi_Jpeg(const char* path, uint32_t plane) override;
  void Sddi_Tx(uint32_t bits, uint32_t value) override { picture_.SendWord(bits, value); }
  void C1_TxDebug(uint32_t bits, uint32_t value) override { picture_.C1_TxDebug(bits, value); }

  uint32_t Pll_Clock(uint32_t target, uint32_t reference, uint16_t* divider, uint16_t* exponent,
                     uint16_t* multiplier) override;
  uint32_t Pll_Nandu(uint32_t target, uint32_t reference, uint16_t* high, uint16_t* middle,
                     uint16_t* low) override;

  void SPIInit() override { spi_.Init(); }
  void SPIStop() override { flash_.Stop(); }
  uint32_t SPIReadID() override { return flash_.ReadId(); }
  void SPIBulkErase() override { flash_.BulkErase(); }
  void SPISectorErase(uint32_t adr) override { flash_.EraseSector(adr); }
  void SPIWriteByte(uint32_t adr, uint32_t data) override { flash_.WriteByte(adr, data); }
  void SPIReadByte(uint32_t adr, uint32_t* data) override { flash_.ReadByte(adr, data); }
  uint32_t SPIProgramFromFile(uint32_t adr, uint32_t maxsize, const char* szfile,
                              uint32_t erase) override;
  uint32_t SPIProgramToFile(uint32_t adr, uint32_t maxsize, const char* szfile) override;
  uint32_t SPIGetProgress() override { return flash_.progress(); }

  // Fixed results.
  uint32_t I2c_WriteString(char* /*count*/, const char* /*text*/) override { return 1; }

 private:
  const uint16_t base_ = kLptBase;
  Ports& ports_;
  Driver& driver_;
  LptI2c i2c_;
  LptSpi spi_;
  LptPicture picture_;
  flash::Flash flash_;
  image::PictureTransfer transfer_;
  uint8_t bLptImage = 0;     // last Lpt_Output value without bits 0 and 1
  uint8_t requestByte_ = 0;  // of the 9x family's requests
};

}  // namespace brisk::lpt
