#include "adapters/text_bridge/line_bus.h"

#include <algorithm>
#include <cstddef>

#include "adapters/text_bridge/lines.h"
#include "base/text.h"

namespace brisk::text_bridge {
namespace {

constexpr uint8_t Decode(uint8_t high, uint8_t low) {
  return static_cast<uint8_t>((high - '0') * 16 + ((low - '0') & 0x0F));
}

}  // namespace

void LineBus::SendBytes(Bytes bytes) {
  while (!bytes.empty()) {
    char text[128];
    const size_t count = std::min(bytes.size(), sizeof text / 2);
    for (size_t i = 0; i < count; ++i) {
      text[2 * i] = kHexDigits[bytes[i] >> 4];
      text[2 * i + 1] = kHexDigits[bytes[i] & 0x0F];
    }
    SendText({text, 2 * count});
    bytes = bytes.subspan(count);
  }
}

Status LineBus::Send(uint8_t byte) {
  SendBytes({&byte, 1});
  return {};
}

Status LineBus::Receive(uint8_t* byte, uint32_t /*last*/) {
  uint8_t high = 0;
  uint8_t low = 0;
  if (!port_.WaitByte(&high) || !port_.WaitByte(&low)) return Cause::kTimeOut;
  *byte = Decode(high, low);
  return {};
}

void LineChannels::SendAddress(uint16_t address, uint8_t direction) {
  const i2c::AddressBytes sent(address, direction);
  bus_.SendBytes({sent.bytes, sent.count});
}

// Sends the line off and takes its status.
Status LineChannels::EndLine() {
  bus_.SendText(kLineEnd);
  uint8_t digit = 0;
  if (!port_.WaitByte(&digit)) return Cause::kTimeOut;
  uint8_t dropped = 0;
  port_.WaitByte(&dropped);
  if (dropped != kLineFeed) port_.ExpectSurplus();  // this was not the line's answer
  return digit == kAcknowledged ? Status() : Status(Cause::kNoAcknowledge, digit);
}

Status LineChannels::Write(uint8_t /*channel*/, uint16_t address, Bytes first, Bytes second) {
  if (IsNullWithLength(first) || IsNullWithLength(second)) return Cause::kBadArgument;
  SendAddress(address, i2c::kWriteFlag);
  bus_.SendBytes(first);
  bus_.SendBytes(second);
  return EndLine();
}

Status LineChannels::Read(uint8_t /*channel*/, uint16_t address, Buffer data) {
  if (IsNullWithLength(data)) return Cause::kBadArgument;
  SendAddress(address, i2c::kReadFlag);
  const Status status = EndLine();
  if (status.ok()) {
    for (uint8_t& byte : data) static_cast<void>(bus_.Receive(&byte, 0));
    uint8_t dropped = 0;
    port_.WaitByte(&dropped);
    port_.ExpectSurplus();  // the bridge sends on until it is told
  }
  bus_.SendText(kAnswerTaken);
  return status;
}

Status LineChannels::WriteRead(uint8_t channel, uint16_t address, Bytes write, Buffer read) {
  if (IsNullWithLength(write) || IsNullWithLength(read)) return Cause::kBadArgument;
  SendAddress(address, i2c::kWriteFlag);
  bus_.SendBytes(write);
  // A 7-bit read goes on in the same line; a 10-bit one is a line of its own.
  if (i2c::IsTenBitAddress(address)) {
    const Status written = EndLine();
    if (!written.ok()) {
      bus_.SendText(kAnswerTaken);
      return written;
    }
  }
  return Read(channel, address, read);
}

}  // namespace brisk::text_bridge
