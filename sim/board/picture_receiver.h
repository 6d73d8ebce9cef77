#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "sim/board/wires.h"

namespace brisk::sim {

class RegisterFile;

// The controller's picture port and the frame memory behind it. Follows the two lines: a bit is one
// line high, a word ends when both are, and its length says what it is. Pixels land where the
// address word and the geometry and colour registers of the moment say.
//
// Frame memory holds 2^21 address units of two pixels; those from register 0x6C on are the second
// plane's. Rows of 16-bit pixels take a whole number of units.
//
// What the commands do beyond their names is this model's choice: a fill run writes the colour to
// 60 units; set bits of a pattern row take the low half of the colour, the others the high half; a
// block copy moves lines of units, of which 0 means 16 of either; the line skip behind an address
// is how many units lie between one line's end and the next one's begin. A start word holds until a
// pattern row or a block copy.
class PictureReceiver final : public PictureDevice {
 public:
  static constexpr uint32_t kUnits = 1U << 21;

  enum class Fault { kUnknownWord, kBeyondMemory, kPixelBeforeStart, kCount };

  explicit PictureReceiver(const RegisterFile& registers);

  void LinesChanged(bool one, bool zero) override;

  // A pixel as blue, green, red (Cb, Y, Cr in a YCbCr plane) from the lowest byte.
  uint32_t Pixel(bool second, uint32_t x, uint32_t y) const;
  // A plane as a 24-bit BMP file, converted to RGB. Larger planes are cut at 1600 x 1200.
  std::vector<uint8_t> Snapshot(bool second) const;

  // Frame memory, a cell per pixel, as far as it has been written.
  const std::vector<uint32_t>& memory() const { return memory_; }
  void SetMemory(std::vector<uint32_t> memory) { memory_ = std::move(memory); }

  uint64_t words() const { return words_; }
  uint64_t faults(Fault fault) const { return faults_[static_cast<size_t>(fault)]; }
  // Pulses that are no words: the lines carry other protocols too on some cables.
  uint64_t noise() const { return noise_; }
  std::string Report() const;

 private:
  struct Plane {
    uint32_t width, height, start;
    bool yCbCr, sixteenBit;
  };
  Plane PlaneOf(bool second) const;

  void Word(uint32_t bits, uint32_t value);
  void Start(uint32_t value);
  void Colour(uint32_t value);
  void Address(uint32_t value);
  void Command(uint32_t value);
  void PixelWord(uint32_t value);
  void FillRun();
  void PatternRow(uint32_t row);
  void BlockCopy(uint32_t lines, uint32_t units);
  void PutPair(uint32_t word);
  void PutBytes(uint32_t word);
  void Put(uint32_t cell);
  uint32_t CellAt(uint32_t pixel) const { return pixel < memory_.size() ? memory_[pixel] : 0; }
  void Count(Fault fault) { ++faults_[static_cast<size_t>(fault)]; }

  const RegisterFile& registers_;
  std::vector<uint32_t> memory_;  // a cell per pixel; grows as pixels come
  // The word in progress.
  uint32_t bits_ = 0;
  uint32_t value_ = 0;
  // The port's own registers.
  bool started_ = false;
  bool second_ = false;  // which plane the address word named
  uint32_t colour_ = 0;
  uint32_t next_ = 0;  // pixel to be written next
  uint32_t copySource_ = 0;
  uint32_t targetSkip_ = 0;
  uint32_t sourceSkip_ = 0;
  bool addressIsSource_ = false;
  uint64_t held_ = 0;  // bytes of the 24-bit stream that do not make a pixel yet
  uint32_t heldBits_ = 0;

  uint64_t words_ = 0;
  uint64_t noise_ = 0;
  std::array<uint64_t, static_cast<size_t>(Fault::kCount)> faults_{};
};

}  // namespace brisk::sim
