#include "sim/board/timing_controller.h"

#include <algorithm>

namespace brisk::sim {

TimingController::TimingController(I2cWires& wires, Faults& faults)
    : RegisterFile("controller", kAddress, wires, faults) {
  SetRegister(kMainDepth, kSixteenBit);
}

void TimingController::SetFrame(unsigned width, unsigned height) {
  SetRegister16(kMainWidth, width);
  SetRegister16(kMainHeight, height);
  SetRegister16(kSecondWidth, width);
  SetRegister16(kSecondHeight, height);
  constexpr unsigned kPixelsPerUnit = 8192 * 2;
  const unsigned pixels = width * height;
  const unsigned start = (pixels + kPixelsPerUnit - 1) / kPixelsPerUnit;
  SetRegister(kSecondStart, static_cast<uint8_t>(std::min(start, 255U)));
}

}  // namespace brisk::sim
