#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace brisk {

using Guid = std::array<uint8_t, 16>;  // in memory order, as Windows lays out a GUID

inline constexpr uint32_t kErrorNoMoreItems = 259;

// The present devices of one interface class, as they were when the set was taken.
class DeviceInterfaceSet {
 public:
  virtual ~DeviceInterfaceSet() = default;
  // 0 when an interface with this index exists, kErrorNoMoreItems past the last one, otherwise the
  // error that stands in the way of this one.
  virtual uint32_t Enumerate(uint32_t index) = 0;
  // Path to open the device by; empty on failure.
  virtual std::string Path(uint32_t index) = 0;
};

// A registration for notices of arrival and removal; `Close` ends it, false when refused.
class DeviceNotification {
 public:
  virtual ~DeviceNotification() = default;
  virtual bool Close() = 0;
};

// Finding devices by interface class GUID, when a board is selected or looked for again. Null
// results mean that the system has no such service or no such device. May block while the system
// lists its devices.
class DeviceInterfaces {
 public:
  virtual ~DeviceInterfaces() = default;
  virtual std::unique_ptr<DeviceInterfaceSet> Present(const Guid& interfaceClass) = 0;
  // `window` receives the notices; never called with none.
  virtual std::unique_ptr<DeviceNotification> NotifyOfClass(void* window,
                                                            const Guid& interfaceClass) = 0;
  virtual std::unique_ptr<DeviceNotification> NotifyOfHandle(void* window, void* device) = 0;
};

}  // namespace brisk
