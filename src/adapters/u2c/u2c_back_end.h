#pragma once

#include <cstdint>
#include <span>

#include "adapters/u2c/u2c_adapter.h"
#include "adapters/u2c/u2c_flash.h"
#include "api/back_end.h"
#include "base/progress.h"
#include "image/port_words.h"
#include "image/transfer.h"
#include "pll/pll.h"

namespace brisk::u2c {

// Device type 1: a U2C USB adapter, through its library. It connects on first use; while there is
// no adapter every operation fails, and the next one tries again. Counts that a transaction record
// cannot carry (more than 4 sub-address bytes, more than 256 data bytes) fail before anything is
// sent. Sub-addresses of several bytes go into the record two ways: the I2cLib_ family copies them
// in order, I2cReadData stores the number that they form most significant byte first.
//
// Every step of the picture port is a call of the adapter's library, three to an output byte: a
// word of n bits costs 3 (1 + 2 n) of them. That is 195 for two 16-bit pixels and 77 million for a
// frame of 1024 x 768; in 24-bit mode it is half as much again.
class U2cBackEnd : public BackEnd {
 public:
  explicit U2cBackEnd(ProgressReporter& reporter);

  void Prepare() override { adapter_.Connect(); }

  void I2c_Start() override { adapter_.I2c_Start(); }
  void I2c_RStart() override { adapter_.I2c_RStart(); }
  void I2c_Stop() override { adapter_.I2c_Stop(); }
  uint32_t I2c_Tx(uint32_t byte) override { return adapter_.I2c_Tx(byte); }
  uint32_t I2c_Rx(uint32_t* data, uint32_t last) override { return adapter_.I2c_Rx(data, last); }

  uint32_t I2cWrite(uint8_t byte) override;
  uint32_t I2cRead(uint8_t* data, uint32_t last) override;
  uint32_t I2cWriteHead(uint8_t device, uint8_t subAddress) override;
  uint32_t I2cWriteByte(uint8_t device, uint8_t subAddress, uint8_t data) override;
  uint32_t I2cReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) override;
  uint32_t I2cWriteData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                        const uint8_t* data, uint32_t dataLength) override;
  uint32_t I2cReadData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                       uint8_t* data, uint32_t dataLength) override;
  void I2cSetClockRate(uint32_t kHz) override;

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
                        uint32_t height) override {
    transfer_.Sddi_Bitblt_Copy(x1, y1, x2, y2, width, height);
  }
  uint32_t Sddi_Bitmap(const char* path, uint32_t plane) override {
    return transfer_.Sddi_Bitmap(path, plane);
  }
  uint32_t Sddi_Jpeg(const char* path, uint32_t plane) override {
    return transfer_.Sddi_Jpeg(path, plane);
  }
  void Sddi_Tx(uint32_t bits, uint32_t value) override { picture_.SendWord(bits, value); }
  // Of its lines only the three mapped ones exist here: it drives them low.
  void C1_TxDebug(uint32_t bits, uint32_t value) override { picture_.C1_TxDebug(bits, value); }

  uint32_t Pll_Clock(uint32_t target, uint32_t reference, uint16_t* divider, uint16_t* exponent,
                     uint16_t* multiplier) override {
    return flash::Pll_Clock(target, reference, divider, exponent, multiplier);
  }
  uint32_t Pll_Nandu(uint32_t target, uint32_t reference, uint16_t* high, uint16_t* middle,
                     uint16_t* low) override {
    return flash::Pll_Nandu(target, reference, high, middle, low);
  }
  uint32_t Pll_Write(uint8_t a, uint8_t b, uint32_t c, uint32_t d, uint32_t e) override;

  void SPIInit() override { flash_.Prepare(); }
  void SPIStop() override;
  uint32_t SPIReadID() override { return flash_.ReadId(); }
  void SPIBulkErase() override { flash_.BulkErase(); }
  void SPISectorErase(uint32_t adr) override { flash_.EraseSector(adr); }
  void SPIWriteByte(uint32_t adr, uint32_t data) override { flash_.WriteByte(adr, data); }
  void SPIReadByte(uint32_t adr, uint32_t* data) override { flash_.ReadByte(adr, data); }
  uint32_t SPIProgramFromFile(uint32_t adr, uint32_t maxsize, const char* szfile,
                              uint32_t erase) override {
    return flash_.ProgramFromFile(adr, maxsize, szfile, erase != 0);
  }
  uint32_t SPIProgramToFile(uint32_t adr, uint32_t maxsize, const char* szfile) override {
    return flash_.ProgramToFile(adr, maxsize, szfile);
  }
  uint32_t SPIGetProgress() override { return flash_.progress(); }
  void SPISetClockRate(uint32_t kHz) override { adapter_.SetSpiClock(kHz); }

  // Fixed results.
  uint32_t I2c_WriteString(char* /*count*/, const char* /*text*/) override { return 1; }

 private:
  // The picture port on the adapter's three lines.
  class Picture : public image::PortWords, public image::RegisterReader {
   public:
    Picture(U2cAdapter& adapter, const uint8_t& base) : PortWords(base), adapter_(adapter) {}
    int32_t ReadRegister(const char* command) override;

   private:
    void WritePort(uint8_t value) override { adapter_.WritePort(value); }

    U2cAdapter& adapter_;
  };

  void SetSpeedMode(uint8_t mode);
  uint32_t ReadWithThreeSubBytes(uint8_t device, const uint8_t* command,
                                 std::span<uint8_t> destination);

  U2cAdapter adapter_;
  uint8_t bLptImage = 0;  // last Lpt_Output value without bits 0 and 1
  uint8_t speedMode_ = 2;
  Picture picture_;
  U2cFlash flash_;
  image::PictureTransfer transfer_;
};

}  // namespace brisk::u2c
