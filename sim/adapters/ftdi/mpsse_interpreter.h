#pragma once

#include <cstdint>
#include <vector>

#include "sim/common/virtual_clock.h"

namespace brisk::sim {

// Sixteen pins as an MPSSE sees them. Outputs are those with a direction bit.
class MpssePins {
 public:
  virtual ~MpssePins() = default;
  virtual void DriveLow(uint8_t value, uint8_t direction) = 0;
  virtual void DriveHigh(uint8_t value, uint8_t direction) = 0;
  virtual uint8_t SampleLow() = 0;
  virtual uint8_t SampleHigh() = 0;
};

// FTDI's multi-protocol synchronous serial engine: takes command bytes as they come from USB and
// moves pins. Commands as in the application note AN108: all data shifting commands, pins,
// loopback, clock and send-immediate; on hi-speed chips also divide by five, three-phase and
// adaptive clocking (whose effect on the edges is not modelled). Anything else, also a hi-speed
// command on a full-speed chip, is answered with 0xFA and the byte.
class Mpsse {
 public:
  Mpsse(MpssePins& pins, VirtualClock& clock, bool hiSpeed);
  Mpsse(const Mpsse&) = delete;
  Mpsse& operator=(const Mpsse&) = delete;

  // As after a reset of the bit mode: pins are inputs, the command that was coming in is forgotten.
  void Reset();
  void Take(uint8_t byte);

  // What has been answered since the last call; `immediate` when it is to leave without waiting.
  std::vector<uint8_t> TakeAnswers(bool* immediate);

  uint64_t bitTimeNs() const;
  bool loopback() const { return loopback_; }
  uint32_t divisor() const { return divisor_; }
  bool divideByFive() const { return divideByFive_; }

 private:
  enum class Expect : uint8_t { kCommand, kArguments, kData };
  struct Known;

  void Begin(uint8_t command);
  void Finish();
  void FinishShift();
  void ShiftByte(uint8_t out, unsigned bits);
  bool ShiftBit(bool out);
  bool SampleData();
  void DrivePins();
  void SetPin(uint8_t pin, bool level);

  static const Known kKnown[];

  MpssePins& pins_;
  VirtualClock& clock_;
  const bool hiSpeed_;
  Expect expect_ = Expect::kCommand;
  uint8_t command_ = 0;
  std::vector<uint8_t> arguments_;
  size_t argumentsWanted_ = 0;
  const Known* known_ = nullptr;  // the command that waits for its arguments; null = a shift
  uint32_t dataLeft_ = 0;         // bytes of a shift command
  uint8_t low_ = 0;
  uint8_t lowDirection_ = 0;
  uint32_t divisor_ = 0;
  bool divideByFive_ = true;
  bool loopback_ = false;
  bool immediate_ = false;
  std::vector<uint8_t> answers_;
};

}  // namespace brisk::sim
