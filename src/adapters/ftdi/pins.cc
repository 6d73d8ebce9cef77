#include "adapters/ftdi/i2c_engine.h"

// The engine's general-purpose pins: a setting is one command, a reading a command and the wait for
// its one answer byte. The low byte's settings go through the shadows that the bus uses too.
namespace brisk::ftdi {
namespace {

constexpr uint32_t kPinDelayMs = 5;

// GPIOL0 to GPIOL3 are the upper half of the low byte.
constexpr unsigned kGpioLShift = 4;
constexpr uint8_t kGpioL = 0xF0;

}  // namespace

StatusCode CMpsseI2c::SetLowPins(uint32_t handle, uint8_t mask, uint8_t levels) {
  low_.Set(mask, levels);
  low_.Drive(mask, mask);
  line().ClearQueue();
  QueuePins();
  return line().Flush(handle);
}

StatusCode CMpsseI2c::SetHighPins(uint32_t handle, Pins pins) {
  return line().SendCommands(handle, {kSetHighPins, pins.levels, pins.outputs});
}

Answer<uint8_t> CMpsseI2c::ReadPins(uint32_t handle, MpsseCommand command) {
  StatusCode status = line().DropWaiting(handle);
  if (status == kOk) status = line().SendCommands(handle, {command, kSendImmediate});
  if (status == kOk) status = line().WaitForAnswer(handle);
  if (status != kOk) return {status};
  const auto [unread, bytes] = line().ReadWaiting(handle);
  if (unread != kOk) return {unread};
  if (bytes.empty()) return {kCommandNotCompleted};
  return {kOk, bytes[0]};
}

void CMpsseI2c::WaitForPins() { line().clock().Sleep(kPinDelayMs); }

Answer<uint8_t> CMpsseI2c::GetGpios(uint32_t handle) {
  WaitForPins();
  return ReadPins(handle, kReadHighPins);
}

// GPIOL0 belongs to the engine: an output, high.
StatusCode CMpsseI2c::SetHiSpeedLowGpios(uint32_t handle, Pins gpioL) {
  low_.Set(kGpioL, static_cast<uint8_t>(gpioL.levels << kGpioLShift | kGpioL0));
  low_.Drive(kGpioL, static_cast<uint8_t>(gpioL.outputs << kGpioLShift | kGpioL0));
  line().ClearQueue();
  QueuePins();
  return line().Flush(handle);
}

// GPIOL0 is the engine's and reads low.
Answer<uint8_t> CMpsseI2c::GetHiSpeedLowGpios(uint32_t handle) {
  const auto [status, low] = ReadPins(handle, kReadLowPins);
  return {status, static_cast<uint8_t>((low & ~kGpioL0) >> kGpioLShift)};
}

StatusCode CMpsseI2c::SetHiSpeedHighGpios(uint32_t handle, Pins pins) {
  const auto [status, isFt2232h] = QueryHiSpeedType(handle);
  return status == kOk && isFt2232h ? SetHighPins(handle, pins) : status;
}

Answer<uint8_t> CMpsseI2c::GetHiSpeedHighGpios(uint32_t handle) {
  WaitForPins();
  const auto [status, isFt2232h] = QueryHiSpeedType(handle);
  return status == kOk && isFt2232h ? ReadPins(handle, kReadHighPins) : Answer<uint8_t>{status};
}

}  // namespace brisk::ftdi
