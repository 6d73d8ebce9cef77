#pragma once

#include <cstdint>
#include <string_view>

#include "api/back_end.h"
#include "serial/uart_port.h"

namespace brisk::serial {

// Device type 7, a bridge that takes a transaction as one line of text, two hexadecimal digits for
// each byte, and answers with a status digit and a line feed. "MagicCli\n" wakes it.
//
// Received bytes are decoded as character minus '0' for either nibble, so that the nibbles 10 to 15
// are the six characters that follow '9' in ASCII (":;<=>?"); letters are not digits here.
// A status that does not come within the reply time-out is a failure (0): a silent bridge has
// acknowledged nothing. One whose second character is missing counts as its digit says.
class TextBridgeBackEnd final : public BackEnd {
 public:
  bool Connect(uint8_t port, uint32_t rate);
  int Disconnect();

  uint32_t I2c_Tx(uint32_t byte) override;
  uint32_t I2c_Rx(uint32_t* data, uint32_t last) override;
  uint32_t I2cWrite(uint8_t byte) override;
  uint32_t I2cRead(uint8_t* data, uint32_t last) override;
  uint32_t I2cWriteData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                        const uint8_t* data, uint32_t dataLength) override;
  uint32_t I2cReadData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                       uint8_t* data, uint32_t dataLength) override;
  uint8_t I2cLib_Write(uint8_t channel, uint16_t address, const uint8_t* first,
                       uint32_t firstLength, const uint8_t* second, uint32_t secondLength) override;
  uint8_t I2cLib_Read(uint8_t channel, uint16_t address, uint8_t* data, uint32_t length) override;
  uint8_t I2cLib_WriteRead(uint8_t channel, uint16_t address, const uint8_t* write,
                           uint32_t writeLength, uint8_t* read, uint32_t readLength) override;

  // Fixed results; every other row does nothing or returns 0.
  uint32_t I2c_String(const char*) override { return 1; }
  uint32_t I2c_ReadString(char*, const char*) override { return 1; }
  uint32_t I2c_WriteString(char*, const char*) override { return 1; }
  int32_t I2c_ReadStringEx(const char*) override { return -2; }
  uint32_t SPIReadID() override { return 1; }

 private:
  void SendBytes(const uint8_t* bytes, uint32_t length);
  void SendAddress(uint16_t address, uint8_t readFlag);
  void SendText(std::string_view text) { port_.uart_write(text); }
  uint8_t ReadStatus();

  UartPort port_{115200};
};

}  // namespace brisk::serial
