#include "adapters/ftdi/i2c_engine.h"

#include <algorithm>

// A transaction on the bus:
//
//   START    SCL and SDA high; SDA low; both low
//   byte     eight clocks out, then SDA becomes an input and a ninth clock reads the acknowledge
//   STOP     SCL high with SDA low; SDA high; both released
//
// GPIOL0 tells the board which way data goes: low for writes, high from the repeated START of a
// read on.
namespace brisk::ftdi {
namespace {

// Extra settings of the low byte, each about as long as the chip takes for three bytes: a hi-speed
// chip runs through its commands faster, and STANDARD mode asks for longer holds.
constexpr unsigned kHiSpeedHold = 3;
constexpr unsigned kStandardHold = 3;

constexpr uint8_t kHighByteIdle = 0x0F;
constexpr Pins kHighByteInUse{.levels = 0x00, .outputs = 0x03};

constexpr uint32_t kModeSettleMs = 50;
constexpr uint32_t kPinsSettleMs = 20;
constexpr uint32_t kBusSettleMs = 30;

constexpr uint8_t kReadFlag = 0x01;

}  // namespace

void CMpsseI2c::Reset() {
  ForgetAll();
  low_ = {};
}

void CMpsseI2c::QueuePins(unsigned times) {
  for (unsigned i = 0; i < times; ++i) QueuePinsWithOutputs(low_.outputs);
}

void CMpsseI2c::QueuePinsWithOutputs(uint8_t outputs) {
  line().Queue({kSetLowPins, low_.levels, outputs});
}

unsigned CMpsseI2c::HoldOf(uint32_t handle) { return 1 + (IsHiSpeed(handle) ? kHiSpeedHold : 0); }

unsigned CMpsseI2c::StandardHoldOf(uint32_t handle) const {
  return ModeOf(handle) == Mode::kStandard ? kStandardHold : 0;
}

void CMpsseI2c::QueueStart(uint32_t handle, bool gpioL0High) {
  const unsigned hold = HoldOf(handle);
  low_.Set(kGpioL0, gpioL0High ? kGpioL0 : 0);
  low_.Raise(kScl | kSdaOut);
  DriveBus();
  QueuePins(hold);
  low_.Lower(kSdaOut);
  QueuePins(hold + StandardHoldOf(handle));
  low_.Lower(kScl | kSdaOut);
  QueuePins();
}

StatusCode CMpsseI2c::SendStop(uint32_t handle) {
  const unsigned hold = HoldOf(handle);
  line().ClearQueue();
  low_.Set(kScl | kSdaOut, kScl);
  DriveBus();
  QueuePins(hold + StandardHoldOf(handle));
  low_.Raise(kSdaOut);
  QueuePins(hold);
  ReleaseBus();
  QueuePins();
  const StatusCode status = line().Flush(handle);
  line().clock().Sleep(0);
  return status;
}

void CMpsseI2c::QueueByte(uint32_t handle, uint8_t byte) {
  if (ModeOf(handle) != Mode::kStretchData) {
    line().Queue({kBytesOutFalling, Count(1), CountHigh(1), byte});
    return;
  }
  for (unsigned mask = 0x80; mask != 0; mask >>= 1) {
    const bool bit = (byte & mask) != 0;
    line().Queue({kBitsOutFalling, Count(1), static_cast<uint8_t>(bit ? 0xFF : 0x00)});
    line().Queue({kSetLowPins, static_cast<uint8_t>(bit ? kSdaOut : 0), kScl | kSdaOut});
  }
}

void CMpsseI2c::QueueReadBits(uint32_t bitCount) {
  const uint32_t whole = bitCount / 8;
  const uint32_t rest = bitCount % 8;
  if (whole != 0) line().Queue({kBytesInFalling, Count(whole), CountHigh(whole)});
  if (rest != 0) line().Queue({kBitsInFalling, Count(rest)});
}

// Asks for bits with SDA left to the device.
StatusCode CMpsseI2c::RequestBits(uint32_t handle, uint32_t bitCount) {
  QueuePinsWithOutputs(kReadOutputs);
  QueueReadBits(bitCount);
  line().Queue(kSendImmediate);
  return line().Flush(handle);
}

StatusCode CMpsseI2c::ReadBits(uint32_t handle, uint8_t* destination, uint32_t bitCount) {
  const uint32_t expected = (bitCount + 7) / 8;
  Clock& clock = line().clock();
  const int64_t start = clock.LocalTime();
  uint32_t have = 0;
  do {
    const auto [status, bytes] = line().ReadWaiting(handle);
    const size_t taken = std::min<size_t>(bytes.size(), expected - have);
    std::copy_n(bytes.begin(), taken, destination + have);
    have += static_cast<uint32_t>(taken);
    if (status != kOk || have == expected) return status;
    clock.Sleep(1);
  } while (!TimedOut(clock, start, kAnswerTimeoutMs));
  return kCommandNotCompleted;
}

// A device that does not acknowledge answers 1 once, and nothing comes after that.
StatusCode CMpsseI2c::AwaitAcknowledge(uint32_t handle, uint32_t timeoutMs, StatusCode late) {
  Clock& clock = line().clock();
  const int64_t start = clock.LocalTime();
  for (;;) {
    const auto [status, bytes] = line().ReadWaiting(handle);
    if (status != kOk) return status;
    if (!bytes.empty() && (bytes[0] & 1) == 0) return kOk;
    if (TimedOut(clock, start, timeoutMs)) return late;
  }
}

StatusCode CMpsseI2c::ReadAcknowledge(uint32_t handle, uint32_t timeoutMs, StatusCode late) {
  StatusCode status = RequestBits(handle, 1);
  if (status == kOk) status = AwaitAcknowledge(handle, timeoutMs, late);
  if (status != kOk) return status;
  status = DriveSdaAgain(handle);
  line().clock().Sleep(0);
  return status;
}

StatusCode CMpsseI2c::DriveSdaAgain(uint32_t handle) {
  line().ClearQueue();
  QueuePinsWithOutputs(kI2cOutputs);
  return line().Flush(handle);
}

StatusCode CMpsseI2c::WriteByte(uint32_t handle, uint8_t byte, Acknowledge ack, StatusCode late) {
  QueueByte(handle, byte);
  return ack.wanted ? ReadAcknowledge(handle, ack.timeoutMs, late) : line().Flush(handle);
}

StatusCode CMpsseI2c::StartAndWriteByte(uint32_t handle, uint8_t byte, Acknowledge ack,
                                        bool gpioL0High) {
  line().ClearQueue();
  QueueStart(handle, gpioL0High);
  return WriteByte(handle, byte, ack, kControlAckTimeout);
}

StatusCode CMpsseI2c::WriteControlBytes(uint32_t handle, Bytes control, Acknowledge ack) {
  StatusCode status = StartAndWriteByte(handle, control[0], ack, false);
  for (size_t i = 1; i < control.size() && status == kOk; ++i) {
    status = WriteByte(handle, control[i], ack, kControlAckTimeout);
  }
  return status;
}

// Every byte of a page is acknowledged, whatever the request says.
StatusCode CMpsseI2c::WriteData(uint32_t handle, const WriteRequest& request) {
  if (request.type == WriteType::kNone) return kOk;
  const bool page = request.type == WriteType::kPage;
  const Acknowledge ack{page || request.dataAck.wanted, request.dataAck.timeoutMs};
  StatusCode status = kOk;
  for (const uint8_t byte : page ? request.data : request.data.first(1)) {
    status = WriteByte(handle, byte, ack, kDataAckTimeout);
    if (status != kOk) break;
  }
  return status;
}

StatusCode CMpsseI2c::Write(uint32_t handle, const WriteRequest& request) {
  StatusCode status = WriteControlBytes(handle, request.control, request.controlAck);
  if (status == kOk) status = WriteData(handle, request);
  if (status != kOk || !request.stop) return status;
  status = SendStop(handle);
  if (status != kOk) return status;
  low_.Lower(kGpioL0);
  QueuePinsWithOutputs(kI2cOutputs);
  status = line().Flush(handle);
  line().clock().Sleep(0);
  return status;
}

StatusCode CMpsseI2c::Read(uint32_t handle, const ReadRequest& request) {
  uint8_t& address = request.control[0];
  address &= static_cast<uint8_t>(~kReadFlag);
  StatusCode status = WriteControlBytes(handle, request.control, request.controlAck);
  if (status != kOk) return status;
  address |= kReadFlag;
  status = StartAndWriteByte(handle, address, request.controlAck, true);
  if (status != kOk) return status;
  status = request.type == ReadType::kByte ? ReadByteWithNack(handle, request.data.data())
                                           : ReadBlock(handle, request.data);
  return status == kOk ? SendStop(handle) : status;
}

StatusCode CMpsseI2c::ReadByte(uint32_t handle, uint8_t* destination) {
  StatusCode status = RequestBits(handle, 8);
  if (status == kOk) status = ReadBits(handle, destination, 8);
  return status == kOk ? DriveSdaAgain(handle) : status;
}

// No clock follows the last byte: STOP ends the transfer, and the device sees no NACK.
StatusCode CMpsseI2c::ReadBlock(uint32_t handle, Buffer data) {
  line().ClearQueue();
  StatusCode status = ReadByte(handle, data.data());
  for (size_t i = 1; i < data.size() && status == kOk; ++i) {
    line().Queue({kBitsOutFalling, Count(1), kAck});
    status = line().Flush(handle);
    if (status == kOk) status = ReadByte(handle, &data[i]);
  }
  return status;
}

// The ninth bit is clocked with SDA released: a NACK.
StatusCode CMpsseI2c::ReadByteWithNack(uint32_t handle, uint8_t* destination) {
  uint8_t answer[2] = {};
  line().ClearQueue();
  StatusCode status = RequestBits(handle, 9);
  if (status == kOk) status = ReadBits(handle, answer, 9);
  if (status != kOk) return status;
  *destination = answer[0];
  status = DriveSdaAgain(handle);
  line().clock().Sleep(0);
  return status;
}

StatusCode CMpsseI2c::SetClockDivisor(uint32_t handle, uint32_t divisor) {
  return line().SendCommands(handle, {kSetDivisor, ByteOf(divisor, 0), ByteOf(divisor, 1)});
}

StatusCode CMpsseI2c::SetLoopback(uint32_t handle, bool on) {
  return line().SendCommands(handle, {on ? kLoopbackOn : kLoopbackOff});
}

// Lines high and driven; the levels serve as the outputs. The divisor goes out only behind pins
// that went out, and nothing depends on its status.
StatusCode CMpsseI2c::IdlePins(uint32_t handle, uint32_t divisor) {
  low_.levels = kI2cOutputs;
  const StatusCode status =
      line().SendCommands(handle, {kSetLowPins, low_.levels, low_.levels,  //
                                   kSetHighPins, kHighByteIdle, kHighByteIdle});
  if (status == kOk) static_cast<void>(SetClockDivisor(handle, divisor));
  return status;
}

StatusCode CMpsseI2c::Initialise(uint32_t handle, uint32_t divisor) {
  Clock& clock = line().clock();
  StatusCode status = IsHiSpeed(handle) ? PrepareHiSpeedClocking(handle) : kOk;
  if (status == kOk && divisor > kMaxDivisor) return kInvalidDivisor;
  if (status == kOk) status = line().Configure(handle);
  if (status == kOk) {
    clock.Sleep(kModeSettleMs);
    status = IdlePins(handle, divisor);
  }
  if (status == kOk) {
    clock.Sleep(kPinsSettleMs);
    status = SetLoopback(handle, false);
  }
  if (status == kOk) status = line().DropWaiting(handle);
  static_cast<void>(SetHighPins(handle, kHighByteInUse));
  if (status == kOk) clock.Sleep(kBusSettleMs);
  return status;
}

}  // namespace brisk::ftdi
