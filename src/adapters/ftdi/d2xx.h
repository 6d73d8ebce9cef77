#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "adapters/ftdi/status.h"
#include "platform/libraries.h"

namespace brisk::ftdi {

// Device types that D2XX reports.
inline constexpr uint32_t kFt2232c = 4;
inline constexpr uint32_t kFt2232h = 6;
inline constexpr uint32_t kFt4232h = 7;

inline constexpr uint32_t kFlagOpened = 1;

// One entry of D2XX's device list, in D2XX's own layout.
struct DeviceInfoNode {
  uint32_t flags;
  uint32_t type;
  uint32_t id;
  uint32_t location;
  char serial[16];
  char description[64];  // not necessarily terminated
  void* handle;
};
static_assert(sizeof(DeviceInfoNode) == 96 + sizeof(void*) &&
              offsetof(DeviceInfoNode, description) == 32);

struct DeviceDetail {
  uint32_t type = 0;
  uint32_t location = 0;
  std::string description;
};

// The vendor's D2XX library, bound at run time. It is looked for at every enumeration until it is
// found; while it is absent, enumerations answer kDeviceNotFound and a debug line says why.
//
// D2XX handles are pointers. In 32-bit builds they are the handles of this class; in 64-bit builds
// this class numbers them, and a number that stands for no open interface is kInvalidHandle without
// a call. Not locked: the engine lock is held around every call.
class D2xx {
 public:
  D2xx() = default;
  D2xx(const D2xx&) = delete;
  D2xx& operator=(const D2xx&) = delete;

  // Forgets the library and every handle; nothing is closed.
  void Unload();

  Status CreateDeviceInfoList(uint32_t* count);
  Status GetDeviceInfoList(DeviceInfoNode* nodes, uint32_t* count);
  Status GetDeviceInfoDetail(uint32_t position, DeviceDetail* detail);
  Status OpenByLocation(uint32_t location, uint32_t* handle);
  Status Close(uint32_t handle);
  Status Read(uint32_t handle, void* buffer, uint32_t count, uint32_t* read);
  Status Write(uint32_t handle, const uint8_t* bytes, uint32_t count, uint32_t* written);
  Status ResetDevice(uint32_t handle);
  Status SetChars(uint32_t handle);
  Status SetTimeouts(uint32_t handle, uint32_t readMs, uint32_t writeMs);
  Status GetQueueStatus(uint32_t handle, uint32_t* waiting);
  Status SetLatencyTimer(uint32_t handle, uint8_t milliseconds);
  Status GetLatencyTimer(uint32_t handle, uint8_t* milliseconds);
  Status SetBitMode(uint32_t handle, uint8_t mask, uint8_t mode);
  Status SetUsbParameters(uint32_t handle, uint32_t inSize, uint32_t outSize);
  Status GetDeviceType(uint32_t handle, uint32_t* type);

 private:
  enum Function : size_t {
    kClose,
    kRead,
    kWrite,
    kResetDevice,
    kSetChars,
    kSetTimeouts,
    kGetQueueStatus,
    kOpenEx,
    kSetLatencyTimer,
    kGetLatencyTimer,
    kSetBitMode,
    kSetUsbParameters,
    kGetDeviceInfo,
    kCreateDeviceInfoList,
    kGetDeviceInfoList,
    kGetDeviceInfoDetail,
    kFunctionCount
  };
  struct Symbol {
    const char* name;
    uint16_t ordinal;
  };
  struct Numbered {
    uint32_t handle;
    void* native;
  };
  static const std::array<Symbol, kFunctionCount> kSymbols;

  bool Load();
  bool Bind(DynamicLibrary& library);
  void* Native(uint32_t handle) const;
  uint32_t Number(void* native);
  template <typename... Arguments>
  Status Call(Function function, Arguments... arguments) const;
  template <typename... Arguments>
  Status CallHandle(Function function, uint32_t handle, Arguments... arguments) const;

  std::unique_ptr<DynamicLibrary> library_;
  std::array<void*, kFunctionCount> functions_{};
  std::vector<Numbered> numbered_;
  uint32_t nextNumber_ = 1;
};

}  // namespace brisk::ftdi
