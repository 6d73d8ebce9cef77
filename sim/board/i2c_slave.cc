// What happens on which edge:
//
//   SDA falls, rises while SCL is high    START, STOP
//   SCL rises                             a bit is taken, or the master's acknowledge
//   SCL falls                             the device drives SDA: the next bit, its acknowledge
//   after
//                                         the eighth, and nothing again after the ninth
#include "sim/board/i2c_slave.h"

#include "sim/common/faults.h"

namespace brisk::sim {

I2cSlave::I2cSlave(const char* name, uint16_t address, I2cWires& wires, Faults& faults)
    : name_(name), address_(address), wires_(wires), faults_(faults), driver_(wires.AddDriver()) {
  wires.AddDevice(*this);
}

void I2cSlave::LinesChanged(bool scl, bool sda) {
  const bool sclChanged = scl != scl_;
  const bool sdaChanged = sda != sda_;
  scl_ = scl;
  sda_ = sda;
  if (sclChanged) {
    if (scl) {
      ClockRose(sda);
    } else {
      ClockFell();
    }
  } else if (sdaChanged && scl) {
    if (sda) {
      Stop();
    } else {
      Start();
    }
  }
}

void I2cSlave::Start() {
  if (addressed_) Ended(false);
  addressed_ = false;
  Sda(true);
  state_ = State::kAddress;
  bits_ = 0;
}

void I2cSlave::Stop() {
  if (addressed_) Ended(true);
  addressed_ = false;
  Sda(true);
  state_ = State::kIdle;
}

void I2cSlave::ClockRose(bool sda) {
  switch (state_) {
    case State::kAddress:
    case State::kLowAddress:
    case State::kReceiving:
      shift_ = static_cast<uint8_t>(shift_ << 1 | (sda ? 1 : 0));
      ++bits_;
      break;
    case State::kSending:
      ++bits_;
      break;
    case State::kAwaitingAcknowledge:
      masterAcknowledged_ = !sda;
      break;
    case State::kIdle:
    case State::kAcknowledging:
      break;
  }
}

void I2cSlave::ClockFell() {
  switch (state_) {
    case State::kAddress:
    case State::kLowAddress:
    case State::kReceiving:
      if (bits_ == 8) ByteReceived();
      break;
    case State::kAcknowledging:
      Sda(true);
      state_ = afterAcknowledge_;
      bits_ = 0;
      if (state_ == State::kSending) BeginSending();
      break;
    case State::kSending:
      if (bits_ == 8) {
        Sda(true);
        state_ = State::kAwaitingAcknowledge;
      } else {
        Sda((shift_ << bits_ & 0x80) != 0);
      }
      break;
    case State::kAwaitingAcknowledge:
      if (masterAcknowledged_) {
        BeginSending();
      } else {
        state_ = State::kIdle;  // addressed_ stays: the STOP still ends this message
      }
      break;
    case State::kIdle:
      break;
  }
}

// A lost acknowledge of a data byte is lost on the line only: the device has taken the byte and
// goes on. One of an address byte leaves the device unaddressed.
void I2cSlave::ByteReceived() {
  const bool lost = Expected() && faults_.Strikes(FaultKind::kNak, name_);
  if (state_ == State::kReceiving) {
    const bool taken = Receive(shift_);
    Acknowledge(taken && !lost, taken ? State::kReceiving : State::kIdle);
    return;
  }
  if (lost || !Expected()) {
    state_ = State::kIdle;
    return;
  }
  if (state_ == State::kAddress) {
    read_ = (shift_ & 1) != 0;
    if ((address_ & kTenBit) != 0) {
      Acknowledge(true, State::kLowAddress);
      return;
    }
  }
  addressed_ = Addressed(read_);
  const State direction = read_ ? State::kSending : State::kReceiving;
  Acknowledge(addressed_, addressed_ ? direction : State::kIdle);
}

// Whether the byte just received is one for this device.
bool I2cSlave::Expected() const {
  if (state_ == State::kReceiving) return true;
  if (state_ == State::kLowAddress) return shift_ == (address_ & 0xFF);
  const unsigned first = (address_ & kTenBit) != 0 ? 0xF0U | (address_ >> 7 & 6U) : address_;
  return (shift_ & 0xFEU) == first;
}

void I2cSlave::Acknowledge(bool acknowledged, State next) {
  Sda(!acknowledged);
  state_ = State::kAcknowledging;
  afterAcknowledge_ = next;
}

void I2cSlave::BeginSending() {
  shift_ = Send();
  bits_ = 0;
  state_ = State::kSending;
  Sda((shift_ & 0x80) != 0);
}

void I2cSlave::Sda(bool level) { wires_.Drive(driver_, true, level); }

}  // namespace brisk::sim
