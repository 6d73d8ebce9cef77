// Words by their length in bits; the most significant bit comes first:
//
//   7    start: pixels follow
//   12   command: fill run, line skip, block copy
//   19   colour: a selector of three bits and half a colour, or a row of a pattern
//   22   address, in units of two pixels; the top bit marks the source of a block copy
//   32   pixels: two of 16 bits, the low half first, or four bytes of a stream of 24-bit pixels
#include "sim/board/picture_receiver.h"

#include <algorithm>

#include "sim/board/timing_controller.h"

namespace brisk::sim {
namespace {

using Controller = TimingController;

constexpr uint32_t kLongestWord = 32;
constexpr uint32_t kStartWord = 0x13;
constexpr uint32_t kFillRun = 0x277;

// Command words by their upper bits.
constexpr uint32_t kLineSkip = 1;   // from bit 11 on; address units below
constexpr uint32_t kBlockCopy = 6;  // from bit 8 on; lines and units below, four bits each

// What the sixteen lower bits of a colour word are.
constexpr uint32_t kLowColour = 0;
constexpr uint32_t kHighColour = 1;
constexpr uint32_t kPatternRow = 4;

constexpr uint32_t kPixelsPerFillRun = 120;
constexpr uint32_t kSecondStartUnit = 8192;

constexpr uint32_t Cell(uint32_t blue, uint32_t green, uint32_t red) {
  return blue | green << 8 | red << 16;
}

// A channel of fewer bits, stretched over the whole range.
constexpr uint32_t Stretch(uint32_t value, unsigned bits) {
  const uint32_t high = value << (8 - bits);
  return high | high >> bits;
}

// Green has the six top bits, blue and red five each.
constexpr uint32_t Expand(uint32_t pixel) {
  return Cell(Stretch(pixel >> 5 & 31, 5), Stretch(pixel >> 10 & 63, 6), Stretch(pixel & 31, 5));
}

uint32_t Limit(double value) { return static_cast<uint32_t>(std::clamp(value + 0.5, 0.0, 255.0)); }

// BT.601, studio range.
uint32_t ToRgb(uint32_t cell) {
  const double y = 1.164384 * (static_cast<double>(cell >> 8 & 255) - 16);
  const double cb = static_cast<double>(cell & 255) - 128;
  const double cr = static_cast<double>(cell >> 16 & 255) - 128;
  return Cell(Limit(y + 2.017232 * cb), Limit(y - 0.391762 * cb - 0.812968 * cr),
              Limit(y + 1.596027 * cr));
}

}  // namespace

PictureReceiver::PictureReceiver(const RegisterFile& registers) : registers_(registers) {}

// Called when a line changes: every state with exactly one line high is a bit.
void PictureReceiver::LinesChanged(bool one, bool zero) {
  if (one != zero) {
    value_ = value_ << 1 | (one ? 1 : 0);
    ++bits_;
    return;
  }
  if (!one || bits_ == 0) return;  // between two bits, or idle as before
  const uint32_t bits = bits_;
  const uint32_t value = value_;
  bits_ = 0;
  value_ = 0;
  if (bits == 1 || bits > kLongestWord) {
    ++noise_;
  } else {
    Word(bits, value);
  }
}

void PictureReceiver::Word(uint32_t bits, uint32_t value) {
  // A word's length says what it is.
  static constexpr struct {
    uint32_t bits;
    void (PictureReceiver::*take)(uint32_t value);
  } kWords[] = {{7, &PictureReceiver::Start},
                {12, &PictureReceiver::Command},
                {19, &PictureReceiver::Colour},
                {22, &PictureReceiver::Address},
                {32, &PictureReceiver::PixelWord}};
  ++words_;
  for (const auto& word : kWords) {
    if (word.bits == bits) return (this->*word.take)(value);
  }
  Count(Fault::kUnknownWord);
}

void PictureReceiver::Start(uint32_t value) {
  if (value != kStartWord) return Count(Fault::kUnknownWord);
  started_ = true;
}

void PictureReceiver::Colour(uint32_t value) {
  const uint32_t payload = value & 0xFFFF;
  switch (value >> 16) {
    case kLowColour:
      colour_ = (colour_ & 0xFFFF0000) | payload;
      return;
    case kHighColour:
      colour_ = (colour_ & 0xFFFF) | payload << 16;
      return;
    case kPatternRow:
      return PatternRow(payload);
    default:
      return Count(Fault::kUnknownWord);
  }
}

void PictureReceiver::Address(uint32_t value) {
  const uint32_t unit = value & (kUnits - 1);
  held_ = 0;
  heldBits_ = 0;
  addressIsSource_ = (value & kUnits) != 0;
  if (addressIsSource_) {
    copySource_ = unit;
    return;
  }
  const uint32_t secondStart = PlaneOf(true).start;
  second_ = secondStart != 0 && unit >= secondStart;
  next_ = 2 * unit;
}

void PictureReceiver::Command(uint32_t value) {
  if (value == kFillRun) return FillRun();
  if (value >> 11 == kLineSkip) {
    (addressIsSource_ ? sourceSkip_ : targetSkip_) = value & 0x7FF;
  } else if (value >> 8 == kBlockCopy) {
    const uint32_t lines = value >> 4 & 15;
    const uint32_t units = value & 15;
    BlockCopy(lines == 0 ? 16 : lines, units == 0 ? 16 : units);
  } else {
    Count(Fault::kUnknownWord);
  }
}

void PictureReceiver::PixelWord(uint32_t value) {
  if (!started_) return Count(Fault::kPixelBeforeStart);
  if (PlaneOf(second_).sixteenBit) {
    PutPair(value);
  } else {
    PutBytes(value);
  }
}

void PictureReceiver::FillRun() {
  if (!started_) return Count(Fault::kPixelBeforeStart);
  for (uint32_t i = 0; i < kPixelsPerFillRun; i += 2) PutPair(colour_);
}

void PictureReceiver::PatternRow(uint32_t row) {
  started_ = false;
  for (uint32_t mask = 0x8000; mask != 0; mask >>= 1) {
    Put(Expand((row & mask) != 0 ? colour_ & 0xFFFF : colour_ >> 16));
  }
}

void PictureReceiver::BlockCopy(uint32_t lines, uint32_t units) {
  started_ = false;
  uint32_t source = 2 * copySource_;
  for (uint32_t line = 0; line < lines; ++line) {
    for (uint32_t i = 0; i < 2 * units; ++i) Put(CellAt(source++));
    source += 2 * sourceSkip_;
    next_ += 2 * targetSkip_;
  }
}

void PictureReceiver::PutPair(uint32_t word) {
  if (PlaneOf(second_).yCbCr) {
    const uint32_t cb = word >> 8 & 255;
    const uint32_t cr = word & 255;
    Put(Cell(cb, word >> 16 & 255, cr));
    Put(Cell(cb, word >> 24, cr));
  } else {
    Put(Expand(word & 0xFFFF));
    Put(Expand(word >> 16));
  }
}

// Bytes come as red, blue, green, the first one in the low end of the word.
void PictureReceiver::PutBytes(uint32_t word) {
  held_ |= uint64_t{word} << heldBits_;
  for (heldBits_ += 32; heldBits_ >= 24; heldBits_ -= 24, held_ >>= 24) {
    const auto bytes = static_cast<uint32_t>(held_);
    Put(Cell(bytes >> 8 & 255, bytes >> 16 & 255, bytes & 255));
  }
}

void PictureReceiver::Put(uint32_t cell) {
  if (next_ >= 2 * kUnits) return Count(Fault::kBeyondMemory);
  if (next_ >= memory_.size()) memory_.resize((next_ / 65536 + 1) * size_t{65536});
  memory_[next_++] = cell;
}

PictureReceiver::Plane PictureReceiver::PlaneOf(bool second) const {
  if (second) {
    return {registers_.Register16(Controller::kSecondWidth),
            registers_.Register16(Controller::kSecondHeight),
            registers_.Register(Controller::kSecondStart) * kSecondStartUnit,
            (registers_.Register(Controller::kSecondMode) & Controller::kYCbCr) != 0, true};
  }
  return {registers_.Register16(Controller::kMainWidth),
          registers_.Register16(Controller::kMainHeight), 0,
          (registers_.Register(Controller::kMainMode) & Controller::kYCbCr) != 0,
          (registers_.Register(Controller::kMainDepth) & Controller::kSixteenBit) != 0};
}

uint32_t PictureReceiver::Pixel(bool second, uint32_t x, uint32_t y) const {
  const Plane plane = PlaneOf(second);
  const uint32_t rowPixels = plane.sixteenBit ? plane.width + plane.width % 2 : plane.width;
  return CellAt(2 * plane.start + y * rowPixels + x);
}

std::vector<uint8_t> PictureReceiver::Snapshot(bool second) const {
  const Plane plane = PlaneOf(second);
  const uint32_t width = std::min(plane.width, 1600U);
  const uint32_t height = std::min(plane.height, 1200U);
  const uint32_t rowBytes = (3 * width + 3) / 4 * 4;
  constexpr uint32_t kHeader = 54;
  std::vector<uint8_t> file(kHeader + rowBytes * height);
  const auto put = [&](size_t offset, uint32_t value) {
    for (size_t i = 0; i < 4; ++i) file[offset + i] = static_cast<uint8_t>(value >> 8 * i);
  };
  file[0] = 'B';
  file[1] = 'M';
  put(2, static_cast<uint32_t>(file.size()));
  put(10, kHeader);
  put(14, 40);  // size of the rest of the header
  put(18, width);
  put(22, height);
  put(26, 1 | 24 << 16);  // planes, bits per pixel
  put(34, rowBytes * height);
  for (uint32_t y = 0; y < height; ++y) {
    uint8_t* bytes = file.data() + kHeader + size_t{height - 1 - y} * rowBytes;
    for (uint32_t x = 0; x < width; ++x) {
      uint32_t cell = Pixel(second, x, y);
      if (plane.yCbCr) cell = ToRgb(cell);
      for (unsigned i = 0; i < 3; ++i) *bytes++ = static_cast<uint8_t>(cell >> 8 * i);
    }
  }
  return file;
}

std::string PictureReceiver::Report() const {
  return std::to_string(words_) + " words; " + std::to_string(faults(Fault::kUnknownWord)) +
         " unknown, " + std::to_string(faults(Fault::kBeyondMemory)) + " pixels beyond memory, " +
         std::to_string(faults(Fault::kPixelBeforeStart)) + " before a start word; " +
         std::to_string(noise_) + " pulses of other protocols";
}

}  // namespace brisk::sim
