#include "adapters/ftdi/i2c_engine.h"

#include <algorithm>

#include "platform/platform.h"

namespace brisk::ftdi {
namespace {

// Extra copies of a pin step, each about as long as the chip takes for three bytes: a hi-speed chip
// runs through its commands faster, and STANDARD mode asks for longer holds.
constexpr unsigned kHiSpeedHold = 3;
constexpr unsigned kStandardHold = 3;

constexpr uint8_t kHighByteIdle = 0x0F;

}  // namespace

void CMpsseI2c::AddModeRecord(uint32_t handle) {
  for (HandleModeRecord& record : modes_) {
    if (record.handle != 0) continue;
    record = {handle, kFastMode};
    return;
  }
}

void CMpsseI2c::RemoveModeRecord(uint32_t handle) {
  for (HandleModeRecord& record : modes_) {
    if (record.handle != handle) continue;
    record = {};
    return;
  }
}

uint32_t CMpsseI2c::GetMode(uint32_t handle) const {
  for (const HandleModeRecord& record : modes_) {
    if (record.handle == handle) return record.mode;
  }
  return kFastMode;
}

void CMpsseI2c::SetModeOf(uint32_t handle, uint32_t mode) {
  for (HandleModeRecord& record : modes_) {
    if (record.handle != handle) continue;
    record.mode = mode;
    return;
  }
}

void CMpsseI2c::QueuePins(uint8_t direction, unsigned times) {
  for (unsigned i = 0; i < times; ++i) {
    Queue(kSetLowPins);
    Queue(static_cast<uint8_t>(value_));
    Queue(direction);
  }
}

void CMpsseI2c::QueueStart(uint32_t handle, bool gpioL0High) {
  const unsigned hold = 1 + (IsHiSpeedHandle(handle) ? kHiSpeedHold : 0);
  const unsigned standard = (GetMode(handle) & kStandardMode) != 0 ? kStandardHold : 0;
  value_ &= ~uint32_t{kGpioL0};
  if (gpioL0High) value_ |= kGpioL0;
  value_ |= kScl | kSdaOut;
  SetI2cDirection();
  QueuePins(hold);
  value_ &= ~uint32_t{kSdaOut};
  QueuePins(hold + standard);
  value_ &= ~uint32_t{kScl | kSdaOut};
  QueuePins();
}

Status CMpsseI2c::SendStop(uint32_t handle) {
  const unsigned hold = 1 + (IsHiSpeedHandle(handle) ? kHiSpeedHold : 0);
  const unsigned standard = (GetMode(handle) & kStandardMode) != 0 ? kStandardHold : 0;
  ClearQueue();
  value_ = (value_ | kScl) & ~uint32_t{kSdaOut};
  SetI2cDirection();
  QueuePins(hold + standard);
  value_ |= kSdaOut;
  QueuePins(hold);
  SetReleasedDirection();
  QueuePins();
  const Status status = Flush(handle);
  platform().clock.Sleep(0);
  return status;
}

void CMpsseI2c::QueueWriteBits(uint32_t handle, uint32_t bitCount, const uint8_t* bytes) {
  const uint32_t whole = bitCount / 8;
  if (whole != 0 && (GetMode(handle) & kStretchDataMode) != 0) {
    for (uint32_t i = 0; i < whole * 8; ++i) {
      const bool bit = (bytes[i / 8] >> (7 - i % 8) & 1) != 0;
      Queue(kBitsOutFalling);
      Queue(0);
      Queue(bit ? 0xFF : 0x00);
      Queue(kSetLowPins);
      Queue(bit ? kSdaOut : 0x00);
      Queue(kScl | kSdaOut);
    }
  } else if (whole != 0) {
    Queue(kBytesOutFalling);
    Queue(static_cast<uint8_t>(whole - 1));
    Queue(static_cast<uint8_t>((whole - 1) >> 8));
    for (uint32_t i = 0; i < whole; ++i) Queue(bytes[i]);
  }
  if (bitCount % 8 == 0) return;
  Queue(kBitsOutFalling);
  Queue(static_cast<uint8_t>(bitCount % 8 - 1));
  Queue(bytes[whole]);
}

void CMpsseI2c::QueueReadBits(uint32_t bitCount) {
  const uint32_t whole = bitCount / 8;
  if (whole != 0) {
    Queue(kBytesInFalling);
    Queue(static_cast<uint8_t>(whole - 1));
    Queue(static_cast<uint8_t>((whole - 1) >> 8));
  }
  if (bitCount % 8 == 0) return;
  Queue(kBitsInFalling);
  Queue(static_cast<uint8_t>(bitCount % 8 - 1));
}

Status CMpsseI2c::ReadBits(uint32_t handle, uint8_t* destination, uint32_t bitCount,
                           uint32_t* bytesOut, bool blocking) {
  const uint32_t expected = (bitCount + 7) / 8;
  const int64_t start = platform().clock.LocalTime();
  Status status = kOk;
  *bytesOut = 0;
  do {
    std::span<const uint8_t> bytes;
    status = ReadWaiting(handle, &bytes);
    const size_t taken = std::min<size_t>(bytes.size(), expected - *bytesOut);
    std::copy_n(bytes.begin(), taken, destination + *bytesOut);
    *bytesOut += static_cast<uint32_t>(taken);
    if (!blocking || status != kOk || *bytesOut == expected) return status;
    platform().clock.Sleep(1);
  } while (!TimedOut(start, kAnswerTimeoutMs));
  return kCommandNotCompleted;
}

Status CMpsseI2c::AwaitAcknowledge(uint32_t handle, Wait wait, uint32_t timeoutMs) {
  uint8_t answer = 0;
  uint32_t count = 0;
  if (wait == Wait::kNone) return ReadBits(handle, &answer, 1, &count, true);
  const int64_t start = platform().clock.LocalTime();
  for (;;) {
    const Status status = ReadBits(handle, &answer, 1, &count, false);
    if (status != kOk) return status;
    if (count != 0 && (answer & 1) == 0) return kOk;
    if (!TimedOut(start, timeoutMs)) continue;
    return wait == Wait::kControlByte ? kControlAckTimeout : kDataAckTimeout;
  }
}

Status CMpsseI2c::ReadAcknowledge(uint32_t handle, Wait wait, uint32_t timeoutMs) {
  QueuePins(kReadDirection, 1);
  QueueReadBits(1);
  Queue(kSendImmediate);
  Status status = Flush(handle);
  if (status == kOk) status = AwaitAcknowledge(handle, wait, timeoutMs);
  if (status != kOk) return status;
  status = DriveSdaAgain(handle);
  platform().clock.Sleep(0);
  return status;
}

Status CMpsseI2c::DriveSdaAgain(uint32_t handle) {
  ClearQueue();
  QueuePins(kI2cDirection, 1);
  return Flush(handle);
}

Status CMpsseI2c::WriteByte(uint32_t handle, uint8_t byte, Wait wait, uint32_t timeoutMs) {
  QueueWriteBits(handle, 8, &byte);
  return wait == Wait::kNone ? Flush(handle) : ReadAcknowledge(handle, wait, timeoutMs);
}

Status CMpsseI2c::StartAndWriteByte(uint32_t handle, uint8_t byte, Wait wait, uint32_t timeoutMs,
                                    bool gpioL0High) {
  ClearQueue();
  QueueStart(handle, gpioL0High);
  return WriteByte(handle, byte, wait, timeoutMs);
}

Status CMpsseI2c::WriteControlBytes(uint32_t handle, const uint8_t* bytes,
                                    const ControlBytes& control) {
  Status status = StartAndWriteByte(handle, bytes[0], control.wait(), control.timeoutMs, false);
  for (uint32_t i = 1; i < control.count && status == kOk; ++i) {
    status = WriteByte(handle, bytes[i], control.wait(), control.timeoutMs);
  }
  return status;
}

// Every byte of a page is acknowledged, whatever the request says.
Status CMpsseI2c::WriteData(uint32_t handle, const WriteRequest& request) {
  if (request.type == I2C_BYTE_WRITE_TYPE) {
    const Wait wait = request.acknowledge ? Wait::kDataByte : Wait::kNone;
    return WriteByte(handle, request.data[0], wait, request.timeoutMs);
  }
  if (request.type != I2C_PAGE_WRITE_TYPE) return kOk;
  Status status = kOk;
  for (uint32_t i = 0; i < request.count && status == kOk; ++i) {
    status = WriteByte(handle, request.data[i], Wait::kDataByte, request.timeoutMs);
  }
  return status;
}

Status CMpsseI2c::Write(uint32_t handle, const WriteRequest& request) {
  Status status = WriteControlBytes(handle, request.control, request.controlBytes);
  if (status == kOk) status = WriteData(handle, request);
  if (status != kOk || !request.stop) return status;
  status = SendStop(handle);
  if (status != kOk) return status;
  value_ &= ~uint32_t{kGpioL0};
  QueuePins(kI2cDirection, 1);
  status = Flush(handle);
  platform().clock.Sleep(0);
  return status;
}

Status CMpsseI2c::Read(uint32_t handle, const ReadRequest& request) {
  const ControlBytes& control = request.controlBytes;
  request.control[0] &= 0xFE;
  Status status = WriteControlBytes(handle, request.control, control);
  if (status != kOk) return status;
  request.control[0] |= 0x01;
  status = StartAndWriteByte(handle, request.control[0], control.wait(), control.timeoutMs, true);
  if (status != kOk) return status;
  status = request.type == I2C_BYTE_READ_TYPE ? ReadByteWithNack(handle, request.data)
                                              : ReadBlock(handle, request.data, request.count);
  return status == kOk ? SendStop(handle) : status;
}

Status CMpsseI2c::ReadByte(uint32_t handle, uint8_t* destination) {
  QueuePins(kReadDirection, 1);
  QueueReadBits(8);
  Queue(kSendImmediate);
  Status status = Flush(handle);
  uint32_t count = 0;
  if (status == kOk) status = ReadBits(handle, destination, 8, &count, true);
  return status == kOk ? DriveSdaAgain(handle) : status;
}

// No clock follows the last byte: STOP ends the transfer, and the device sees no NACK.
Status CMpsseI2c::ReadBlock(uint32_t handle, uint8_t* destination, uint32_t count) {
  constexpr uint8_t kAck = 0x00;
  Status status = kOk;
  ClearQueue();
  for (uint32_t i = 0; i < count && status == kOk; ++i) {
    status = ReadByte(handle, destination + i);
    if (status != kOk || i + 1 == count) break;
    QueueWriteBits(handle, 1, &kAck);
    status = Flush(handle);
  }
  return status;
}

// The ninth bit is clocked with SDA released: a NACK.
Status CMpsseI2c::ReadByteWithNack(uint32_t handle, uint8_t* destination) {
  uint8_t answer[2] = {};
  uint32_t count = 0;
  ClearQueue();
  QueuePins(kReadDirection, 1);
  QueueReadBits(9);
  Queue(kSendImmediate);
  Status status = Flush(handle);
  if (status == kOk) status = ReadBits(handle, answer, 9, &count, true);
  if (status != kOk) return status;
  *destination = answer[0];
  status = DriveSdaAgain(handle);
  platform().clock.Sleep(0);
  return status;
}

Status CMpsseI2c::SetClockDivisor(uint32_t handle, uint32_t divisor) {
  const uint8_t commands[] = {kSetDivisor, static_cast<uint8_t>(divisor),
                              static_cast<uint8_t>(divisor >> 8)};
  return SendCommands(handle, commands);
}

// Lines high and driven; the value serves as the direction. The divisor goes out only behind pins
// that went out, and nothing depends on its status.
Status CMpsseI2c::IdlePins(uint32_t handle, uint32_t divisor) {
  value_ = kI2cDirection;
  const uint8_t idle = static_cast<uint8_t>(value_);
  const uint8_t commands[] = {kSetLowPins, idle, idle, kSetHighPins, kHighByteIdle, kHighByteIdle};
  const Status status = SendCommands(handle, commands);
  if (status == kOk) static_cast<void>(SetClockDivisor(handle, divisor));
  return status;
}

Status CMpsseI2c::Initialise(uint32_t handle, uint32_t divisor) {
  constexpr uint8_t kHighOutputs = 0x03;
  Clock& clock = platform().clock;
  Status status = IsHiSpeedHandle(handle) ? PrepareHiSpeedClocking(handle) : kOk;
  if (status == kOk && divisor > kMaxDivisor) return kInvalidDivisor;
  if (status == kOk) status = Configure(handle);
  if (status == kOk) {
    clock.Sleep(50);
    status = IdlePins(handle, divisor);
  }
  if (status == kOk) {
    clock.Sleep(20);
    status = SetLoopback(handle, false);
  }
  if (status == kOk) status = DropWaiting(handle);
  static_cast<void>(SetGpios(handle, kHighOutputs, 0));
  if (status == kOk) clock.Sleep(30);
  return status;
}

}  // namespace brisk::ftdi
