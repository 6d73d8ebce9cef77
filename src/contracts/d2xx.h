#pragma once

#include <cstddef>
#include <cstdint>

#include "brisk/brisk_types.h"

// FTDI's D2XX library, "FTD2XX": what is passed to it and expected of it.
namespace brisk::d2xx {

using Handle = void*;  // of an open interface; never null

// Device types.
inline constexpr uint32_t kFt2232c = 4;
inline constexpr uint32_t kFt2232h = 6;
inline constexpr uint32_t kFt4232h = 7;

inline constexpr uint32_t kFlagOpened = 1;  // in a list node: somebody has it open

inline constexpr uint32_t kOpenByLocation = 4;  // OpenEx's argument is a location

// Bit modes: what an interface's pins do.
inline constexpr uint8_t kBitModeReset = 0x00;
inline constexpr uint8_t kBitModeMpsse = 0x02;

// Status codes, which every function returns. There are more.
enum Status : uint32_t {
  kOk = 0,
  kInvalidHandle = 1,
  kDeviceNotFound = 2,
  kDeviceNotOpened = 3,
  kIoError = 4,
  kInsufficientResources = 5,
  kInvalidParameter = 6,
};

inline constexpr size_t kSerialSize = 16;
inline constexpr size_t kDescriptionSize = 64;

// An entry of the list of interfaces that are attached. The location of an interface that another
// program has open reads as 0.
struct ListNode {
  uint32_t flags;
  uint32_t type;
  uint32_t id;  // USB vendor << 16 | product
  uint32_t location;
  char serial[kSerialSize];
  char description[kDescriptionSize];  // not necessarily terminated
  Handle handle;
};
static_assert(offsetof(ListNode, location) == 12 && offsetof(ListNode, serial) == 16);
static_assert(offsetof(ListNode, description) == 32 && offsetof(ListNode, handle) == 96);
static_assert(sizeof(ListNode) == 96 + sizeof(Handle));

// A function of the library, by its place among them.
template <typename... Parameters>
struct Function {
  using Pointer = uint32_t(BRISK_CALL*)(Parameters...);
  size_t row;
};

// The functions: "FT_" and the name, the ordinal in FTD2XX.dll, the parameters. Lists and details
// are those of the last CreateDeviceInfoList.
#define BRISK_D2XX_FUNCTIONS(ROW)                                                              \
  ROW(Close, 2, Handle)                                                                        \
  ROW(Read, 3, Handle, void*, uint32_t /* count */, uint32_t* /* read */)                      \
  ROW(Write, 4, Handle, void*, uint32_t /* count */, uint32_t* /* written */)                  \
  ROW(ResetDevice, 6, Handle)                                                                  \
  ROW(SetChars, 15, Handle, uint8_t /* event */, uint8_t /* enabled */, uint8_t /* error */,   \
      uint8_t /* enabled */)                                                                   \
  ROW(SetTimeouts, 17, Handle, uint32_t /* read ms */, uint32_t /* write ms */)                \
  ROW(GetQueueStatus, 18, Handle, uint32_t* /* bytes that wait to be read */)                  \
  ROW(OpenEx, 27, void* /* argument */, uint32_t /* its kind */, Handle*)                      \
  ROW(SetLatencyTimer, 29, Handle, uint8_t /* ms */)                                           \
  ROW(GetLatencyTimer, 30, Handle, uint8_t* /* ms */)                                          \
  ROW(SetBitMode, 31, Handle, uint8_t /* mask of outputs */, uint8_t /* mode */)               \
  ROW(SetUSBParameters, 33, Handle, uint32_t /* in */, uint32_t /* out */)                     \
  ROW(GetDeviceInfo, 61, Handle, uint32_t* /* type */, uint32_t* /* id */, char* /* serial */, \
      char* /* description */, void* /* null */)                                               \
  ROW(CreateDeviceInfoList, 70, uint32_t* /* count */)                                         \
  ROW(GetDeviceInfoList, 71, ListNode*, uint32_t* /* count */)                                 \
  ROW(GetDeviceInfoDetail, 72, uint32_t /* position */, uint32_t* /* flags */,                 \
      uint32_t* /* type */, uint32_t* /* id */, uint32_t* /* location */, void* /* serial */,  \
      void* /* description */, Handle*)

namespace row {
#define BRISK_ROW(name, ...) k##name,
enum : size_t { BRISK_D2XX_FUNCTIONS(BRISK_ROW) kCount };
#undef BRISK_ROW
}  // namespace row

#define BRISK_ROW(name, ordinal, ...) inline constexpr Function<__VA_ARGS__> k##name{row::k##name};
BRISK_D2XX_FUNCTIONS(BRISK_ROW)
#undef BRISK_ROW

}  // namespace brisk::d2xx
