#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace brisk {

// Bytes that a caller hands over as pointer and length. The pointer may be null: what takes them
// asks IsNullWithLength before it looks at one.
using Bytes = std::span<const uint8_t>;
using Buffer = std::span<uint8_t>;

constexpr bool IsNullWithLength(Bytes bytes) { return bytes.data() == nullptr && !bytes.empty(); }

// Byte `index` of a word, 0 the least significant.
constexpr uint8_t ByteOf(uint32_t word, unsigned index) {
  return static_cast<uint8_t>(word >> (8 * index));
}

}  // namespace brisk
