#include "adapters/uart_bridge/uart_back_end.h"

#include <array>
#include <string_view>

#include "base/debug.h"
#include "i2c/bus.h"

namespace brisk::serial {
namespace {

constexpr std::string_view kWake = "TalvoCli\n";
constexpr std::string_view kAwake = "CLI_ACK";
constexpr std::string_view kEnterFrameMode = "uart_2_i2c\n";
constexpr std::string_view kInFrameMode = "UI2C_ACK";
constexpr std::string_view kLeaveFrameMode = "uartleave\n";

constexpr uint8_t kStart = 0xFA;
constexpr uint8_t kRestart = 0xFB;
constexpr uint8_t kStop = 0xFC;
constexpr uint8_t kTransmit = 0xFD;
constexpr uint8_t kReceive = 0xFE;
constexpr uint8_t kMarker = 0xFF;

// Raw register frames: the second byte says how wide the register is; any other is 4 bytes wide.
constexpr size_t kMaxFrame = 20;
constexpr std::array<uint8_t, 2> kReadCodes = {0xE8, 0xE9};   // 1 byte, 2 bytes
constexpr std::array<uint8_t, 2> kWriteCodes = {0xE1, 0xE2};  // 1 byte, 2 bytes

constexpr uint32_t kFailed = 1;

// Letters count on from 10 to the end of the alphabet, anything else is 0.
constexpr unsigned DigitValue(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  if (c >= 'A' && c <= 'Z') return static_cast<unsigned>(c - 'A') + 10;
  if (c >= 'a' && c <= 'z') return static_cast<unsigned>(c - 'a') + 10;
  return 0;
}

bool ParseFrame(const char* text, std::span<uint8_t> frame) {
  for (uint8_t& byte : frame) {
    if (text[0] == '\0' || text[1] == '\0') return false;
    byte = static_cast<uint8_t>(DigitValue(text[0]) * 16 + DigitValue(text[1]));
    text += 2;
  }
  return true;
}

constexpr uint8_t WidthOf(uint8_t code, std::span<const uint8_t, 2> codes) {
  if (code == codes[0]) return 1;
  return code == codes[1] ? 2 : 4;
}

}  // namespace

bool UartBackEnd::Connect(uint8_t port, uint32_t rate) {
  if (!RateIsUsable(rate, "uart_connect")) return false;
  if (port_.IsOpen()) Disconnect();
  if (!port_.Open(port, rate)) return false;
  port_.uart_write(kWake);
  // A bridge that is awake already does not answer; only the second token decides.
  port_.uart_wait_token(kAwake);
  port_.uart_write(kEnterFrameMode);
  if (!port_.uart_wait_token(kInFrameMode)) {
    Disconnect();
    debugLog.Print(0, "uart_connect fails : slave doesn't ack\n");
    return false;
  }
  port_.Record(rate);
  return true;
}

int UartBackEnd::Disconnect() {
  port_.uart_write(kLeaveFrameMode);
  return port_.Close();
}

void UartBackEnd::Send(std::span<const uint8_t> frame) {
  port_.uart_write(frame.data(), frame.size());
}

void UartBackEnd::I2c_Start() { Send({{kStart}}); }
void UartBackEnd::I2c_RStart() { Send({{kRestart}}); }
void UartBackEnd::I2c_Stop() { Send({{kStop}}); }

bool UartBackEnd::WaitReply(uint8_t* value) {
  return port_.WaitMarker(kMarker) && port_.WaitByte(value);
}

uint32_t UartBackEnd::I2c_Tx(uint32_t byte) {
  Send({{kTransmit, static_cast<uint8_t>(byte)}});
  uint8_t acknowledge = 0;
  return WaitReply(&acknowledge) ? acknowledge : kFailed;
}

uint32_t UartBackEnd::I2c_Rx(uint32_t* data, uint32_t acknowledge) {
  if (data == nullptr) return kFailed;
  Send({{kReceive, static_cast<uint8_t>(acknowledge)}});
  uint8_t status = 0;
  uint8_t byte = 0;
  if (!WaitReply(&status) || !WaitReply(&byte)) return kFailed;
  *data = byte;
  return status;
}

uint32_t UartBackEnd::I2cWrite(uint8_t byte) { return I2c_Tx(byte) == 0 ? 1 : 0; }

uint32_t UartBackEnd::I2cRead(uint8_t* data, uint32_t acknowledge) {
  if (data == nullptr) return 0;
  uint32_t value = 0;
  if (I2c_Rx(&value, acknowledge) != 0) return 0;
  *data = static_cast<uint8_t>(value);
  return 1;
}

bool UartBackEnd::SendAddress(uint16_t address, uint8_t readFlag) {
  const i2c::AddressBytes sent(address, readFlag);
  return SendAll(sent.bytes, sent.count);
}

// Sends every byte, also after one was not acknowledged.
bool UartBackEnd::SendAll(const uint8_t* bytes, uint32_t length) {
  bool ok = true;
  for (uint32_t i = 0; i < length; ++i) ok = I2cWrite(bytes[i]) != 0 && ok;
  return ok;
}

uint8_t UartBackEnd::I2cLib_Write(uint8_t /*channel*/, uint16_t address, const uint8_t* first,
                                  uint32_t firstLength, const uint8_t* second,
                                  uint32_t secondLength) {
  if (i2c::Missing(first, firstLength) || i2c::Missing(second, secondLength)) return 0;
  I2c_Start();
  const bool ok =
      SendAddress(address, 0) && SendAll(first, firstLength) && SendAll(second, secondLength);
  I2c_Stop();
  return ok ? 1 : 0;
}

// The bridge takes acknowledge argument 1 for every byte; a byte that did not come leaves its place
// in the buffer as it was.
uint8_t UartBackEnd::I2cLib_Read(uint8_t /*channel*/, uint16_t address, uint8_t* data,
                                 uint32_t length) {
  if (i2c::Missing(data, length)) return 0;
  I2c_RStart();
  const bool ok = SendAddress(address, 1);
  for (uint32_t i = 0; ok && i < length; ++i) I2cRead(data + i, 1);
  I2c_Stop();
  return ok ? 1 : 0;
}

uint8_t UartBackEnd::I2cLib_WriteRead(uint8_t channel, uint16_t address, const uint8_t* write,
                                      uint32_t writeLength, uint8_t* read, uint32_t readLength) {
  if (i2c::Missing(write, writeLength) || i2c::Missing(read, readLength)) return 0;
  I2c_Start();
  // No stop frame on this way out: the next start frame ends the transaction on the bus.
  if (!SendAddress(address, 0) || !SendAll(write, writeLength)) return 0;
  return I2cLib_Read(channel, address, read, readLength);
}

uint32_t UartBackEnd::I2cWriteByte(uint8_t device, uint8_t subAddress, uint8_t data) {
  return I2cLib_Write(0, device, &subAddress, 1, &data, 1);
}

uint32_t UartBackEnd::I2cReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) {
  return I2cLib_WriteRead(0, device, &subAddress, 1, data, 1);
}

