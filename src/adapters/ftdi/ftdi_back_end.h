#pragma once

#include <cstdint>

#include "adapters/ftdi/boards.h"
#include "adapters/ftdi/flash_link.h"
#include "api/back_end.h"
#include "base/progress.h"
#include "flash/flash.h"

namespace brisk::ftdi {

// Device type 8: boards with the MPSSE of an FT2232C, up to 300 kHz when one of them is a Talvo
// board, else up to 200. Short writes are deferred for at most 10 ms, so their result says only
// that they were taken; no acknowledge is looked at in either direction. A write without any board
// gives 0, and so does a read, which then leaves 0xFF everywhere.
class FtdiBackEnd final : public BackEnd {
 public:
  explicit FtdiBackEnd(ProgressReporter& reporter);

  void ProcessDetach() override;
  uint8_t Select() override { return static_cast<uint8_t>(boards_.Connect()); }

  uint32_t I2cWriteData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                        const uint8_t* data, uint32_t dataLength) override;
  uint32_t I2cReadData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                       uint8_t* data, uint32_t dataLength) override;
  void I2cSetClockRate(uint32_t kHz) override { static_cast<void>(boards_.SetClockRate(kHz)); }

  // Direction nibble, level nibble of GPIOH0 to GPIOH3.
  uint32_t SetPortVal(uint8_t direction, uint8_t levels) override;

  void SPIInit() override;
  void SPIStop() override { flash_.Stop(); }
  uint32_t SPIReadID() override;
  void SPIBulkErase() override;
  void SPISectorErase(uint32_t adr) override;
  void SPIWriteByte(uint32_t adr, uint32_t data) override;
  void SPIReadByte(uint32_t adr, uint32_t* data) override;
  uint32_t SPIProgramFromFile(uint32_t adr, uint32_t maxsize, const char* szfile,
                              uint32_t erase) override;
  uint32_t SPIProgramToFile(uint32_t adr, uint32_t maxsize, const char* szfile) override;
  uint32_t SPIGetProgress() override { return flash_.progress(); }

  // Fixed results; every other row does nothing and returns 0.
  uint32_t Sddi_Bitmap(const char* /*path*/, uint32_t /*plane*/) override { return 1; }
  uint32_t Sddi_Jpeg(const char* /*path*/, uint32_t /*plane*/) override { return 1; }
  uint32_t Lpt_Output(uint8_t /*value*/) override { return 1; }
  uint32_t Lpt_Input(uint8_t* /*value*/) override { return 1; }
  uint32_t Pll_Clock(uint32_t /*target*/, uint32_t /*reference*/, uint16_t* /*divider*/,
                     uint16_t* /*exponent*/, uint16_t* /*multiplier*/) override {
    return 1;
  }
  uint32_t Pll_Nandu(uint32_t /*target*/, uint32_t /*reference*/, uint16_t* /*high*/,
                     uint16_t* /*middle*/, uint16_t* /*low*/) override {
    return 1;
  }
  uint8_t I2cLib_Write(uint8_t /*channel*/, uint16_t /*address*/, const uint8_t* /*first*/,
                       uint32_t /*firstLength*/, const uint8_t* /*second*/,
                       uint32_t /*secondLength*/) override {
    return 1;
  }
  uint8_t I2cLib_Read(uint8_t /*channel*/, uint16_t /*address*/, uint8_t* /*data*/,
                      uint32_t /*length*/) override {
    return 1;
  }
  uint8_t I2cLib_WriteRead(uint8_t /*channel*/, uint16_t /*address*/, const uint8_t* /*write*/,
                           uint32_t /*writeLength*/, uint8_t* /*read*/,
                           uint32_t /*readLength*/) override {
    return 1;
  }

 private:
  Boards boards_;
  FlashLink link_;
  flash::Flash flash_;
};

}  // namespace brisk::ftdi
