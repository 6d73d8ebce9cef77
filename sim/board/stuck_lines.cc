#include "sim/board/stuck_lines.h"

#include <utility>

#include "sim/common/faults.h"

namespace brisk::sim {

StuckLines::StuckLines(I2cWires& wires, Faults& faults)
    : wires_(wires), faults_(faults), driver_(wires.AddDriver()) {
  wires_.AddDevice(*this);
}

void StuckLines::LinesChanged(bool scl, bool /*sda*/) {
  if (!std::exchange(scl_, scl) || scl) return;
  const bool sdaStruck = faults_.Strikes(FaultKind::kSdaLow);
  const bool sclStruck = faults_.Strikes(FaultKind::kSclLow);
  if (sdaStruck || sclStruck) Hold();
}

void StuckLines::Hold() {
  wires_.Drive(driver_, !faults_.Active(FaultKind::kSclLow), !faults_.Active(FaultKind::kSdaLow));
}

}  // namespace brisk::sim
