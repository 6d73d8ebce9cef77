#pragma once

#include <cstdint>

#include "adapters/ftdi/devices.h"

namespace brisk::ftdi {

// Adds the interfaces A and B of FT2232H and FT4232H chips.
class CMpsseHiSpeedDevices : public CMpsseDevices {
 public:
  using CMpsseDevices::CMpsseDevices;

  // Open interfaces included.
  Status ListHiSpeedDevices(DeviceList* list);
  // `deviceType` is D2XX's, 6 or 7.
  Status GetHiSpeedDeviceNameLocationChannel(uint32_t index, char* name, uint32_t nameSize,
                                             uint32_t* location, char* channel,
                                             uint32_t channelSize, uint32_t* deviceType);
  Status OpenHiSpeed(const char* name, uint32_t location, const char* channel, uint32_t* handle);
  // Closes an interface of either speed.
  Status Close(uint32_t handle);

  Status IsOpenHiSpeed(uint32_t handle);
  Status IsOpen(uint32_t handle);
  bool IsHiSpeedHandle(uint32_t handle);
  Status QueryHiSpeedType(uint32_t handle, bool* isFt2232h);

  Status SetDivideByFive(uint32_t handle, bool on);
  // Bus frequency in Hz with the handle's base clock, and without a handle.
  uint32_t HiSpeedClock(uint32_t handle, uint32_t divisor);
  static uint32_t HiSpeedClock(uint32_t divisor);
  Status SendAdaptiveClockingOn(uint32_t handle);
  Status SendAdaptiveClockingOff(uint32_t handle);
  Status SendThreePhaseOff(uint32_t handle);
  // 60 MHz, adaptive and three-phase clocking off.
  Status PrepareHiSpeedClocking(uint32_t handle);

 private:
  Status VerifyHiSpeed(std::string_view name, uint32_t location, uint32_t* deviceType);
  Status SendCommand(uint32_t handle, uint8_t command) {
    return SendCommands(handle, {&command, 1});
  }
  OpenHiSpeedDeviceRecord* Record(uint32_t handle);

  Registry<OpenHiSpeedDeviceRecord> hiSpeedRegistry_;
};

}  // namespace brisk::ftdi
