#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "brisk/brisk_types.h"

#include "platform/libraries.h"

namespace brisk::u2c {

using Handle = int32_t;
inline constexpr Handle kNoHandle = -1;
inline constexpr int32_t kDone = 0;  // status of every function that succeeded

// One register transaction, as the adapter library lays it out.
#pragma pack(push, 1)
struct Transaction {
  uint8_t slaveAddress;         // 7 bits
  uint8_t memoryAddressLength;  // bytes, 0 to 4
  uint32_t memoryAddress;
  uint16_t bufferLength;  // bytes, at most 256
  uint8_t buffer[256];
};
#pragma pack(pop)
static_assert(sizeof(Transaction) == 264);
static_assert(offsetof(Transaction, memoryAddress) == 2);
static_assert(offsetof(Transaction, bufferLength) == 6);
static_assert(offsetof(Transaction, buffer) == 8);

// The adapter's two libraries. A library or function that is missing is named once on the debug
// log; what needs it fails with kMissing.
class U2cLibrary {
 public:
  static constexpr int32_t kMissing = -1;

  U2cLibrary() = default;
  U2cLibrary(const U2cLibrary&) = delete;
  U2cLibrary& operator=(const U2cLibrary&) = delete;

  void Load();

  Handle Open() { return Call(f_.OpenU2C); }
  int32_t SetIoDirection(Handle h, uint32_t mask, uint32_t outputs) {
    return Call(f_.U2C_SetIoDirection, h, mask, outputs);
  }
  int32_t IoWrite(Handle h, uint32_t value, uint32_t mask) {
    return Call(f_.U2C_IoWrite, h, value, mask);
  }
  int32_t Start(Handle h) { return Call(f_.U2C_Start, h); }
  int32_t RepeatedStart(Handle h) { return Call(f_.U2C_RepeatedStart, h); }
  int32_t Stop(Handle h) { return Call(f_.U2C_Stop, h); }
  int32_t PutByteWithAck(Handle h, uint8_t byte) { return Call(f_.U2C_PutByteWithAck, h, byte); }
  int32_t GetByteWithAck(Handle h, uint8_t* byte, int32_t acknowledge) {
    return Call(f_.U2C_GetByteWithAck, h, byte, acknowledge);
  }
  int32_t Write(Handle h, Transaction* t) { return Call(f_.U2C_Write, h, t); }
  int32_t Read(Handle h, Transaction* t) { return Call(f_.U2C_Read, h, t); }
  int32_t SetI2cFreq(Handle h, uint8_t code) { return Call(f_.U2C_SetI2cFreq, h, code); }
  int32_t SpiSetFreq(Handle h, uint8_t code) { return Call(f_.U2C_SpiSetFreq, h, code); }
  int32_t SpiWrite(Handle h, uint8_t* bytes, uint16_t n) {
    return Call(f_.U2C_SpiWrite, h, bytes, n);
  }
  int32_t SpiRead(Handle h, uint8_t* bytes, uint16_t n) {
    return Call(f_.U2C_SpiRead, h, bytes, n);
  }
  int32_t DropSda(Handle h) { return Call(f_.U2C_DropSda, h); }
  int32_t ReleaseSda(Handle h) { return Call(f_.U2C_ReleaseSda, h); }
  int32_t DropScl(Handle h) { return Call(f_.U2C_DropScl, h); }
  int32_t ReleaseScl(Handle h) { return Call(f_.U2C_ReleaseScl, h); }

 private:
  using OfHandle = int32_t(BRISK_CALL*)(Handle);
  using OfCode = int32_t(BRISK_CALL*)(Handle, uint8_t);
  using OfLines = int32_t(BRISK_CALL*)(Handle, uint32_t, uint32_t);
  using OfTransaction = int32_t(BRISK_CALL*)(Handle, void*);
  using OfBytes = int32_t(BRISK_CALL*)(Handle, uint8_t*, uint16_t);

  struct Functions {
    Handle(BRISK_CALL* OpenU2C)();
    OfLines U2C_SetIoDirection, U2C_IoWrite;
    OfHandle U2C_Start, U2C_RepeatedStart, U2C_Stop;
    OfCode U2C_PutByteWithAck;
    int32_t(BRISK_CALL* U2C_GetByteWithAck)(Handle, uint8_t*, int32_t);
    OfTransaction U2C_Write, U2C_Read;
    OfCode U2C_SetI2cFreq, U2C_SpiSetFreq;
    OfBytes U2C_SpiWrite, U2C_SpiRead;
    OfHandle U2C_DropSda, U2C_ReleaseSda, U2C_DropScl, U2C_ReleaseScl;
  };

  template <typename Function, typename... Arguments>
  static int32_t Call(Function function, Arguments... arguments) {
    return function != nullptr ? function(arguments...) : kMissing;
  }
  std::unique_ptr<DynamicLibrary> LoadOne(const char* name);

  bool loaded_ = false;
  std::unique_ptr<DynamicLibrary> common_;
  std::unique_ptr<DynamicLibrary> bridge_;
  Functions f_{};
};

}  // namespace brisk::u2c
