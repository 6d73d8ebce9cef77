#include "adapters/u2c/u2c_adapter.h"

#include <span>

namespace brisk::u2c {
namespace {

struct Speed {
  uint32_t kHz;
  uint8_t code;
};

constexpr Speed kI2cSpeeds[] = {{400, 0}, {100, 1}, {83, 2},  {71, 3}, {62, 4},
                                {50, 6},  {25, 16}, {10, 46}, {5, 96}, {2, 242}};
constexpr Speed kSpiSpeeds[] = {{200, 0}, {100, 1}, {83, 2},  {71, 3}, {62, 4},
                                {50, 6},  {25, 16}, {10, 46}, {5, 96}, {2, 242}};

// The squares are compared in 32 bits, as they always were: far above the table they wrap.
uint8_t NearestCode(std::span<const Speed> speeds, uint32_t kHz) {
  const Speed* nearest = &speeds[0];
  for (const Speed& speed : speeds) {
    const uint32_t distance = (kHz - speed.kHz) * (kHz - speed.kHz);
    const uint32_t best = (kHz - nearest->kHz) * (kHz - nearest->kHz);
    if (distance < best) nearest = &speed;
  }
  return nearest->code;
}

constexpr uint8_t kBitSda = 0x01;
constexpr uint8_t kBitScl = 0x02;
constexpr uint8_t kBitLine0 = 0x40;
constexpr uint32_t kLine0High = 1;
constexpr uint32_t kLine0Low = 0xFFFFFFFE;

}  // namespace

void U2cAdapter::Connect() {
  if (connected_) return;
  library_.Load();
  handle_ = library_.Open();
  connected_ = handle_ != kNoHandle;
  MakeLineAnOutput();
}

void U2cAdapter::MakeLineAnOutput() {
  library_.SetIoDirection(handle_, kLine0, 1);
  SetLine(true);
}

uint32_t U2cAdapter::I2c_Tx(uint32_t byte) {
  return library_.PutByteWithAck(handle_, static_cast<uint8_t>(byte)) == kDone ? 0 : 1;
}

bool U2cAdapter::Receive(uint8_t* byte, bool acknowledge) {
  return library_.GetByteWithAck(handle_, byte, acknowledge ? 1 : 0) == kDone;
}

uint32_t U2cAdapter::I2c_Rx(uint32_t* data, uint32_t last) {
  if (data == nullptr) return 1;
  uint8_t byte = 0;
  Receive(&byte, last == 0);
  *data = byte;
  return 0;
}

void U2cAdapter::SetI2cClock(uint32_t kHz) {
  library_.SetI2cFreq(handle_, NearestCode(kI2cSpeeds, kHz));
}

void U2cAdapter::SetSpiClock(uint32_t kHz) {
  library_.SpiSetFreq(handle_, NearestCode(kSpiSpeeds, kHz));
}

void U2cAdapter::WritePort(uint8_t value) {
  library_.IoWrite(handle_, (value & kBitLine0) != 0 ? kLine0High : kLine0Low, kLine0);
  (value & kBitSda) != 0 ? library_.ReleaseSda(handle_) : library_.DropSda(handle_);
  (value & kBitScl) != 0 ? library_.ReleaseScl(handle_) : library_.DropScl(handle_);
}

}  // namespace brisk::u2c