uint32_t UartBackEnd::I2cWriteData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                                   const uint8_t* data, uint32_t dataLength) {
  return I2cLib_Write(0, device, command, commandLength, data, dataLength);
}

uint32_t UartBackEnd::I2cReadData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                                  uint8_t* data, uint32_t dataLength) {
  return I2cLib_WriteRead(0, device, command, commandLength, data, dataLength);
}

// Bytes are taken two at a time: junk that comes together with the marker takes it along.
bool UartBackEnd::WaitHeader(uint8_t* width) {
  const Stopwatch watch;
  for (;;) {
    uint8_t header[2] = {};
    const size_t read = port_.TakeWaiting(header, sizeof header);
    if (read != 0 && header[0] == kMarker) {
      if (read == 1) return port_.WaitByte(width);
      *width = header[1];
      return true;
    }
    if (watch.Exceeds(port_.ReplyTimeout())) {
      port_.NoteReply(false);
      return false;
    }
    if (read == 0) UartPort::Yield();
  }
}

bool UartBackEnd::SendRegisterFrame(const char* count, const char* text,
                                    std::span<const uint8_t, 2> codes, uint8_t* width) {
  if (count == nullptr || text == nullptr) return false;
  const size_t length = static_cast<uint8_t>(*count);
  std::array<uint8_t, kMaxFrame> bytes{};
  if (length == 0 || length > bytes.size()) return false;
  const std::span<uint8_t> frame = std::span(bytes).first(length);
  if (!ParseFrame(text, frame)) return false;
  Send(frame);
  return WaitHeader(width) && *width == WidthOf(bytes[1], codes);
}

uint32_t UartBackEnd::I2c_ReadString(char* count, const char* text) {
  uint8_t width = 0;
  if (!SendRegisterFrame(count, text, kReadCodes, &width)) return kFailed;
  uint8_t bytes[4] = {};
  for (size_t have = 0; have < width;) {
    const size_t read = port_.WaitBytes(bytes + have, width - have);
    if (read == 0) return kFailed;
    have += read;
  }
  uint32_t value = 0;
  for (size_t i = 0; i < width; ++i) value = value << 8 | bytes[i];
  *count = static_cast<char>(width);
  return value;
}

uint32_t UartBackEnd::I2c_WriteString(char* count, const char* text) {
  uint8_t width = 0;
  if (!SendRegisterFrame(count, text, kWriteCodes, &width)) return kFailed;
  *count = static_cast<char>(width);
  return kMarker;
}

}  // namespace brisk::serial
