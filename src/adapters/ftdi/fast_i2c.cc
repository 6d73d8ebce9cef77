#include "adapters/ftdi/fast_i2c.h"

#include "adapters/ftdi/mpsse.h"

namespace brisk::ftdi {
namespace {

constexpr uint32_t kBlock = 256;  // bytes between two flushes
constexpr uint8_t kReleased = 0xFF;
constexpr uint8_t kAck = 0x00;
constexpr uint8_t kNack = 0xFF;

}  // namespace

// SDA goes up before SCL does, so that a repeated START is no STOP.
void FastI2c::SendFastStart(uint32_t handle) {
  uint32_t& value = engine_.value();
  value &= ~uint32_t{kGpioL0};
  value |= kSdaOut;
  engine_.SetI2cDirection();
  engine_.QueuePins(1 + 4 * stepFactor_);
  value |= kScl | kSdaOut;
  engine_.QueuePins(3 * stepFactor_);
  value &= ~uint32_t{kSdaOut};
  engine_.QueuePins(1 + 3 * stepFactor_ + (Standard(handle) ? 3 * stepFactor_ : 0));
  value &= ~uint32_t{kScl | kSdaOut};
  engine_.QueuePins();
}

Status FastI2c::QueueFastBytes(uint32_t handle, const uint8_t* bytes, uint32_t count) {
  Status status = kOk;
  for (uint32_t i = 0; i < count; ++i) {
    for (const uint8_t command : {uint8_t{kBytesOutFalling}, uint8_t{0}, uint8_t{0}, bytes[i],
                                  uint8_t{kBitsOutFalling}, uint8_t{0}, kReleased}) {
      engine_.Queue(command);
    }
    if (i % kBlock != kBlock - 1 || i + 1 == count) continue;
    const Status flushed = engine_.Flush(handle);
    if (status == kOk) status = flushed;
  }
  uint32_t& value = engine_.value();
  value = (value & ~uint32_t{kScl}) | kSdaOut;
  engine_.SetI2cDirection();
  engine_.QueuePins();
  value &= ~uint32_t{kSdaOut};
  engine_.QueuePins(3);
  return status;
}

void FastI2c::QueueFastStop(uint32_t handle) {
  const bool standard = Standard(handle);
  uint32_t& value = engine_.value();
  value &= ~uint32_t{kScl | kSdaOut};
  engine_.SetI2cDirection();
  engine_.QueuePins(standard ? 4 : 1);
  value = (value | kScl) & ~uint32_t{kSdaOut};
  engine_.QueuePins(standard ? 7 : 4);
  value |= kSdaOut;
  engine_.QueuePins(4);
  engine_.SetReleasedDirection();
  engine_.QueuePins();
}

Status FastI2c::ReadFast(uint32_t handle, uint8_t* destination, uint32_t count) {
  uint32_t taken = 0;  // bytes that have arrived
  uint32_t arrived = 0;
  Status status = kOk;
  for (uint32_t i = 0; i < count && status == kOk; ++i) {
    engine_.Queue(kBitsInRisingOutFalling);
    engine_.Queue(7);
    engine_.Queue(kReleased);
    engine_.Queue(kSendImmediate);
    engine_.QueuePins(kI2cDirection, 1);
    engine_.Queue(kBitsOutFalling);
    engine_.Queue(0);
    engine_.Queue(i + 1 == count ? kNack : kAck);
    if (i % kBlock != kBlock - 1) continue;
    status = engine_.Flush(handle);
    if (status == kOk) {
      status = engine_.ReadBits(handle, destination + taken, kBlock * 8, &arrived, true);
    }
    taken += kBlock;
  }
  QueueFastStop(handle);
  const Status stopped = engine_.Flush(handle);
  if (status == kOk) status = stopped;
  if (status != kOk) return status;
  return engine_.ReadBits(handle, destination + taken, (count - taken) * 8, &arrived, true);
}

}  // namespace brisk::ftdi
