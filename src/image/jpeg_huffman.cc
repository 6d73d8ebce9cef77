#include "image/jpeg_huffman.h"

#include <algorithm>

namespace brisk::image {
namespace {

constexpr unsigned kMaxCodeLength = 16;
constexpr uint8_t kMaxDcSize = 15;

// Natural position of each coefficient in file order (T.81, figure A.6).
constexpr std::array<uint8_t, 64> kZigzag = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,   //
    12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,  //
    35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,  //
    58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

// The top `size` bits behind a code of `length` bits; sizes of 0 give 0.
uint32_t ValueBits(uint64_t window, uint32_t length, uint32_t size) {
  return static_cast<uint32_t>(window << length >> 1 >> (63 - size));
}

// Products of damaged data may exceed 32 bits; they wrap.
int32_t Dequantise(int32_t value, uint16_t step) {
  return static_cast<int32_t>(static_cast<uint32_t>(value) * step);
}

int32_t DecodeDcDifference(BitReader& reader, const HuffmanTable& table) {
  reader.Need32();
  const HuffmanTable::FastCode fast = table.Fast(reader.window());
  if (fast.length != 0) {
    reader.Skip(fast.length);
    return fast.value;
  }
  const uint32_t code = table.Full(reader.window());
  const uint32_t length = code >> 8;
  const uint32_t size = code & 0xFF;
  const int32_t value = SignExtend(ValueBits(reader.window(), length, size), size);
  reader.Skip(length + size);
  return value;
}

}  // namespace

std::unique_ptr<HuffmanTable> HuffmanTable::Build(HuffmanClass tableClass,
                                                  const std::array<uint8_t, 16>& counts,
                                                  const uint8_t* symbols) {
  size_t total = 0;
  for (const uint8_t count : counts) total += count;
  if (total > 256) return nullptr;
  const auto isTooLarge = [](uint8_t symbol) { return symbol > kMaxDcSize; };
  if (tableClass == HuffmanClass::kDc && std::any_of(symbols, symbols + total, isTooLarge)) {
    return nullptr;
  }
  auto table = std::make_unique<HuffmanTable>();
  if (!table->FillFull(counts, symbols)) return nullptr;
  table->FillFast(tableClass);
  return table;
}

// Codes are assigned in order: of equal length one after the other, a longer one behind all shorter
// ones (T.81, C.2). False when the counts ask for more codes than there are.
bool HuffmanTable::FillFull(const std::array<uint8_t, 16>& counts, const uint8_t* symbols) {
  uint32_t next = 0;  // the code to come, left-aligned in 16 bits: its first entry
  for (unsigned length = 1; length <= kMaxCodeLength; ++length) {
    const uint32_t width = 1U << (kMaxCodeLength - length);
    for (unsigned i = 0; i < counts[length - 1]; ++i) {
      if (next + width > full_.size()) return false;
      std::fill_n(full_.begin() + next, width, static_cast<uint16_t>(length << 8 | *symbols++));
      next += width;
    }
  }
  return true;
}

void HuffmanTable::FillFast(HuffmanClass tableClass) {
  for (uint32_t index = 0; index < fast_.size(); ++index) {
    const uint64_t window = uint64_t{index} << (64 - kFastBits);
    const uint32_t length = Full(window) >> 8;
    const uint32_t symbol = Full(window) & 0xFF;
    const bool isAc = tableClass == HuffmanClass::kAc;
    const uint32_t size = isAc ? symbol & 15 : symbol;
    if (length == 0 || length + size > kFastBits) continue;
    const int32_t value = SignExtend(ValueBits(window, length, size), size);
    const uint32_t advance = isAc && symbol == 0 ? kBlockEnd : (symbol >> 4) + 1;
    fast_[index] = {static_cast<int16_t>(value), static_cast<uint8_t>(advance),
                    static_cast<uint8_t>(length + size)};
  }
}

uint32_t DecodeBlock(BitReader& reader, const HuffmanTable& dc, const HuffmanTable& ac,
                     const std::array<uint16_t, 64>& quantisation, uint32_t& predictor,
                     int32_t* block) {
  BitReader bits = reader;  // a copy, so that it stays in registers
  predictor += static_cast<uint32_t>(DecodeDcDifference(bits, dc));
  block[0] = Dequantise(static_cast<int32_t>(predictor), quantisation[0]);
  uint32_t last = 0;
  for (uint32_t position = 0; position < 63;) {
    bits.Need32();
    const HuffmanTable::FastCode fast = ac.Fast(bits.window());
    int32_t value = fast.value;
    if (fast.length != 0) [[likely]] {
      bits.Skip(fast.length);
      position += fast.advance;
    } else {
      const uint32_t code = ac.Full(bits.window());
      const uint32_t length = code >> 8;
      const uint32_t size = code & 15;
      value = SignExtend(ValueBits(bits.window(), length, size), size);
      bits.Skip(length + size);
      position += (code & 0xFF) == 0 ? HuffmanTable::kBlockEnd : (code >> 4 & 15) + 1;
    }
    if (position > 63) break;  // the end of the block, or a run that leaves it
    block[kZigzag[position]] = Dequantise(value, quantisation[position]);
    last = position;
  }
  reader = bits;
  return last;
}

}  // namespace brisk::image
