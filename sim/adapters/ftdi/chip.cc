// What the engine answers is held in the chip until a packet is full, the latency timer runs out or
// the PC asks for it to leave at once; only then can the PC read it. A full-speed chip's packet
// carries 62 bytes of answers, a hi-speed one's 510.
#include "sim/adapters/ftdi/chip.h"

#include <algorithm>
#include <mutex>

namespace brisk::sim {
namespace {

constexpr uint8_t kScl = 0x01;
constexpr uint8_t kSdaOut = 0x02;
constexpr uint8_t kSdaIn = 0x04;
constexpr uint8_t kCs = 0x08;
constexpr uint8_t kSck = 0x20;
constexpr uint8_t kMosi = 0x40;
constexpr uint8_t kMiso = 0x04;

std::string WithLetter(const std::string& text, const char* between, unsigned index) {
  return text + between + static_cast<char>('A' + index);
}

uint8_t Pulled(uint8_t value, uint8_t direction) {
  return static_cast<uint8_t>((value & direction) | ~direction);
}

}  // namespace

BoardPins::BoardPins(Board* board) : board_(board) {
  if (board_ != nullptr) driver_ = board_->i2c().AddDriver();
}

void BoardPins::DriveLow(uint8_t value, uint8_t direction) {
  low_ = value;
  lowDirection_ = direction;
  if (board_ == nullptr) return;
  const uint8_t levels = Pulled(value, direction);
  const std::lock_guard lock(board_->mutex());
  board_->i2c().Drive(driver_, (levels & kScl) != 0,
                      (levels & kSdaOut) != 0 && (levels & kSdaIn) != 0);
  board_->spi().Drive((levels & kCs) != 0, (levels & kSck) != 0, (levels & kMosi) != 0);
}

void BoardPins::DriveHigh(uint8_t value, uint8_t direction) {
  high_ = value;
  highDirection_ = direction;
}

uint8_t BoardPins::SampleLow() {
  unsigned levels = Pulled(low_, lowDirection_);
  if (board_ == nullptr) return static_cast<uint8_t>(levels);
  const std::lock_guard lock(board_->mutex());
  const unsigned inputs = ~unsigned{lowDirection_};
  if (!board_->i2c().scl()) levels &= ~(inputs & kScl);
  if (!board_->i2c().sda()) levels &= ~(inputs & (kSdaOut | kSdaIn));
  return static_cast<uint8_t>(levels);
}

uint8_t BoardPins::SampleHigh() {
  unsigned levels = Pulled(high_, highDirection_);
  if (board_ == nullptr || (highDirection_ & kMiso) != 0) return static_cast<uint8_t>(levels);
  const std::lock_guard lock(board_->mutex());
  if (!board_->spi().miso()) levels &= ~unsigned{kMiso};
  return static_cast<uint8_t>(levels);
}

FtdiInterface::FtdiInterface(const FtdiDescription& chip, unsigned index, Board* board,
                             VirtualClock& clock)
    : chip_(chip),
      description_(WithLetter(chip.description, " ", index)),
      serial_(WithLetter(chip.serial, "", index)),
      location_(chip.location + index),
      hasMpsse_(index < chip.kind->mpsses),
      clock_(clock),
      pins_(index == 0 ? board : nullptr),
      mpsse_(pins_, clock, chip.kind->hiSpeed) {}

void FtdiInterface::Reset() {
  held_.clear();
  arrived_.clear();
}

void FtdiInterface::SetBitMode(uint8_t mode) {
  mpsseMode_ = mode == d2xx::kBitModeMpsse && hasMpsse_;
  mpsse_.Reset();
}

void FtdiInterface::Write(const uint8_t* bytes, size_t count) {
  if (!mpsseMode_) return;  // a serial port with nothing connected
  for (size_t i = 0; i < count; ++i) {
    mpsse_.Take(bytes[i]);
    Collect();
  }
}

void FtdiInterface::Collect() {
  bool immediate = false;
  const std::vector<uint8_t> answers = mpsse_.TakeAnswers(&immediate);
  if (held_.empty() && !answers.empty()) heldSince_ = clock_.Now();
  held_.insert(held_.end(), answers.begin(), answers.end());
  const bool late = clock_.Now() - heldSince_ >= uint64_t{latencyMs_} * 1'000'000;
  if (!immediate && !late && held_.size() < chip_.kind->packetPayload) return;
  arrived_.insert(arrived_.end(), held_.begin(), held_.end());
  held_.clear();
}

size_t FtdiInterface::Waiting() {
  Collect();
  return arrived_.size();
}

size_t FtdiInterface::Read(uint8_t* buffer, size_t count) {
  count = std::min(count, Waiting());
  std::copy_n(arrived_.begin(), count, buffer);
  arrived_.erase(arrived_.begin(), arrived_.begin() + static_cast<std::ptrdiff_t>(count));
  return count;
}

}  // namespace brisk::sim
