#include "adapters/ftdi/i2c_engine.h"
#include "platform/platform.h"

// The engine's general-purpose pins.
namespace brisk::ftdi {
namespace {

constexpr uint32_t kGpioDelayMs = 5;

struct PinBytes {
  uint8_t direction = 0;
  uint8_t levels = 0;
};

PinBytes Pack(std::span<const GpioPin> pins) {
  PinBytes packed;
  for (size_t i = 0; i < pins.size(); ++i) {
    if (pins[i].output != 0) packed.direction |= static_cast<uint8_t>(1U << i);
    if (pins[i].high != 0) packed.levels |= static_cast<uint8_t>(1U << i);
  }
  return packed;
}

}  // namespace

Status CMpsseI2c::SetFinalState(uint32_t handle, const FinalStatePins& pins) {
  const struct {
    uint8_t pin;
    bool change;
    bool high;
  } kPins[] = {{kScl, pins.changeScl != 0, pins.sclHigh != 0},
               {kSdaOut, pins.changeSda != 0, pins.sdaHigh != 0},
               {kChipSelect, pins.changeChipSelect != 0, pins.chipSelectHigh != 0}};
  bool any = false;
  for (const auto& [pin, change, high] : kPins) {
    if (!change) continue;
    any = true;
    value_ &= ~uint32_t{pin};
    if (high) value_ |= pin;
    direction_ |= pin;
  }
  if (!any) return kOk;
  ClearQueue();
  QueuePins();
  return Flush(handle);
}

Status CMpsseI2c::SetGpios(uint32_t handle, uint8_t direction, uint8_t levels) {
  const uint8_t commands[] = {kSetHighPins, levels, direction};
  return SendCommands(handle, commands);
}

Status CMpsseI2c::ReadPins(uint32_t handle, uint8_t command, uint8_t* levels) {
  Status status = DropWaiting(handle);
  if (status != kOk) return status;
  const uint8_t commands[] = {command, kSendImmediate};
  status = SendCommands(handle, commands);
  uint32_t count = 0;
  if (status == kOk) status = WaitForAnswer(handle, &count);
  if (status != kOk) return status;
  std::span<const uint8_t> bytes;
  status = ReadWaiting(handle, &bytes);
  if (status != kOk) return status;
  if (bytes.empty()) return kCommandNotCompleted;
  *levels = bytes[0];
  return kOk;
}

void CMpsseI2c::WaitForPins() { platform().clock.Sleep(kGpioDelayMs); }

Status CMpsseI2c::GetGpios(uint32_t handle, uint8_t* levels) {
  WaitForPins();
  uint8_t pins = 0;
  const Status status = ReadPins(handle, kReadHighPins, &pins);
  if (status == kOk) *levels = pins & 0x0F;
  return status;
}

// GPIOL0 belongs to the engine: an output, high.
Status CMpsseI2c::SetHiSpeedLowGpios(uint32_t handle, const HiSpeedLowGpioPins& pins) {
  const PinBytes packed = Pack(pins.pins);
  value_ = (value_ & 0x0F) | (packed.levels | 1U) << 4;
  direction_ = (direction_ & 0x0F) | (packed.direction | 1U) << 4;
  ClearQueue();
  QueuePins();
  return Flush(handle);
}

Status CMpsseI2c::SetHiSpeedHighGpios(uint32_t handle, const HiSpeedHighGpioPins& pins) {
  bool isFt2232h = false;
  const Status status = QueryHiSpeedType(handle, &isFt2232h);
  if (status != kOk || !isFt2232h) return status;
  const PinBytes packed = Pack(pins.pins);
  const uint8_t commands[] = {kSetHighPins, packed.levels, packed.direction};
  return SendCommands(handle, commands);
}

Status CMpsseI2c::GetHiSpeedLowGpios(uint32_t handle, HiSpeedLowGpioLevels* levels) {
  *levels = {};
  uint8_t pins = 0;
  const Status status = ReadPins(handle, kReadLowPins, &pins);
  for (unsigned i = 1; status == kOk && i < 4; ++i) levels->high[i] = pins >> (4 + i) & 1;
  return status;
}

Status CMpsseI2c::GetHiSpeedHighGpios(uint32_t handle, HiSpeedHighGpioLevels* levels) {
  *levels = {};
  WaitForPins();
  bool isFt2232h = false;
  Status status = QueryHiSpeedType(handle, &isFt2232h);
  if (status != kOk || !isFt2232h) return status;
  uint8_t pins = 0;
  status = ReadPins(handle, kReadHighPins, &pins);
  for (unsigned i = 0; status == kOk && i < 8; ++i) levels->high[i] = pins >> i & 1;
  return status;
}

}  // namespace brisk::ftdi
