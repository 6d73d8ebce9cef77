#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "brisk/brisk_ftdi.h"

#include "adapters/ftdi/hi_speed_devices.h"
#include "adapters/ftdi/mpsse.h"

namespace brisk::ftdi {

// Communications modes, tested as bits.
inline constexpr uint32_t kStandardMode = I2C_STANDARD_MODE;
inline constexpr uint32_t kFastMode = I2C_FAST_MODE;
inline constexpr uint32_t kStretchDataMode = I2C_STRETCH_DATA_MODE;

// Turns I2C operations into MPSSE commands. One object serves every handle of the process, and all
// handles share one pair of pin shadows: what the pins of the interface used last were told.
// Handles have been checked by the caller, who also holds the engine lock.
class CMpsseI2c : public CMpsseHiSpeedDevices {
 public:
  using CMpsseHiSpeedDevices::CMpsseHiSpeedDevices;

  // What an acknowledge is awaited for; it decides the status of its time-out.
  enum class Wait : uint8_t { kNone = 0, kControlByte = 1, kDataByte = 2 };

  struct ControlBytes {
    uint32_t count;
    bool acknowledge;
    uint32_t timeoutMs;
    Wait wait() const { return acknowledge ? Wait::kControlByte : Wait::kNone; }
  };
  struct WriteRequest {
    const uint8_t* control;
    ControlBytes controlBytes;
    bool stop;
    uint32_t type;
    const uint8_t* data;
    uint32_t count;
    bool acknowledge;
    uint32_t timeoutMs;
  };
  struct ReadRequest {
    uint8_t* control;
    ControlBytes controlBytes;
    uint32_t type;
    uint8_t* data;
    uint32_t count;
  };

  // Modes by handle. A handle without an entry, also because all 50 are in use, runs in FAST mode.
  void AddModeRecord(uint32_t handle);
  void RemoveModeRecord(uint32_t handle);
  uint32_t GetMode(uint32_t handle) const;
  void SetModeOf(uint32_t handle, uint32_t mode);

  Status Initialise(uint32_t handle, uint32_t divisor);
  Status SetClockDivisor(uint32_t handle, uint32_t divisor);

  Status Write(uint32_t handle, const WriteRequest& request);
  Status Read(uint32_t handle, const ReadRequest& request);

  void QueueStart(uint32_t handle, bool gpioL0High);
  Status SendStop(uint32_t handle);
  void QueueWriteBits(uint32_t handle, uint32_t bitCount, const uint8_t* bytes);
  void QueueReadBits(uint32_t bitCount);
  // Blocking: the bytes of `bitCount` bits, or 20 after 5 seconds. Not blocking: what is waiting,
  // but no more than those bytes.
  Status ReadBits(uint32_t handle, uint8_t* destination, uint32_t bitCount, uint32_t* bytesOut,
                  bool blocking);

  Status SetFinalState(uint32_t handle, const FinalStatePins& pins);
  Status SetGpios(uint32_t handle, uint8_t direction, uint8_t levels);
  Status GetGpios(uint32_t handle, uint8_t* levels);  // bits 0 to 3
  static void WaitForPins();                          // what a pin read allows the pins before it
  Status SetHiSpeedLowGpios(uint32_t handle, const HiSpeedLowGpioPins& pins);
  Status SetHiSpeedHighGpios(uint32_t handle, const HiSpeedHighGpioPins& pins);
  Status GetHiSpeedLowGpios(uint32_t handle, HiSpeedLowGpioLevels* levels);
  Status GetHiSpeedHighGpios(uint32_t handle, HiSpeedHighGpioLevels* levels);

  // The low byte's shadows, for sequences that are built elsewhere.
  uint32_t& value() { return value_; }
  void SetI2cDirection() { direction_ = (direction_ & ~uint32_t{kI2cPins}) | kI2cDirection; }
  void SetReleasedDirection() {
    direction_ = (direction_ & ~uint32_t{kI2cPins}) | kReleasedDirection;
  }
  void AddDirection(uint8_t outputs) { direction_ |= outputs; }
  void QueuePins(unsigned times = 1) { QueuePins(static_cast<uint8_t>(direction_), times); }
  void QueuePins(uint8_t direction, unsigned times);

 private:
  struct HandleModeRecord {
    uint32_t handle = 0;
    uint32_t mode = kFastMode;
  };
  static constexpr size_t kModeRecords = 50;

  Status ReadAcknowledge(uint32_t handle, Wait wait, uint32_t timeoutMs);
  Status AwaitAcknowledge(uint32_t handle, Wait wait, uint32_t timeoutMs);
  Status ReadByte(uint32_t handle, uint8_t* destination);
  Status ReadByteWithNack(uint32_t handle, uint8_t* destination);
  Status ReadBlock(uint32_t handle, uint8_t* destination, uint32_t count);
  Status WriteByte(uint32_t handle, uint8_t byte, Wait wait, uint32_t timeoutMs);
  Status StartAndWriteByte(uint32_t handle, uint8_t byte, Wait wait, uint32_t timeoutMs,
                           bool gpioL0High);
  Status WriteControlBytes(uint32_t handle, const uint8_t* bytes, const ControlBytes& control);
  Status WriteData(uint32_t handle, const WriteRequest& request);
  Status DriveSdaAgain(uint32_t handle);
  Status IdlePins(uint32_t handle, uint32_t divisor);
  Status ReadPins(uint32_t handle, uint8_t command, uint8_t* levels);

  uint32_t value_ = 0;
  uint32_t direction_ = 0;
  std::array<HandleModeRecord, kModeRecords> modes_{};
};

}  // namespace brisk::ftdi
