#include "api/dispatch.h"

#include "ftdi/ftdi_back_end.h"
#include "lpt/lpt_back_end.h"

namespace brisk {

Dispatch::Dispatch(lpt::Ports& ports, Driver& driver, ProgressReporter& reporter) {
  using lpt::LptBackEnd;
  backEnds_[0] = std::make_unique<LptBackEnd>(lpt::kWiringA, ports, driver, reporter);
  backEnds_[5] = std::make_unique<LptBackEnd>(lpt::kWiringB, ports, driver, reporter);
  backEnds_[8] = std::make_unique<ftdi::FtdiBackEnd>(reporter);
  backEnds_[9] = std::make_unique<LptBackEnd>(lpt::kWiringC, ports, driver, reporter);
}

BackEnd& Dispatch::For(uint8_t deviceType) {
  if (deviceType >= kDeviceTypes || backEnds_[deviceType] == nullptr) return none_;
  return *backEnds_[deviceType];
}

}  // namespace brisk
