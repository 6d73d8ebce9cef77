// Chip select falls; the instruction byte, an address of three bytes where it has one, then data,
// most significant bits first: MOSI is taken when SCK rises, MISO changes when it falls. Programs
// and erases begin when chip select rises and run on by themselves; their progress is the busy bit
// of the status.
#include "sim/board/nor_flash.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "sim/common/faults.h"
#include "sim/common/virtual_clock.h"

namespace brisk::sim {
namespace {

constexpr FlashChip kChips[] = {
    {"w25q16", 0xEF4015, 2U << 20, 1000},
    {"w25q32", 0xEF4016, 4U << 20, 2000},
    {"w25q64", 0xEF4017, 8U << 20, 4000},
    {"w25q128", 0xEF4018, 16U << 20, 8000},
};

constexpr uint64_t kMillisecond = 1'000'000;
constexpr uint64_t kPageProgramNs = 700'000;
constexpr uint64_t kSectorEraseNs = 150 * kMillisecond;
constexpr uint64_t kForever = std::numeric_limits<uint64_t>::max();

constexpr uint8_t kWriteInProgress = 0x01;
constexpr uint8_t kWriteEnableLatch = 0x02;

}  // namespace

struct NorFlash::Command {
  uint8_t code;
  bool address;                  // followed by 24 bits of address
  bool whileBusy;                // obeyed then too
  bool needsEnable;              // ignored unless a write enable came before
  uint8_t (NorFlash::*next)();   // the bytes that the chip answers with, one by one; null = none
  void (*execute)(NorFlash& f);  // what happens when chip select rises; null = nothing
};

const NorFlash::Command NorFlash::kCommands[] = {
    {kPageProgram, true, false, true, nullptr, [](NorFlash& f) { f.Program(); }},
    {kReadData, true, false, false, &NorFlash::NextData, nullptr},
    {kWriteDisable, false, false, false, nullptr, [](NorFlash& f) { f.writeEnabled_ = false; }},
    {kReadStatus, false, true, false, &NorFlash::Status, nullptr},
    {kWriteEnable, false, false, false, nullptr, [](NorFlash& f) { f.writeEnabled_ = true; }},
    {kReadIdentification, false, false, false, &NorFlash::NextOfId, nullptr},
    {kChipErase, false, false, true, nullptr,
     [](NorFlash& f) { f.Erase(0, f.chip_.size, f.chipEraseNs_); }},
    {kSectorErase, true, false, true, nullptr, [](NorFlash& f) { f.EraseSector(); }},
};

std::span<const FlashChip> FlashChips() { return kChips; }

NorFlash::NorFlash(const FlashChip& chip, uint32_t chipEraseMs, VirtualClock& clock, Faults& faults)
    : chip_(chip),
      chipEraseNs_((chipEraseMs != 0 ? chipEraseMs : chip.chipEraseMs) * kMillisecond),
      clock_(clock),
      faults_(faults),
      memory_(chip.size, 0xFF) {}

std::string NorFlash::AttachImage(const std::string& path) {
  image_.reset(std::fopen(path.c_str(), "r+b"));
  size_t loaded = 0;
  if (image_ != nullptr) {
    loaded = std::fread(memory_.data(), 1, memory_.size(), image_.get());
    if (loaded == memory_.size() && std::fgetc(image_.get()) != EOF) {
      image_.reset();
      return "flash image '" + path + "' is larger than the " + chip_.name + " (" +
             std::to_string(chip_.size) + " bytes)";
    }
  } else {
    image_.reset(std::fopen(path.c_str(), "w+b"));
    if (image_ == nullptr) return "flash image '" + path + "' can be neither opened nor created";
  }
  std::fill(memory_.begin() + static_cast<ptrdiff_t>(loaded), memory_.end(), uint8_t{0xFF});
  const auto blank = static_cast<uint32_t>(loaded);
  if (blank < chip_.size) Save(blank, chip_.size - blank);
  return image_ != nullptr ? "" : "flash image '" + path + "' cannot be written";
}

bool NorFlash::Busy() const { return clock_.Now() < busyUntil_; }

void NorFlash::LinesChanged(bool cs, bool sck, bool mosi) {
  if (cs != cs_) {
    cs_ = cs;
    sck_ = sck;
    if (cs) {
      Deselected();
    } else {
      Selected();
    }
    return;
  }
  if (sck == sck_) return;
  sck_ = sck;
  if (cs) return;
  if (sck) {
    in_ = static_cast<uint8_t>(in_ << 1 | (mosi ? 1 : 0));
    bits_ = (bits_ + 1) % 8;
    if (bits_ == 0) ByteReceived(in_);
  } else if (sending_) {
    if (bits_ == 0) out_ = (this->*command_->next)();
    miso_ = (out_ << bits_ & 0x80) != 0;
  }
}

void NorFlash::Selected() {
  command_ = nullptr;
  sending_ = false;
  miso_ = true;
  bits_ = 0;
  bytes_ = 0;
  address_ = 0;
  latched_ = 0;
}

void NorFlash::Deselected() {
  miso_ = true;
  sending_ = false;
  const Command* command = std::exchange(command_, nullptr);
  if (command == nullptr || command->execute == nullptr || bits_ != 0) return;
  if (!command->needsEnable || writeEnabled_) command->execute(*this);
}

void NorFlash::ByteReceived(uint8_t byte) {
  const uint32_t index = bytes_++;
  if (index == 0) {
    CommandReceived(byte);
  } else if (command_ == nullptr || sending_) {
    return;
  } else if (command_->address && index <= 3) {
    address_ = address_ << 8 | byte;
    if (index == 3) {
      address_ %= chip_.size;
      sending_ = command_->next != nullptr;
    }
  } else if (command_->code == kPageProgram) {
    // The latch holds one page: a 257th byte takes the place of the first.
    if (latched_ == 0) latch_.fill(0xFF);
    latch_[(address_ + latched_) % kPageSize] = byte;
    ++latched_;
  }
}

void NorFlash::CommandReceived(uint8_t code) {
  const auto* found = std::ranges::find(kCommands, code, &Command::code);
  if (found == std::end(kCommands) || (Busy() && !found->whileBusy)) return;
  command_ = found;
  sending_ = found->next != nullptr && !found->address;
}

// Read on, the three bytes repeat.
uint8_t NorFlash::NextOfId() {
  return static_cast<uint8_t>(chip_.id >> (16 - (bytes_ - 1) % 3 * 8));
}

uint8_t NorFlash::NextData() {
  const uint8_t byte = memory_[address_];
  address_ = (address_ + 1) % chip_.size;
  return byte;
}

uint8_t NorFlash::Status() {
  if (Busy()) return kWriteInProgress | kWriteEnableLatch;
  return writeEnabled_ ? kWriteEnableLatch : 0;
}

void NorFlash::Program() {
  if (latched_ == 0) return;
  const uint32_t page = address_ & ~(kPageSize - 1);
  for (uint32_t i = 0; i < kPageSize; ++i) memory_[page + i] &= latch_[i];
  Save(page, kPageSize);
  StayBusy(kPageProgramNs);
}

void NorFlash::EraseSector() {
  constexpr uint32_t kWhole = 4;  // instruction and address
  if (bytes_ >= kWhole) Erase(address_ & ~(kSectorSize - 1), kSectorSize, kSectorEraseNs);
}

void NorFlash::Erase(uint32_t first, uint32_t count, uint64_t nanoseconds) {
  std::fill_n(memory_.begin() + first, count, uint8_t{0xFF});
  Save(first, count);
  StayBusy(nanoseconds);
}

void NorFlash::StayBusy(uint64_t nanoseconds) {
  writeEnabled_ = false;  // seen set until the operation has ended
  if (const auto stuckMs = faults_.Amount(FaultKind::kFlashBusy)) {
    nanoseconds = *stuckMs == 0 ? kForever : *stuckMs * kMillisecond;
  }
  busyUntil_ = nanoseconds == kForever ? kForever : clock_.Now() + nanoseconds;
}

void NorFlash::Save(uint32_t first, uint32_t count) {
  if (image_ == nullptr) return;
  std::FILE* file = image_.get();
  const bool saved = std::fseek(file, static_cast<long>(first), SEEK_SET) == 0 &&
                     std::fwrite(memory_.data() + first, 1, count, file) == count &&
                     std::fflush(file) == 0;
  if (saved) return;
  std::fputs("the simulated flash can no longer write its image file\n", stderr);
  image_.reset();
}

}  // namespace brisk::sim
