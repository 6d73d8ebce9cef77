#include "adapters/ftdi/hi_speed_devices.h"

#include <cstring>

#include "adapters/ftdi/mpsse.h"
#include "platform/platform.h"

namespace brisk::ftdi {
namespace {

constexpr uint32_t kMinChannelBuffer = 5;

// "A" or "B" from a caller's channel text, 0 for anything else.
char ParseChannel(const char* channel) {
  if (channel[0] == '\0' || channel[1] != '\0') return 0;
  const char letter = static_cast<char>(channel[0] & ~0x20);
  return letter == 'A' || letter == 'B' ? letter : '\0';
}

}  // namespace

Status CMpsseHiSpeedDevices::ListHiSpeedDevices(DeviceList* list) {
  return Enumerate(IsHiSpeedInterface, false, list);
}

Status CMpsseHiSpeedDevices::GetHiSpeedDeviceNameLocationChannel(uint32_t index, char* name,
                                                                 uint32_t nameSize,
                                                                 uint32_t* location, char* channel,
                                                                 uint32_t channelSize,
                                                                 uint32_t* deviceType) {
  *deviceType = 0;
  if (name == nullptr) return kNullNameBuffer;
  if (channel == nullptr) return kNullChannelBuffer;
  DeviceDetail detail;
  Status status = Detail(IsHiSpeedInterface, index, &detail);
  if (status != kOk) return status;
  *deviceType = detail.type;
  if (location != nullptr) *location = detail.location;
  status = CopyName(detail.description, name, nameSize);
  if (status != kOk) return status;
  const char letter = ChannelOf(detail.description);
  if (letter == 0) return kDeviceNotFound;
  if (channelSize < kMinChannelBuffer) return kChannelBufferTooSmall;
  channel[0] = letter;
  channel[1] = '\0';
  return kOk;
}

// The first entry with the name decides, also where several boards share a description.
Status CMpsseHiSpeedDevices::VerifyHiSpeed(std::string_view name, uint32_t location,
                                           uint32_t* deviceType) {
  DeviceList list;
  const Status status = EnumerateSome(IsHiSpeedInterface, &list);
  if (status != kOk) return status;
  for (const uint32_t position : list) {
    DeviceDetail detail;
    if (d2xx().GetDeviceInfoDetail(position, &detail) != kOk) return kInvalidName;
    if (detail.description != name) continue;
    if (detail.location == 0) return kInUse;  // D2XX hides the location of an interface in use
    if (detail.location != location) return kInvalidLocation;
    *deviceType = detail.type;
    return kOk;
  }
  return kInvalidName;
}

Status CMpsseHiSpeedDevices::OpenHiSpeed(const char* name, uint32_t location, const char* channel,
                                         uint32_t* handle) {
  if (name == nullptr) return kNullNameBuffer;
  if (channel == nullptr) return kNullChannelBuffer;
  const char letter = ParseChannel(channel);
  if (letter == 0) return kInvalidChannel;
  uint32_t deviceType = 0;
  Status status = VerifyHiSpeed(name, location, &deviceType);
  if (status != kOk) return status;
  const uint32_t self = platform().system.ProcessId();
  if (hiSpeedRegistry_.HeldByOther(self, name, location)) return kInUse;
  if (const OpenHiSpeedDeviceRecord* own = hiSpeedRegistry_.FindOwn(self, name, location)) {
    *handle = own->handle;
    return kOk;
  }
  if (hiSpeedRegistry_.full()) return kInsufficientResources;
  status = d2xx().OpenByLocation(location, handle);
  if (status == kOk) {
    hiSpeedRegistry_.Add({{self, name, location, *handle}, letter, true, deviceType});
  }
  return status;
}

OpenHiSpeedDeviceRecord* CMpsseHiSpeedDevices::Record(uint32_t handle) {
  return hiSpeedRegistry_.Find(platform().system.ProcessId(), handle);
}

Status CMpsseHiSpeedDevices::Close(uint32_t handle) {
  if (OpenHiSpeedDeviceRecord* record = Record(handle)) {
    const Status status = d2xx().Close(handle);
    hiSpeedRegistry_.Free(*record);
    if (status != kInvalidHandle) return status;
  }
  return CloseFullSpeed(handle);
}

Status CMpsseHiSpeedDevices::IsOpenHiSpeed(uint32_t handle) {
  return Record(handle) != nullptr ? kOk : kInvalidHandle;
}

Status CMpsseHiSpeedDevices::IsOpen(uint32_t handle) {
  return Record(handle) != nullptr ? kOk : IsOpenFullSpeed(handle);
}

bool CMpsseHiSpeedDevices::IsHiSpeedHandle(uint32_t handle) {
  const OpenHiSpeedDeviceRecord* record = Record(handle);
  return record != nullptr && (record->deviceType == kFt2232h || record->deviceType == kFt4232h);
}

Status CMpsseHiSpeedDevices::QueryHiSpeedType(uint32_t handle, bool* isFt2232h) {
  *isFt2232h = false;
  if (Record(handle) == nullptr) return kInvalidHandle;
  uint32_t type = 0;
  const Status status = d2xx().GetDeviceType(handle, &type);
  if (status != kOk) return status;
  if (type != kFt2232h && type != kFt4232h) return kInvalidHandle;
  *isFt2232h = type == kFt2232h;
  return kOk;
}

Status CMpsseHiSpeedDevices::SetDivideByFive(uint32_t handle, bool on) {
  OpenHiSpeedDeviceRecord* record = Record(handle);
  if (record == nullptr) return kInvalidHandle;
  const Status status = SendCommand(handle, on ? kDivideByFiveOn : kDivideByFiveOff);
  if (status == kOk) record->divideByFive = on;
  return status;
}

uint32_t CMpsseHiSpeedDevices::HiSpeedClock(uint32_t handle, uint32_t divisor) {
  const OpenHiSpeedDeviceRecord* record = Record(handle);
  const bool divided = record != nullptr && record->divideByFive;
  return BitRate(divided ? kBaseClock : kHiSpeedBaseClock, divisor);
}

uint32_t CMpsseHiSpeedDevices::HiSpeedClock(uint32_t divisor) {
  return BitRate(kHiSpeedBaseClock, divisor);
}

Status CMpsseHiSpeedDevices::SendAdaptiveClockingOn(uint32_t handle) {
  return SendCommand(handle, kAdaptiveClockOn);
}

Status CMpsseHiSpeedDevices::SendAdaptiveClockingOff(uint32_t handle) {
  return SendCommand(handle, kAdaptiveClockOff);
}

Status CMpsseHiSpeedDevices::SendThreePhaseOff(uint32_t handle) {
  return SendCommand(handle, kThreePhaseOff);
}

Status CMpsseHiSpeedDevices::PrepareHiSpeedClocking(uint32_t handle) {
  Status status = SetDivideByFive(handle, false);
  if (status == kOk) status = SendAdaptiveClockingOff(handle);
  if (status == kOk) status = SendThreePhaseOff(handle);
  return status;
}

}  // namespace brisk::ftdi
