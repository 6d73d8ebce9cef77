#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "adapters/debug_board/board_library.h"
#include "api/back_end.h"
#include "base/progress.h"
#include "contracts/debug_board.h"

namespace brisk::usb {

// Device type 2: the USB debug board. The board does the bus work; every operation is one or more
// exchanges of packets. Its port registers serve nearly every other device type as well.
//
// Without the board or its library every operation sends nothing, leaves its outputs alone and
// returns 0, block transfers included. A null pointer that should hold or receive bytes does the
// same.
//
// Block writes go out in the packets that boards in the field are driven with, byte for byte. Where
// one position of the last packet is left over, the stop follows in a packet of its own and that
// position keeps what the packet held: brisk_i2c.h says what reaches the bus then.
//
// Flash transfers are counted page by page.
class DebugBoardBackEnd : public BackEnd {
 public:
  explicit DebugBoardBackEnd(ProgressReporter& reporter) : reporter_(reporter) {}

  // Load the library and open the board, with two port writes through the exported SetPortVal; one
  // more such write and the closing at detach.
  void ProcessAttach() override;
  void ProcessDetach() override;

  void I2c_Start() override;
  void I2c_RStart() override { I2c_Start(); }
  void I2c_Stop() override;
  uint32_t I2c_Tx(uint32_t byte) override;  // always 0
  uint32_t I2c_Rx(uint32_t* data, uint32_t last) override;
  uint32_t I2cWrite(uint8_t byte) override;
  uint32_t I2cRead(uint8_t* data, uint32_t last) override;
  uint32_t I2cWriteByte(uint8_t device, uint8_t subAddress, uint8_t data) override;
  uint32_t I2cReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) override;
  uint32_t I2cWriteData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                        const uint8_t* data, uint32_t dataLength) override;
  uint32_t I2cReadData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                       uint8_t* data, uint32_t dataLength) override;
  uint8_t I2cLib_Write(uint8_t channel, uint16_t address, const uint8_t* first,
                       uint32_t firstLength, const uint8_t* second, uint32_t secondLength) override;
  uint8_t I2cLib_Read(uint8_t channel, uint16_t address, uint8_t* data, uint32_t length) override;
  uint8_t I2cLib_WriteRead(uint8_t channel, uint16_t address, const uint8_t* write,
                           uint32_t writeLength, uint8_t* read, uint32_t readLength) override;

  uint32_t Lpt_Output(uint8_t value) override;
  uint32_t Lpt_Input(uint8_t* value) override;
  uint32_t SetPortVal(uint8_t port, uint8_t value) override;
  uint32_t GetPortVal(uint8_t port, uint8_t* value) override;
  // Word lengths outside 1 to 32 send nothing.
  void Sddi_Tx(uint32_t bits, uint32_t value) override;
  uint32_t Pll_Write(uint8_t a, uint8_t b, uint32_t c, uint32_t d, uint32_t e) override;

  uint32_t SPIReadID() override;
  void SPIBulkErase() override;
  void SPISectorErase(uint32_t adr) override;
  void SPIWriteByte(uint32_t adr, uint32_t data) override;  // erases nothing first
  void SPIReadByte(uint32_t adr, uint32_t* data) override;
  uint32_t SPIProgramFromFile(uint32_t adr, uint32_t maxsize, const char* szfile,
                              uint32_t erase) override;
  uint32_t SPIProgramToFile(uint32_t adr, uint32_t maxsize, const char* szfile) override;
  uint32_t SPIGetProgress() override { return progress_; }

  // Fixed results: these touch no hardware, with or without a board.
  uint8_t I2c_BitIn() override { return 1; }
  uint32_t I2c_String(const char* /*command*/) override { return 1; }
  int32_t I2c_ReadStringEx(const char* /*command*/) override { return 1; }
  uint32_t I2c_ReadString(char* /*result*/, const char* /*command*/) override { return 1; }
  uint32_t I2c_WriteString(char* /*count*/, const char* /*text*/) override { return 1; }
  uint32_t I2cWriteHead(uint8_t /*device*/, uint8_t /*subAddress*/) override { return 1; }
  uint32_t Sddi_Bitmap(const char* /*path*/, uint32_t /*plane*/) override { return 1; }
  uint32_t Sddi_Jpeg(const char* /*path*/, uint32_t /*plane*/) override { return 1; }
  uint32_t Pll_Clock(uint32_t /*target*/, uint32_t /*reference*/, uint16_t* /*divider*/,
                     uint16_t* /*exponent*/, uint16_t* /*multiplier*/) override {
    return 1;
  }
  uint32_t Pll_Nandu(uint32_t /*target*/, uint32_t /*reference*/, uint16_t* /*high*/,
                     uint16_t* /*middle*/, uint16_t* /*low*/) override {
    return 1;
  }

 private:
  uint32_t Send(Frame frame) { return library_.Exchange(frame); }
  bool SendAll(std::span<const uint8_t> bytes);
  bool SendAddress(uint16_t address, uint8_t readFlag);
  void ReadBlock(std::span<uint8_t> data);

  bool FlashEnable();
  bool WaitForStatus(uint8_t mask, uint8_t wanted);
  void FlashCommand(Frame frame);
  bool ProgramPacket(uint32_t address, std::span<const uint8_t> bytes);
  bool ProgramRange(uint32_t address, std::span<const uint8_t> bytes);
  bool ReadRange(uint32_t address, std::span<uint8_t> bytes);
  uint32_t ProgramPages(uint32_t address, std::span<const uint8_t> bytes);
  bool StopAsked(uint64_t done, uint64_t total);

  ProgressReporter& reporter_;
  BoardLibrary library_;
  uint32_t progress_ = 0;  // percent
};

}  // namespace brisk::usb
