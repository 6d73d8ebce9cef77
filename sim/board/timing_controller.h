#pragma once

#include <cstdint>

#include "sim/board/register_file.h"

namespace brisk::sim {

struct Options;

// The display timing controller's register bus.
class TimingController final : public RegisterFile {
 public:
  static constexpr uint8_t kAddress = 0xF4;

  // Registers that the picture path uses; 16-bit values low byte first.
  static constexpr uint8_t kMainMode = 0x02;     // bit 1: YCbCr pixels
  static constexpr uint8_t kSecondMode = 0x32;   // bit 1: YCbCr pixels
  static constexpr uint8_t kSecondWidth = 0x42;  // 16 bits
  static constexpr uint8_t kSecondHeight = 0x4A;
  static constexpr uint8_t kMainDepth = 0x66;    // bit 3: 16-bit pixels
  static constexpr uint8_t kSecondStart = 0x6C;  // in units of 8192 address units of two pixels
  static constexpr uint8_t kMainWidth = 0x70;
  static constexpr uint8_t kMainHeight = 0x72;

  // Both planes have the frame's size, RGB and 16-bit pixels; the second follows the first.
  TimingController(const Options& options, I2cWires& wires, Faults& faults);

  void SetFrame(unsigned width, unsigned height);
};

}  // namespace brisk::sim
