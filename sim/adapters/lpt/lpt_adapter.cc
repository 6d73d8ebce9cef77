#include "sim/adapters/lpt/lpt_adapter.h"

#include "sim/board/board.h"

namespace brisk::sim {
namespace {

// Registers, from the base on.
enum Register : unsigned { kData, kStatus, kControl, kRegisters };

// Lines in the data register, and one in the status register.
constexpr uint8_t kOne = 0x02;
constexpr uint8_t kSck = 0x04;
constexpr uint8_t kCs = 0x08;
constexpr uint8_t kMosi = 0x40;
constexpr uint8_t kZero = 0x40;
constexpr uint8_t kMisoIn = 0x40;

constexpr uint8_t kSpi = kSck | kCs | kMosi;
constexpr uint8_t kPicture = kOne | kZero;

// Status inputs that nothing drives are pulled up; the port shows bit 7 (BUSY) inverted.
constexpr uint8_t kOpenStatus = 0x7F;

}  // namespace

// Until the first write the lines are idle: I2C released, flash not selected, both picture lines
// high.
LptAdapter::LptAdapter(const LptWiring& wiring, Board& board)
    : wiring_(wiring),
      i2cInData_(static_cast<uint8_t>(wiring.sdaOut | (wiring.sclInControl ? 0 : wiring.sclOut))),
      board_(board),
      i2cDriver_(board.i2c().AddDriver()),
      data_(static_cast<uint8_t>(kPicture | kCs | (wiring.sdaOutInverted ? 0 : wiring.sdaOut))),
      control_(wiring.sclInControl ? wiring.sclOut : uint8_t{0}) {
  board_.spi().Drive((data_ & kCs) != 0, (data_ & kSck) != 0, (data_ & kMosi) != 0);
}

void LptAdapter::Write(unsigned offset, uint8_t value) {
  if (offset == kData) {
    WriteData(value);
  } else if (offset == kControl) {
    WriteControl(value);
  }
}

uint8_t LptAdapter::Read(unsigned offset) {
  if (offset == kData) return data_;
  return offset == kStatus ? Status() : control_;
}

void LptAdapter::WriteData(uint8_t value) {
  const uint8_t changed = data_ ^ value;
  data_ = value;
  if ((changed & i2cInData_) != 0) DriveI2c();
  if ((changed & kSpi) != 0) {
    board_.spi().Drive((value & kCs) != 0, (value & kSck) != 0, (value & kMosi) != 0);
  }
  if ((changed & kPicture) != 0) {
    board_.picture().Drive((value & kOne) != 0, (value & kZero) != 0);
  }
}

void LptAdapter::WriteControl(uint8_t value) {
  const uint8_t changed = control_ ^ value;
  control_ = value;
  if (wiring_.sclInControl && (changed & wiring_.sclOut) != 0) DriveI2c();
}

void LptAdapter::DriveI2c() {
  const bool scl = ((wiring_.sclInControl ? control_ : data_) & wiring_.sclOut) != 0;
  const bool sda = ((data_ & wiring_.sdaOut) != 0) != wiring_.sdaOutInverted;
  board_.i2c().Drive(i2cDriver_, scl, sda);
}

uint8_t LptAdapter::Status() const {
  unsigned status = kOpenStatus & ~unsigned{kMisoIn} & ~unsigned{wiring_.sdaIn};
  if (board_.spi().miso()) status |= kMisoIn;
  if (board_.i2c().sda() != wiring_.sdaInInverted) status |= wiring_.sdaIn;
  return static_cast<uint8_t>(status);
}

std::unique_ptr<LptAdapter> LptAdapter::Make(const LptWiring& wiring, Board& board, PortBus& ports,
                                             std::string* whyNot) {
  auto adapter = std::make_unique<LptAdapter>(wiring, board);
  if (ports.Connect(kBase, kRegisters, *adapter)) return adapter;
  *whyNot = "the parallel port at 0x378 has another adapter on it already";
  return nullptr;
}

}  // namespace brisk::sim
