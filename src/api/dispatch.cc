#include "api/dispatch.h"

#include "lpt/lpt_back_end.h"
#include "u2c/u2c_back_end.h"

namespace brisk {

Dispatch::Dispatch(lpt::Ports& ports, Driver& driver, ProgressReporter& reporter) {
  using lpt::LptBackEnd;
  backEnds_[0] = std::make_unique<LptBackEnd>(lpt::kWiringA, ports, driver, reporter);
  backEnds_[1] = std::make_unique<u2c::U2cBackEnd>(reporter);
  backEnds_[5] = std::make_unique<LptBackEnd>(lpt::kWiringB, ports, driver, reporter);
  backEnds_[9] = std::make_unique<LptBackEnd>(lpt::kWiringC, ports, driver, reporter);
}

BackEnd& Dispatch::For(uint8_t deviceType) {
  if (deviceType >= kDeviceTypes || backEnds_[deviceType] == nullptr) return none_;
  return *backEnds_[deviceType];
}

}  // namespace brisk
