#include "image/port_words.h"

namespace brisk::image {
namespace {

constexpr uint8_t kOne = 0x02;
constexpr uint8_t kZero = 0x40;
constexpr uint8_t kDebugData = 0x10;
constexpr uint8_t kDebugClock = 0x20;

constexpr bool IsWordLength(uint32_t bits) { return bits >= 1 && bits <= 32; }

}  // namespace

void PortWords::SendWord(uint32_t bits, uint32_t value) {
  if (!IsWordLength(bits)) return;
  constexpr uint8_t kBoth = kOne | kZero;
  const auto low = static_cast<uint8_t>(base_ & ~kBoth);
  const auto idle = static_cast<uint8_t>(low | kBoth);
  WritePort(idle);
  for (uint32_t mask = 1U << (bits - 1); mask != 0; mask >>= 1) {
    WritePort(low | ((value & mask) != 0 ? kOne : kZero));
    WritePort(mask != 1 ? low : idle);
  }
}

void PortWords::C1_TxDebug(uint32_t bits, uint32_t value) {
  if (!IsWordLength(bits)) return;
  for (uint32_t bit = 0; bit < bits; ++bit) {
    const uint8_t data = (value >> bit & 1) != 0 ? kDebugData : 0;
    WritePort(0);
    WritePort(data);
    WritePort(data | kDebugClock);
  }
}

}  // namespace brisk::image
