#include "adapters/u2c/u2c_link.h"

#include <span>

namespace brisk::u2c {
namespace {

// The adapter's clocks and the codes that its library has for them, fastest first.
struct Speed {
  uint32_t kHz;
  uint8_t code;
};

constexpr Speed kI2cSpeeds[] = {{400, 0}, {100, 1}, {83, 2},  {71, 3}, {62, 4},
                                {50, 6},  {25, 16}, {10, 46}, {5, 96}, {2, 242}};
constexpr Speed kSpiSpeeds[] = {{200, 0}, {100, 1}, {83, 2},  {71, 3}, {62, 4},
                                {50, 6},  {25, 16}, {10, 46}, {5, 96}, {2, 242}};

// The squares are compared in 32 bits: rates far above the table wrap, and boards rely on the code
// that they then get.
uint8_t NearestCode(std::span<const Speed> speeds, uint32_t kHz) {
  const Speed* nearest = &speeds[0];
  for (const Speed& speed : speeds) {
    const uint32_t distance = (kHz - speed.kHz) * (kHz - speed.kHz);
    const uint32_t best = (kHz - nearest->kHz) * (kHz - nearest->kHz);
    if (distance < best) nearest = &speed;
  }
  return nearest->code;
}

constexpr vendor::Symbol kCommonSymbols[] = {{"OpenU2C"}};
constexpr vendor::Symbol kBridgeSymbols[] = {
#define BRISK_ROW(name, ...) {"U2C_" #name},
    BRISK_U2C_FUNCTIONS(BRISK_ROW)
#undef BRISK_ROW
};

constexpr vendor::LibraryContract kCommonContract{
    .name = "U2CCommon",
    .symbols = kCommonSymbols,
    .needs = vendor::Needs::kEach,
    .absentLine = "U2C adapter library",
};
constexpr vendor::LibraryContract kBridgeContract{
    .name = "i2cbrdg",
    .symbols = kBridgeSymbols,
    .needs = vendor::Needs::kEach,
    .absentLine = "U2C adapter library",
};

// Lines of the virtual output byte, and what IoWrite is given for line 0: its mask leaves bit 0 of
// the value to count.
constexpr uint8_t kBitSda = 0x01;
constexpr uint8_t kBitScl = 0x02;
constexpr uint8_t kBitLine0 = 0x40;
constexpr uint32_t kLine0High = 1;
constexpr uint32_t kLine0Low = 0xFFFFFFFE;

// The code of a failure is the acknowledge bit, 1, whatever number the library gave.
Status FromLibrary(int32_t status, Cause cause) {
  return status == kDone ? Status() : Status(cause, 1);
}

}  // namespace

U2cLink::U2cLink(const Host& host)
    : common_(kCommonContract, host.system.libraries, host.log),
      bridge_(kBridgeContract, host.system.libraries, host.log) {}

uint32_t U2cLink::Connect() {
  if (connected_) return 1;
  common_.LoadOnce();
  bridge_.LoadOnce();
  const auto open = common_.Get<OpenFunction>(0);
  handle_ = open != nullptr ? open() : kNoHandle;
  connected_ = handle_ != kNoHandle;
  MakeLineAnOutput();
  return connected_ ? 1 : 0;
}

void U2cLink::MakeLineAnOutput() {
  Call(kSetIoDirection, kLine0, 1);
  SetLine(true);
}

Status U2cLink::Send(uint8_t byte) {
  return FromLibrary(Call(kPutByteWithAck, byte), Cause::kNoAcknowledge);
}

Status U2cLink::Receive(uint8_t* byte, uint32_t last) {
  return FromLibrary(Call(kGetByteWithAck, byte, last == 0 ? 1 : 0), Cause::kTransfer);
}

Status U2cLink::Write(Transaction& transaction) {
  return FromLibrary(Call(kWrite, &transaction), Cause::kTransfer);
}

Status U2cLink::Read(Transaction& transaction) {
  return FromLibrary(Call(kRead, &transaction), Cause::kTransfer);
}

void U2cLink::SetI2cClock(uint32_t kHz) { Call(kSetI2cFreq, NearestCode(kI2cSpeeds, kHz)); }

void U2cLink::SetSpiClock(uint32_t kHz) { Call(kSpiSetFreq, NearestCode(kSpiSpeeds, kHz)); }

void U2cLink::WritePort(uint8_t value) {
  Call(kIoWrite, (value & kBitLine0) != 0 ? kLine0High : kLine0Low, kLine0);
  Call((value & kBitSda) != 0 ? kReleaseSda : kDropSda);
  Call((value & kBitScl) != 0 ? kReleaseScl : kDropScl);
}

}  // namespace brisk::u2c
