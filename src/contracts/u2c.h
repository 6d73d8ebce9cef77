#pragma once

#include <cstddef>
#include <cstdint>

#include "brisk/brisk_types.h"

namespace brisk::u2c {

// The two libraries of the U2C adapter: "U2CCommon" opens it, "i2cbrdg" moves its lines. Both are
// closed; this is what is passed to them and expected of them.

using Handle = int32_t;  // of an open adapter, until the process ends
inline constexpr Handle kNoHandle = -1;

// Status of every function of the bridge library: kDone or a failure.
inline constexpr int32_t kDone = 0;
inline constexpr int32_t kMissing = -1;  // ours, where a library has no such function

// One register transaction. The memory address travels as `memoryAddressLength` bytes.
#pragma pack(push, 1)
struct Transaction {
  uint8_t slaveAddress;         // 7 bits
  uint8_t memoryAddressLength;  // bytes, 0 to 4
  uint32_t memoryAddress;       // unused bytes 0
  uint16_t bufferLength;        // bytes, at most 256
  uint8_t buffer[256];
};
#pragma pack(pop)
static_assert(sizeof(Transaction) == 264);
static_assert(offsetof(Transaction, memoryAddress) == 2);
static_assert(offsetof(Transaction, bufferLength) == 6);
static_assert(offsetof(Transaction, buffer) == 8);

// OpenU2C of the common library: kNoHandle when there is no adapter.
using OpenFunction = Handle(BRISK_CALL*)();

// A function of the bridge library, by its place among them.
template <typename... Parameters>
struct Function {
  using Pointer = int32_t(BRISK_CALL*)(Handle, Parameters...);
  size_t row;
};

// The functions of the bridge library: "U2C_" and the name; the parameters after the handle.
// Frequency codes are the library's own. An acknowledge is sent for 1 and left out for 0.
#define BRISK_U2C_FUNCTIONS(ROW)                                   \
  ROW(SetIoDirection, uint32_t /* mask */, uint32_t /* outputs */) \
  ROW(IoWrite, uint32_t /* value */, uint32_t /* mask */)          \
  ROW(Start)                                                       \
  ROW(RepeatedStart)                                               \
  ROW(Stop)                                                        \
  ROW(PutByteWithAck, uint8_t)                                     \
  ROW(GetByteWithAck, uint8_t*, int32_t /* acknowledge */)         \
  ROW(Write, Transaction*)                                         \
  ROW(Read, Transaction*)                                          \
  ROW(SetI2cFreq, uint8_t /* code */)                              \
  ROW(SpiSetFreq, uint8_t /* code */)                              \
  ROW(SpiWrite, const uint8_t*, uint16_t /* count */)              \
  ROW(SpiRead, uint8_t*, uint16_t /* count */)                     \
  ROW(DropSda)                                                     \
  ROW(ReleaseSda)                                                  \
  ROW(DropScl)                                                     \
  ROW(ReleaseScl)

namespace row {
#define BRISK_ROW(name, ...) k##name,
enum : size_t { BRISK_U2C_FUNCTIONS(BRISK_ROW) kCount };
#undef BRISK_ROW
}  // namespace row

#define BRISK_ROW(name, ...) inline constexpr Function<__VA_ARGS__> k##name{row::k##name};
BRISK_U2C_FUNCTIONS(BRISK_ROW)
#undef BRISK_ROW

}  // namespace brisk::u2c
