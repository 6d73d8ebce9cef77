#include "lpt/lpt_picture.h"

#include "i2c/string_command.h"

namespace brisk::lpt {
namespace {

constexpr bool IsWordLength(uint32_t bits) { return bits >= 1 && bits <= 32; }

}  // namespace

void LptPicture::SendWord(uint32_t bits, uint32_t value) {
  if (!IsWordLength(bits)) return;
  constexpr uint8_t kBoth = kPicturePins.one | kPicturePins.zero;
  const auto low = static_cast<uint8_t>(bLptImage_ & ~kBoth);
  const auto idle = static_cast<uint8_t>(low | kBoth);
  Write(idle);
  for (uint32_t mask = 1U << (bits - 1); mask != 0; mask >>= 1) {
    Write(low | ((value & mask) != 0 ? kPicturePins.one : kPicturePins.zero));
    Write(mask != 1 ? low : idle);
  }
}

int32_t LptPicture::ReadRegister(const char* command) { return i2c::ReadStringEx(bus_, command); }

void LptPicture::C1_TxDebug(uint32_t bits, uint32_t value) {
  if (!IsWordLength(bits)) return;
  for (uint32_t bit = 0; bit < bits; ++bit) {
    const uint8_t data = (value >> bit & 1) != 0 ? kDebugPins.data : 0;
    Write(0);
    Write(data);
    Write(data | kDebugPins.clock);
  }
}

}  // namespace brisk::lpt
