#include "adapters/text_bridge/text_bridge_back_end.h"

#include <algorithm>
#include <cstddef>

#include "i2c/bus.h"

namespace brisk::serial {
namespace {

constexpr std::string_view kWake = "MagicCli\n";
constexpr std::string_view kAwake = "CLIMagic\n";
constexpr std::string_view kNotAwake = "Fail connect\n";
constexpr std::string_view kLineEnd = "\n";
constexpr std::string_view kAnswerTaken = "1\n";

constexpr char kDigits[] = "0123456789ABCDEF";

constexpr uint8_t Decode(uint8_t high, uint8_t low) {
  return static_cast<uint8_t>((high - '0') * 16 + ((low - '0') & 0x0F));
}

}  // namespace

bool TextBridgeBackEnd::Connect(uint8_t port, uint32_t rate) {
  if (!RateIsUsable(rate, "uart_mag_connect")) return false;
  if (port_.IsOpen()) Disconnect();
  // The line runs at the rate recorded by the previous connect; tools connect twice to change it.
  if (!port_.Open(port, port_.recordedRate())) return false;
  SendText(kWake);
  if (!port_.uart_wait_token(kAwake)) SendText(kNotAwake);
  port_.Record(rate);
  return true;
}

int TextBridgeBackEnd::Disconnect() { return port_.Close(); }

void TextBridgeBackEnd::SendBytes(const uint8_t* bytes, uint32_t length) {
  while (length != 0) {
    uint8_t text[128];
    const uint32_t count = std::min<uint32_t>(length, sizeof text / 2);
    for (uint32_t i = 0; i < count; ++i) {
      text[size_t{2} * i] = static_cast<uint8_t>(kDigits[bytes[i] >> 4]);
      text[size_t{2} * i + 1] = static_cast<uint8_t>(kDigits[bytes[i] & 0x0F]);
    }
    port_.uart_write(text, size_t{2} * count);
    bytes += count;
    length -= count;
  }
}

uint32_t TextBridgeBackEnd::I2c_Tx(uint32_t byte) {
  const uint8_t low = static_cast<uint8_t>(byte);
  SendBytes(&low, 1);
  return 0;
}

uint32_t TextBridgeBackEnd::I2cWrite(uint8_t byte) { return I2c_Tx(byte) == 0 ? 1 : 0; }

uint32_t TextBridgeBackEnd::I2c_Rx(uint32_t* data, uint32_t /*last*/) {
  uint8_t high = 0;
  uint8_t low = 0;
  if (data == nullptr || !port_.WaitByte(&high) || !port_.WaitByte(&low)) return 1;
  *data = Decode(high, low);
  return 0;
}

uint32_t TextBridgeBackEnd::I2cRead(uint8_t* data, uint32_t last) {
  uint32_t value = 0;
  if (data == nullptr || I2c_Rx(&value, last) != 0) return 0;
  *data = static_cast<uint8_t>(value);
  return 1;
}

void TextBridgeBackEnd::SendAddress(uint16_t address, uint8_t readFlag) {
  const i2c::AddressBytes sent(address, readFlag);
  SendBytes(sent.bytes, sent.count);
}

uint8_t TextBridgeBackEnd::ReadStatus() {
  uint8_t digit = 0;
  if (!port_.WaitByte(&digit)) return 0;
  uint8_t dropped = 0;
  port_.WaitByte(&dropped);
  if (dropped != kLineEnd.front()) port_.ExpectSurplus();  // this was not the line's answer
  return digit == '1' ? 1 : 0;
}

uint8_t TextBridgeBackEnd::I2cLib_Write(uint8_t /*channel*/, uint16_t address, const uint8_t* first,
                                        uint32_t firstLength, const uint8_t* second,
                                        uint32_t secondLength) {
  if (i2c::Missing(first, firstLength) || i2c::Missing(second, secondLength)) return 0;
  SendAddress(address, 0);
  SendBytes(first, firstLength);
  SendBytes(second, secondLength);
  SendText(kLineEnd);
  return ReadStatus();
}

uint8_t TextBridgeBackEnd::I2cLib_Read(uint8_t /*channel*/, uint16_t address, uint8_t* data,
                                       uint32_t length) {
  if (i2c::Missing(data, length)) return 0;
  SendAddress(address, 1);
  SendText(kLineEnd);
  const uint8_t status = ReadStatus();
  if (status == 1) {
    for (uint32_t i = 0; i < length; ++i) I2cRead(data + i, 0);
    uint8_t dropped = 0;
    port_.WaitByte(&dropped);
    port_.ExpectSurplus();  // the bridge sends on until it is told
  }
  SendText(kAnswerTaken);
  return status;
}

uint8_t TextBridgeBackEnd::I2cLib_WriteRead(uint8_t channel, uint16_t address, const uint8_t* write,
                                            uint32_t writeLength, uint8_t* read,
                                            uint32_t readLength) {
  if (i2c::Missing(write, writeLength) || i2c::Missing(read, readLength)) return 0;
  SendAddress(address, 0);
  SendBytes(write, writeLength);
  // A 7-bit read goes on in the same line; a 10-bit one is a line of its own.
  if (i2c::IsTenBitAddress(address)) {
    SendText(kLineEnd);
    if (ReadStatus() != 1) {
      SendText(kAnswerTaken);
      return 0;
    }
  }
  return I2cLib_Read(channel, address, read, readLength);
}

uint32_t TextBridgeBackEnd::I2cWriteData(uint8_t device, const uint8_t* command,
                                         uint32_t commandLength, const uint8_t* data,
                                         uint32_t dataLength) {
  return I2cLib_Write(0, device, command, commandLength, data, dataLength);
}

uint32_t TextBridgeBackEnd::I2cReadData(uint8_t device, const uint8_t* command,
                                        uint32_t commandLength, uint8_t* data,
                                        uint32_t dataLength) {
  return I2cLib_WriteRead(0, device, command, commandLength, data, dataLength);
}

}  // namespace brisk::serial
