#pragma once

#include <cstdint>

#include "sim/board/register_file.h"

namespace brisk::sim {

// The display timing controller's register bus.
class TimingController final : public RegisterFile {
 public:
  static constexpr uint8_t kAddress = 0xF4;

  // Registers that the picture path uses; 16-bit values low byte first.
  static constexpr uint8_t kMainMode = 0x02;
  static constexpr uint8_t kSecondMode = 0x32;
  static constexpr uint8_t kSecondWidth = 0x42;  // 16 bits
  static constexpr uint8_t kSecondHeight = 0x4A;
  static constexpr uint8_t kMainDepth = 0x66;
  static constexpr uint8_t kSecondStart = 0x6C;  // in units of 8192 address units of two pixels
  static constexpr uint8_t kMainWidth = 0x70;
  static constexpr uint8_t kMainHeight = 0x72;
  static constexpr uint8_t kYCbCr = 0x02;       // in a mode register: pixels are YCbCr, else RGB
  static constexpr uint8_t kSixteenBit = 0x08;  // in the depth register: 16-bit pixels, else 24

  TimingController(I2cWires& wires, Faults& faults);

  // Both planes have this size, and as long as nobody writes otherwise RGB and 16-bit pixels; the
  // second follows the first.
  void SetFrame(unsigned width, unsigned height);
};

}  // namespace brisk::sim
