#include "adapters/ftdi/hi_speed_devices.h"

namespace brisk::ftdi {

Answer<bool> CMpsseHiSpeedDevices::QueryHiSpeedType(uint32_t handle) {
  if (!IsHiSpeed(handle)) return {kInvalidHandle};
  const auto [status, type] = d2xx_.GetDeviceType(handle);
  if (status != kOk) return {status};
  if (type != d2xx::kFt2232h && type != d2xx::kFt4232h) return {kInvalidHandle};
  return {kOk, type == d2xx::kFt2232h};
}

uint32_t CMpsseHiSpeedDevices::ClockOf(uint32_t handle, uint32_t divisor) {
  const OpenDeviceRecord* record = Find(handle);
  const bool divided = record != nullptr && record->divideByFive;
  return divided ? FullSpeedClock(divisor) : HiSpeedClock(divisor);
}

StatusCode CMpsseHiSpeedDevices::SetDivideByFive(uint32_t handle, bool on) {
  if (!IsHiSpeed(handle)) return kInvalidHandle;
  const StatusCode status = line_.SendCommands(handle, {on ? kDivideByFiveOn : kDivideByFiveOff});
  if (status == kOk) Find(handle)->divideByFive = on;
  return status;
}

StatusCode CMpsseHiSpeedDevices::PrepareHiSpeedClocking(uint32_t handle) {
  StatusCode status = SetDivideByFive(handle, false);
  if (status == kOk) status = SetAdaptiveClocking(handle, false);
  return status == kOk ? line_.SendCommands(handle, {kThreePhaseOff}) : status;
}

}  // namespace brisk::ftdi
