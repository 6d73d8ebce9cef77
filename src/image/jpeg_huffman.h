#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

// Huffman codes and the coefficients in them (ITU-T T.81, annexes C and F). A symbol tells how many
// coefficients are zero before the next one and how many bits of value follow the code.
namespace brisk::image {

enum class HuffmanClass { kDc, kAc };

// The value of `size` bits as the code of a coefficient: the lower half of the range is negative.
constexpr int32_t SignExtend(uint32_t bits, uint32_t size) {
  if (size == 0) return 0;
  const auto value = static_cast<int32_t>(bits);
  return value < int32_t{1} << (size - 1) ? value - (int32_t{1} << size) + 1 : value;
}

// Codes of one table, indexed by the bits that follow in the data. Bits that no code covers read
// as symbol 0 of length 0, so that damaged data neither stops a decode nor leaves the table.
class HuffmanTable {
 public:
  // A symbol together with the value bits behind it, for the short combinations that make up nearly
  // all of a picture. A small table stays in the first-level cache where the full one cannot.
  struct FastCode {
    int16_t value;
    uint8_t advance;  // coefficients to move on by; kBlockEnd after the last one
    uint8_t length;   // bits of code and value; 0: not here, take the full table
  };
  static constexpr unsigned kFastBits = 11;
  static constexpr uint8_t kBlockEnd = 64;

  // Null when the counts do not make a code or name a symbol that the class cannot have.
  static std::unique_ptr<HuffmanTable> Build(HuffmanClass tableClass,
                                             const std::array<uint8_t, 16>& counts,
                                             const uint8_t* symbols);

  const FastCode& Fast(uint64_t window) const { return fast_[window >> (64 - kFastBits)]; }
  // Code length * 256 + symbol.
  uint32_t Full(uint64_t window) const { return full_[window >> 48]; }

 private:
  bool FillFull(const std::array<uint8_t, 16>& counts, const uint8_t* symbols);
  void FillFast(HuffmanClass tableClass);

  std::array<FastCode, 1U << kFastBits> fast_{};
  std::array<uint16_t, 65536> full_{};
};

// Reads bits, most significant first, from data whose byte stuffing is gone. Behind the end it
// reads zeros for ever: kPadding zero bytes must follow the data.
class BitReader {
 public:
  static constexpr size_t kPadding = 8;

  BitReader(const uint8_t* data, size_t begin, size_t end) : data_(data), end_(end), next_(begin) {}

  // The bits to come, left-aligned: at least 56 after a refill, 32 after Need32.
  uint64_t window() const { return window_; }
  void Need32() {
    if (valid_ < 32) Refill();
  }
  void Skip(uint32_t count) {  // at most what the window holds
    window_ <<= count;
    valid_ -= count;
  }
  // The byte in which the next bit lies, or the next one when that byte is begun.
  size_t BytePosition() const {
    const size_t position = next_ - valid_ / 8;
    return position < end_ ? position : end_;
  }
  void SeekByte(size_t position) {
    next_ = position;
    window_ = 0;
    valid_ = 0;
  }

 private:
  void Refill() {
    const uint8_t* const at = data_ + (next_ < end_ ? next_ : end_);
    uint64_t bytes = 0;
    std::memcpy(&bytes, at, sizeof bytes);
    window_ |= __builtin_bswap64(bytes) >> valid_;
    next_ += (63 - valid_) >> 3;
    valid_ |= 56;
  }

  const uint8_t* data_;
  size_t end_;
  size_t next_;  // first byte that is not in the window; may run past the end
  uint64_t window_ = 0;
  uint32_t valid_ = 0;
};

// Decodes one block: dequantised coefficients go to their natural places in `block`, which comes in
// as zeros. `quantisation` is in zigzag order. Returns the zigzag position of the last coefficient;
// 0 when there is none but the first.
uint32_t DecodeBlock(BitReader& reader, const HuffmanTable& dc, const HuffmanTable& ac,
                     const std::array<uint16_t, 64>& quantisation, uint32_t& predictor,
                     int32_t* block);

}  // namespace brisk::image
