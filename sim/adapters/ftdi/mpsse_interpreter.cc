// A command is an opcode with its arguments; commands follow one another without gap or frame. A
// shift command's opcode is a set of bits; length 0 means one bit or byte:
//
//   bits:   opcode, count - 1, and the byte when it writes
//   bytes:  opcode, (count - 1) low, high, and the bytes when it writes
//
// TCK rests low. A period, with the data of a command that writes on the falling edge and reads on
// the rising one (quarters of the period; O = data out changes, I = data in is sampled):
//
//   TCK  ______----      TDO  --O-----
//            I
#include "sim/adapters/ftdi/mpsse_interpreter.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace brisk::sim {
namespace {

// How long the engine takes for a byte that comes from USB: a full-speed chip gets no more than
// about a megabyte a second, a hi-speed one about thirty.
constexpr uint64_t kFullSpeedByteNs = 1000;
constexpr uint64_t kHiSpeedByteNs = 33;

constexpr uint8_t kClockPin = 0x01;
constexpr uint8_t kDataOutPin = 0x02;
constexpr uint8_t kDataInPin = 0x04;

// Bits of a shift command.
constexpr uint8_t kWriteOnFalling = 0x01;
constexpr uint8_t kBitCount = 0x02;  // the length is in bits, of one byte
constexpr uint8_t kReadOnFalling = 0x04;
constexpr uint8_t kLsbFirst = 0x08;
constexpr uint8_t kWrites = 0x10;
constexpr uint8_t kReads = 0x20;

// The other commands.
enum Opcode : uint8_t {
  kSetLowPins = 0x80,  // value, direction
  kReadLowPins = 0x81,
  kSetHighPins = 0x82,
  kReadHighPins = 0x83,
  kLoopbackOn = 0x84,
  kLoopbackOff = 0x85,
  kSetDivisor = 0x86,  // low, high
  kSendImmediate = 0x87,
  kDivideByFiveOff = 0x8A,  // from here on hi-speed chips only
  kDivideByFiveOn = 0x8B,
  kThreePhaseOn = 0x8C,
  kThreePhaseOff = 0x8D,
  kAdaptiveOn = 0x96,
  kAdaptiveOff = 0x97,
};

constexpr uint8_t kBadCommand = 0xFA;  // answers what is none, with the byte behind it

bool IsShift(uint8_t command) {
  return command >= 0x10 && command < 0x40 && (command & (kWrites | kReads)) != 0;
}

using Arguments = std::vector<uint8_t>;

}  // namespace

struct Mpsse::Known {
  uint8_t command;
  uint8_t arguments;
  void (*run)(Mpsse& m, const Arguments& a);
  bool hiSpeedOnly = false;
};

// The commands other than shifts.
const Mpsse::Known Mpsse::kKnown[] = {
    {kSetLowPins, 2,
     [](Mpsse& m, const Arguments& a) {
       m.low_ = a[0];
       m.lowDirection_ = a[1];
       m.DrivePins();
     }},
    {kReadLowPins, 0,
     [](Mpsse& m, const Arguments&) { m.answers_.push_back(m.pins_.SampleLow()); }},
    {kSetHighPins, 2, [](Mpsse& m, const Arguments& a) { m.pins_.DriveHigh(a[0], a[1]); }},
    {kReadHighPins, 0,
     [](Mpsse& m, const Arguments&) { m.answers_.push_back(m.pins_.SampleHigh()); }},
    {kLoopbackOn, 0, [](Mpsse& m, const Arguments&) { m.loopback_ = true; }},
    {kLoopbackOff, 0, [](Mpsse& m, const Arguments&) { m.loopback_ = false; }},
    {kSetDivisor, 2, [](Mpsse& m, const Arguments& a) { m.divisor_ = a[0] | uint32_t{a[1]} << 8; }},
    {kSendImmediate, 0, [](Mpsse& m, const Arguments&) { m.immediate_ = true; }},
    {kDivideByFiveOff, 0, [](Mpsse& m, const Arguments&) { m.divideByFive_ = false; }, true},
    {kDivideByFiveOn, 0, [](Mpsse& m, const Arguments&) { m.divideByFive_ = true; }, true},
    {kThreePhaseOn, 0, [](Mpsse&, const Arguments&) {}, true},
    {kThreePhaseOff, 0, [](Mpsse&, const Arguments&) {}, true},
    {kAdaptiveOn, 0, [](Mpsse&, const Arguments&) {}, true},
    {kAdaptiveOff, 0, [](Mpsse&, const Arguments&) {}, true},
};

Mpsse::Mpsse(MpssePins& pins, VirtualClock& clock, bool hiSpeed)
    : pins_(pins), clock_(clock), hiSpeed_(hiSpeed) {}

