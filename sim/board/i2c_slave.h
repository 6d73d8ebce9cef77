#pragma once

#include <cstdint>

#include "sim/board/wires.h"

namespace brisk::sim {

class Faults;

// The bus side of an I2C device: it follows the edges of the two lines (UM10204), recognises its
// address and hands whole bytes to the device behind it. Both lines changing at one instant is
// neither a START nor a STOP.
class I2cSlave : public I2cDevice {
 public:
  // `address` is the 8-bit write address, or with `kTenBit` a 10-bit address. A 10-bit device takes
  // the low address byte after the first byte in both directions; the short form of a repeated
  // START, the first byte alone, is not served.
  static constexpr uint16_t kTenBit = 0x8000;

  I2cSlave(const char* name, uint16_t address, I2cWires& wires, Faults& faults);
  I2cSlave(const I2cSlave&) = delete;
  I2cSlave& operator=(const I2cSlave&) = delete;

  void LinesChanged(bool scl, bool sda) final;

 protected:
  // The device has been addressed; false = it does not acknowledge.
  virtual bool Addressed(bool /*read*/) { return true; }
  virtual bool Receive(uint8_t byte) = 0;  // a data byte from the master; false = not acknowledged
  virtual uint8_t Send() = 0;              // the next data byte to the master
  // The message ended: with a STOP, or with the repeated START of the next one.
  virtual void Ended(bool /*stop*/) {}

 private:
  enum class State : uint8_t {
    kIdle,        // not addressed: waits for a START
    kAddress,     // first byte after a START
    kLowAddress,  // second byte of a 10-bit address
    kReceiving,
    kAcknowledging,
    kSending,
    kAwaitingAcknowledge,
  };

  void Start();
  void Stop();
  void ClockRose(bool sda);
  void ClockFell();
  void ByteReceived();
  bool Expected() const;
  void Acknowledge(bool acknowledged, State next);
  void BeginSending();
  void Sda(bool level);

  const char* name_;
  const uint16_t address_;
  I2cWires& wires_;
  Faults& faults_;
  const I2cWires::Driver driver_;
  State state_ = State::kIdle;
  State afterAcknowledge_ = State::kIdle;
  bool addressed_ = false;
  bool read_ = false;
  bool masterAcknowledged_ = false;
  uint8_t shift_ = 0;
  unsigned bits_ = 0;
  bool scl_ = true;
  bool sda_ = true;
};

}  // namespace brisk::sim
