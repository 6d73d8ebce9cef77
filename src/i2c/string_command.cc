#include "i2c/string_command.h"

#include <cstddef>
#include <cstring>

#include "base/text.h"

namespace brisk::i2c {
namespace {

// Fixed positions of a command's fields.
constexpr size_t kDevice = 0;
constexpr size_t kRegister = 3;
constexpr size_t kFirstItem = 5;
constexpr size_t kReadDevice = 6;
constexpr size_t kReadSize = 8;

constexpr bool IsBlank(char c) { return c == ' ' || c == '\t'; }

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

}  // namespace

Status StringCommands::Fail(Cause cause) {
  bus_.Stop();
  return cause;
}

Status StringCommands::Write(const char* command) {
  if (command == nullptr) return Cause::kBadArgument;
  const size_t length = std::strlen(command);
  if (length < kFirstItem) return Cause::kBadArgument;
  bus_.Start();
  if (!bus_.Send(HexByte(command + kDevice)).ok()) return Fail(Cause::kNoAcknowledge);
  static_cast<void>(bus_.Send(HexByte(command + kRegister)));

  size_t position = kFirstItem;
  while (command[position] != '\0' && command[position] != '.') {
    const size_t bytes = ByteCount(command[position]);
    ++position;
    if (bytes == 0 || length - position < 2 * bytes) return Fail(Cause::kBadArgument);
    for (size_t i = bytes; i-- > 0;) {
      static_cast<void>(bus_.Send(HexByte(command + position + 2 * i)));
    }
    position += 2 * bytes;
  }
  bus_.Stop();
  return {};
}

Outcome<StringCommands::Value> StringCommands::Read(const char* command) {
  if (command == nullptr || std::strlen(command) <= kReadSize) return Cause::kBadArgument;
  bus_.Start();
  if (!bus_.Send(HexByte(command + kDevice)).ok()) return Fail(Cause::kNoAcknowledge);
  static_cast<void>(bus_.Send(HexByte(command + kRegister)));
  bus_.Start();
  static_cast<void>(bus_.Send(HexByte(command + kReadDevice)));

  Value value{.bytes = static_cast<uint32_t>(ByteCount(command[kReadSize]))};
  for (uint32_t i = 0; i < value.bytes; ++i) {
    uint8_t byte = 0;
    const Status received = bus_.Receive(&byte, i + 1 == value.bytes ? 1 : 0);
    // A byte that came counts, whatever the adapter's library says of it.
    if (!received.ok() && received.cause() != Cause::kTransfer) return Fail(received.cause());
    value.number |= uint32_t{byte} << (8 * i);
  }
  bus_.Stop();
  return value;
}

}  // namespace brisk::i2c