void Mpsse::Reset() {
  expect_ = Expect::kCommand;
  arguments_.clear();
  low_ = 0;
  lowDirection_ = 0;
  divisor_ = 0;
  divideByFive_ = true;
  loopback_ = false;
  immediate_ = false;
  answers_.clear();
  DrivePins();
  pins_.DriveHigh(0, 0);
}

std::vector<uint8_t> Mpsse::TakeAnswers(bool* immediate) {
  *immediate = std::exchange(immediate_, false);
  return std::exchange(answers_, {});
}

uint64_t Mpsse::bitTimeNs() const {
  const uint64_t baseMHz = hiSpeed_ && !divideByFive_ ? 60 : 12;
  return (uint64_t{divisor_} + 1) * 2 * 1000 / baseMHz;
}

void Mpsse::Take(uint8_t byte) {
  clock_.Spend(hiSpeed_ ? kHiSpeedByteNs : kFullSpeedByteNs);
  switch (expect_) {
    case Expect::kCommand:
      Begin(byte);
      return;
    case Expect::kArguments:
      arguments_.push_back(byte);
      if (arguments_.size() == argumentsWanted_) Finish();
      return;
    case Expect::kData:
      ShiftByte(byte, 8);
      if (--dataLeft_ == 0) expect_ = Expect::kCommand;
      return;
  }
}

void Mpsse::Begin(uint8_t command) {
  command_ = command;
  arguments_.clear();
  if (IsShift(command)) {
    // Bits: a count, and the byte when it writes. Bytes: a 16-bit count.
    argumentsWanted_ = (command & kBitCount) != 0 && (command & kWrites) == 0 ? 1 : 2;
    known_ = nullptr;
    expect_ = Expect::kArguments;
    return;
  }
  const auto* known = std::ranges::find(kKnown, command, &Known::command);
  if (known == std::end(kKnown) || (known->hiSpeedOnly && !hiSpeed_)) {
    answers_.insert(answers_.end(), {kBadCommand, command});
    return;
  }
  argumentsWanted_ = known->arguments;
  known_ = known;
  if (argumentsWanted_ == 0) {
    Finish();
  } else {
    expect_ = Expect::kArguments;
  }
}

void Mpsse::Finish() {
  expect_ = Expect::kCommand;
  if (known_ == nullptr) return FinishShift();
  known_->run(*this, arguments_);
}

void Mpsse::FinishShift() {
  if ((command_ & kBitCount) != 0) {
    ShiftByte((command_ & kWrites) != 0 ? arguments_[1] : uint8_t{0}, (arguments_[0] & 7) + 1U);
    return;
  }
  const uint32_t count = (arguments_[0] | uint32_t{arguments_[1]} << 8) + 1;
  if ((command_ & kWrites) != 0) {
    dataLeft_ = count;
    expect_ = Expect::kData;
    return;
  }
  for (uint32_t i = 0; i < count; ++i) ShiftByte(0, 8);
}

// Bits come in at the bottom when most significant first, else at the top.
void Mpsse::ShiftByte(uint8_t out, unsigned bits) {
  const bool lsbFirst = (command_ & kLsbFirst) != 0;
  unsigned in = 0;
  for (unsigned i = 0; i < bits; ++i) {
    const bool bit = ((lsbFirst ? out >> i : out >> (7 - i)) & 1) != 0;
    const unsigned sampled = ShiftBit(bit) ? 1 : 0;
    in = lsbFirst ? in >> 1 | sampled << 7 : in << 1 | sampled;
  }
  if ((command_ & kReads) != 0) answers_.push_back(static_cast<uint8_t>(in));
}

// One period from the low phase on: data that goes out "on the falling edge" is there a quarter of
// a period after it, which is the hold time of the bit before.
bool Mpsse::ShiftBit(bool out) {
  const uint64_t quarter = bitTimeNs() / 4;
  const bool writes = (command_ & kWrites) != 0;
  bool sampled = false;
  clock_.Spend(quarter);
  if (writes && (command_ & kWriteOnFalling) != 0) SetPin(kDataOutPin, out);
  clock_.Spend(quarter);
  if ((command_ & kReadOnFalling) == 0) sampled = SampleData();
  SetPin(kClockPin, true);
  if (writes && (command_ & kWriteOnFalling) == 0) SetPin(kDataOutPin, out);
  clock_.Spend(2 * quarter);
  if ((command_ & kReadOnFalling) != 0) sampled = SampleData();
  SetPin(kClockPin, false);
  return sampled;
}

bool Mpsse::SampleData() {
  if (loopback_) return (low_ & kDataOutPin) != 0;
  return (pins_.SampleLow() & kDataInPin) != 0;
}

void Mpsse::SetPin(uint8_t pin, bool level) {
  low_ = static_cast<uint8_t>(level ? low_ | pin : low_ & ~pin);
  DrivePins();
}

void Mpsse::DrivePins() { pins_.DriveLow(low_, lowDirection_); }

}  // namespace brisk::sim
