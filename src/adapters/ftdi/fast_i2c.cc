#include "adapters/ftdi/fast_i2c.h"

#include "adapters/ftdi/mpsse.h"

// Steps are settings of the low byte, k = 10 of them where the classic bus needs one at up to
// 100 kHz; STANDARD mode adds those in brackets:
//
//   START   SDA high 1 + 4k   SCL high too 3k   SDA low 1 + 3k [3k]   SCL low 1
//   byte    eight clocks out, a ninth with SDA high; after the last of a run SDA high 1, low 3
//   STOP    both low 1 [3]   SCL high 4 [3]   SDA high 4   both released 1
namespace brisk::ftdi {
namespace {

constexpr uint32_t kBlock = 256;  // bytes between two flushes

}  // namespace

// SDA goes up before SCL does, so that a repeated START is no STOP.
void FastI2c::QueueStart() {
  Pins& low = engine_.low();
  low.Lower(kGpioL0);
  low.Raise(kSdaOut);
  engine_.DriveBus();
  engine_.QueuePins(1 + 4 * stepFactor_);
  low.Raise(kScl | kSdaOut);
  engine_.QueuePins(3 * stepFactor_);
  low.Lower(kSdaOut);
  engine_.QueuePins(1 + 3 * stepFactor_ + (standard_ ? 3 * stepFactor_ : 0));
  low.Lower(kScl | kSdaOut);
  engine_.QueuePins();
}

StatusCode FastI2c::QueueBytes(Bytes bytes) {
  MpsseLine& line = engine_.line();
  StatusCode status = kOk;
  for (size_t i = 0; i < bytes.size(); ++i) {
    line.Queue({kBytesOutFalling, Count(1), CountHigh(1), bytes[i]});
    line.Queue({kBitsOutFalling, Count(1), kReleased});
    if (i % kBlock != kBlock - 1 || i + 1 == bytes.size()) continue;
    const StatusCode flushed = line.Flush(handle_);
    if (status == kOk) status = flushed;
  }
  Pins& low = engine_.low();
  low.Set(kScl | kSdaOut, kSdaOut);
  engine_.DriveBus();
  engine_.QueuePins();
  low.Lower(kSdaOut);
  engine_.QueuePins(3);
  return status;
}

void FastI2c::QueueStop() {
  const unsigned standard = standard_ ? 3 : 0;
  Pins& low = engine_.low();
  low.Lower(kScl | kSdaOut);
  engine_.DriveBus();
  engine_.QueuePins(1 + standard);
  low.Raise(kScl);
  engine_.QueuePins(4 + standard);
  low.Raise(kSdaOut);
  engine_.QueuePins(4);
  engine_.ReleaseBus();
  engine_.QueuePins();
}

void FastI2c::QueueByteIn(uint8_t acknowledge) {
  engine_.line().Queue({kBitsInRisingOutFalling, Count(8), kReleased, kSendImmediate});
  engine_.QueuePinsWithOutputs(kI2cOutputs);
  engine_.line().Queue({kBitsOutFalling, Count(1), acknowledge});
}

StatusCode FastI2c::FlushAndTake(Buffer block) {
  const StatusCode status = engine_.line().Flush(handle_);
  if (status != kOk) return status;
  return engine_.ReadBits(handle_, block.data(), static_cast<uint32_t>(block.size() * 8));
}

StatusCode FastI2c::Read(Buffer data) {
  size_t taken = 0;  // in whole blocks
  StatusCode status = kOk;
  for (size_t i = 0; i < data.size() && status == kOk; ++i) {
    QueueByteIn(i + 1 == data.size() ? kNack : kAck);
    if (i % kBlock != kBlock - 1) continue;
    status = FlushAndTake(data.subspan(taken, kBlock));
    taken += kBlock;
  }
  QueueStop();
  if (status == kOk) return FlushAndTake(data.subspan(taken));
  static_cast<void>(engine_.line().Flush(handle_));
  return status;
}

}  // namespace brisk::ftdi
