#include "adapters/uart_bridge/text_frames.h"

#include <algorithm>
#include <array>

#include "base/bytes.h"
#include "base/text.h"

namespace brisk::uart_bridge {
namespace {

// Digits go on through the alphabet, and a pair above 255 loses its ninth bit.
constexpr unsigned DigitValue(char c) { return static_cast<unsigned>(std::max(Digit(c, 36), 0)); }

bool ParseFrame(const char* text, Buffer frame) {
  for (uint8_t& byte : frame) {
    if (text[0] == '\0' || text[1] == '\0') return false;
    byte = static_cast<uint8_t>(DigitValue(text[0]) * 16 + DigitValue(text[1]));
    text += 2;
  }
  return true;
}

}  // namespace

// Bytes are taken two at a time: junk that comes together with the marker takes it along.
bool TextFrames::WaitHeader(uint8_t* width) {
  uint8_t header[2] = {};
  size_t read = 0;
  const bool came = port_.WaitReply([&] {
    read = port_.TakeWaiting(header, sizeof header);
    if (read == 0) return serial::Came::kNothing;
    return header[0] == kMarker ? serial::Came::kWanted : serial::Came::kSomething;
  });
  if (!came) return false;
  if (read == 1) return port_.WaitByte(width);
  *width = header[1];
  return true;
}

Status TextFrames::Exchange(const uint8_t* count, const char* text, const WidthCodes& codes,
                            uint8_t* width) {
  std::array<uint8_t, kMaxRegisterFrame> bytes{};
  if (count == nullptr || text == nullptr || *count == 0 || *count > bytes.size()) {
    return Cause::kBadArgument;
  }
  if (!ParseFrame(text, {bytes.data(), *count})) return Cause::kBadArgument;
  port_.uart_write(bytes.data(), *count);
  if (!WaitHeader(width)) return Cause::kTimeOut;
  return *width == codes.WidthOf(bytes[1]) ? Status() : Status(Cause::kRejected, *width);
}

Outcome<uint32_t> TextFrames::ReadFrame(uint8_t* count, const char* text) {
  uint8_t width = 0;
  const Status taken = Exchange(count, text, kReadWidths, &width);
  if (!taken.ok()) return taken;
  uint8_t bytes[kWidestRegister] = {};
  for (size_t have = 0; have < width;) {
    const size_t read = port_.WaitBytes(bytes + have, width - have);
    if (read == 0) return Cause::kTimeOut;
    have += read;
  }
  uint32_t value = 0;
  for (size_t i = 0; i < width; ++i) value = value << 8 | bytes[i];
  *count = width;
  return value;
}

Status TextFrames::WriteFrame(uint8_t* count, const char* text) {
  uint8_t width = 0;
  const Status taken = Exchange(count, text, kWriteWidths, &width);
  if (taken.ok()) *count = width;
  return taken;
}

}  // namespace brisk::uart_bridge
