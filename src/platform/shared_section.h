#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace brisk {

inline constexpr uint16_t kLptBase = 0x378;

// The two words that requests to the port-access driver travel in. Each process has its own; it is
// a global because its address is part of the shared section's initial values.
inline constinit std::array<uint32_t, 2> driverRequestBuffer = {};

// The state that every process with the library loaded shares. Plain loads and stores only: no lock
// guards it between processes. It starts with the values below when the first process loads the
// library and lives no longer than its last user.
struct SharedSection {
  uint32_t dwRefCount = 0;      // opens of the port-access driver not yet released
  uint32_t dwDriverStatus = 1;  // 0 = remove the driver service at the last release, 1 = nothing to
                                // remove, 2 = the service could not be opened after creation
  void* pDriverBuf = driverRequestBuffer.data();  // never dereferenced: another process may have
                                                  // set it, each uses its own buffer
  uint16_t wLptBase = kLptBase;
  uint8_t bDeviceType = 0;
  void* hDriver = nullptr;  // of the process that attached last; never used, each has its own
  uint32_t dwIsNT = 0;
  int32_t dwDebug = 0;  // non-zero: the exports write their debug lines
};

static_assert(sizeof(void*) != 4 || sizeof(SharedSection) == 28);
static_assert(sizeof(void*) != 4 ||
              (offsetof(SharedSection, pDriverBuf) == 8 &&
               offsetof(SharedSection, wLptBase) == 12 &&
               offsetof(SharedSection, bDeviceType) == 14 &&
               offsetof(SharedSection, hDriver) == 16 && offsetof(SharedSection, dwIsNT) == 20 &&
               offsetof(SharedSection, dwDebug) == 24));

// Where the shared section lives. Section() maps it at the first call and returns the same address
// for the life of the process; where sharing is refused it is private to the process, which the
// debug stream says once.
class SharedMemory {
 public:
  virtual ~SharedMemory() = default;
  virtual SharedSection& Section() = 0;
};

}  // namespace brisk
