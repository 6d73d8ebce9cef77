#include "timing_controller.h"

#include <algorithm>

#include "options.h"

namespace brisk::sim {

TimingController::TimingController(const Options& options, I2cWires& wires, Faults& faults)
    : RegisterFile("controller", kAddress, wires, faults) {
  SetRegister16(kMainWidth, options.frameWidth);
  SetRegister16(kMainHeight, options.frameHeight);
  SetRegister16(kSecondWidth, options.frameWidth);
  SetRegister16(kSecondHeight, options.frameHeight);
  SetRegister(kMainDepth, 0x08);
  constexpr unsigned kPixelsPerUnit = 8192 * 2;
  const unsigned pixels = options.frameWidth * options.frameHeight;
  const unsigned start = (pixels + kPixelsPerUnit - 1) / kPixelsPerUnit;
  SetRegister(kSecondStart, static_cast<uint8_t>(std::min(start, 255U)));
}

}  // namespace brisk::sim
