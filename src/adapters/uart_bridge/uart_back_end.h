#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "api/back_end.h"
#include "serial/uart_port.h"

namespace brisk::serial {

// Device type 3, a bridge with binary frames:
//
//   start 0xFA   restart 0xFB   stop 0xFC        no reply
//   transmit 0xFD byte                           0xFF acknowledge (0 = acknowledged)
//   receive 0xFE acknowledge-argument            0xFF status 0xFF byte
//   raw register frame, 1 to 20 bytes            0xFF width, then the bytes of a read
//
// The bridge has a command line besides: "TalvoCli\n" wakes it, "uart_2_i2c\n" begins the frame
// mode and "uartleave\n" ends it.
//
// Beyond that: a frame text shorter than its count says, a count of 0 or above 20 and a null
// pointer fail with nothing sent; a frame of one byte expects width 4. A header whose 0xFF came
// alone waits for the width byte, and a read for each part of its bytes, one reply time-out each; a
// read that ends short fails.
class UartBackEnd final : public BackEnd {
 public:
  bool Connect(uint8_t port, uint32_t rate);
  int Disconnect();

  void I2c_Start() override;
  void I2c_RStart() override;
  void I2c_Stop() override;
  uint32_t I2c_Tx(uint32_t byte) override;
  uint32_t I2c_Rx(uint32_t* data, uint32_t acknowledge) override;
  uint32_t I2cWrite(uint8_t byte) override;
  uint32_t I2cRead(uint8_t* data, uint32_t acknowledge) override;

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

  // Raw register frames: `count` points to the number of frame bytes and receives the width of the
  // register; `text` holds two digits for each byte. Reading returns the value, writing 255; any
  // failure is 1 and leaves the count as it was.
  uint32_t I2c_ReadString(char* count, const char* text) override;
  uint32_t I2c_WriteString(char* count, const char* text) override;

  // Fixed results; every other row does nothing or returns 0.
  uint32_t Sddi_Bitmap(const char*, uint32_t) override { return 1; }
  uint32_t Sddi_Jpeg(const char*, uint32_t) override { return 1; }
  uint32_t Lpt_Output(uint8_t) override { return 1; }
  uint32_t Lpt_Input(uint8_t*) override { return 1; }
  uint32_t Pll_Clock(uint32_t, uint32_t, uint16_t*, uint16_t*, uint16_t*) override { return 1; }
  uint32_t Pll_Nandu(uint32_t, uint32_t, uint16_t*, uint16_t*, uint16_t*) override { return 1; }
  uint8_t I2c_BitIn() override { return 1; }
  uint32_t I2c_String(const char*) override { return 1; }
  int32_t I2c_ReadStringEx(const char*) override { return 1; }
  uint32_t I2cWriteHead(uint8_t, uint8_t) override { return 1; }

 private:
  void Send(std::span<const uint8_t> frame);
  bool WaitReply(uint8_t* value);
  bool SendAddress(uint16_t address, uint8_t readFlag);
  bool SendAll(const uint8_t* bytes, uint32_t length);
  bool WaitHeader(uint8_t* width);
  bool SendRegisterFrame(const char* count, const char* text, std::span<const uint8_t, 2> codes,
                         uint8_t* width);

  UartPort port_{57600};
};

}  // namespace brisk::serial
