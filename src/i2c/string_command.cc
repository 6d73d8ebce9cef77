#include "i2c/string_command.h"

#include <cstddef>
#include <cstdio>
#include <cstring>

namespace brisk::i2c {
namespace {

// Fixed positions of a command's fields.
constexpr size_t kDevice = 0;
constexpr size_t kRegister = 3;
constexpr size_t kFirstItem = 5;
constexpr size_t kReadDevice = 6;
constexpr size_t kReadSize = 8;

constexpr bool IsBlank(char c) { return c == ' ' || c == '\t'; }

constexpr int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// The second character is looked at only when the first is a digit, so the NUL ends every field.
uint8_t HexByte(const char* field) {
  while (IsBlank(*field)) ++field;
  const int high = HexDigit(field[0]);
  if (high < 0) return 0;
  const int low = HexDigit(field[1]);
  return low < 0 ? uint8_t{0} : static_cast<uint8_t>(high * 16 + low);
}

// Bytes of a value item or of a read, by its introducing character; 0 = no such item.
constexpr size_t ByteCount(char item) {
  switch (item) {
    case '-':
      return 1;
    case '=':
      return 2;
    case '+':
      return 3;
    default:
      return 0;
  }
}

uint32_t Fail(Bus& bus) {
  bus.I2c_Stop();
  return 1;
}

}  // namespace

uint32_t String(Bus& bus, const char* command) {
  if (command == nullptr) return 1;
  const size_t length = std::strlen(command);
  if (length < kFirstItem) return 1;
  bus.I2c_Start();
  if (bus.I2c_Tx(HexByte(command + kDevice)) != 0) return Fail(bus);
  bus.I2c_Tx(HexByte(command + kRegister));

  size_t position = kFirstItem;
  while (command[position] != '\0' && command[position] != '.') {
    const size_t bytes = ByteCount(command[position]);
    ++position;
    if (bytes == 0 || length - position < 2 * bytes) return Fail(bus);
    for (size_t i = bytes; i-- > 0;) bus.I2c_Tx(HexByte(command + position + 2 * i));
    position += 2 * bytes;
  }
  bus.I2c_Stop();
  return 0;
}

uint32_t ReadString(Bus& bus, char* result, const char* command) {
  if (result == nullptr) return 1;
  if (command == nullptr || std::strlen(command) <= kReadSize) {
    *result = '\0';
    return 1;
  }
  bus.I2c_Start();
  if (bus.I2c_Tx(HexByte(command + kDevice)) != 0) {
    *result = '\0';
    return Fail(bus);
  }
  bus.I2c_Tx(HexByte(command + kRegister));
  bus.I2c_Start();
  bus.I2c_Tx(HexByte(command + kReadDevice));

  const size_t bytes = ByteCount(command[kReadSize]);
  uint32_t value = 0;
  for (size_t i = 0; i < bytes; ++i) {
    uint32_t byte = 0;
    if (bus.I2c_Rx(&byte, i + 1 == bytes ? 1 : 0) != 0) {
      *result = '\0';
      return Fail(bus);
    }
    value |= (byte & 0xFF) << (8 * i);
  }
  bus.I2c_Stop();
  if (bytes != 0) {
    std::snprintf(result, 2 * bytes + 1, "%0*X", static_cast<int>(2 * bytes), unsigned{value});
  }
  return 0;
}

int32_t ReadStringEx(Bus& bus, const char* command) {
  char text[16] = "";
  if (ReadString(bus, text, command) != 0) return -2;
  int32_t value = 0;
  for (const char* digit = text; HexDigit(*digit) >= 0; ++digit) {
    value = value * 16 + HexDigit(*digit);
  }
  return value;
}

}  // namespace brisk::i2c
