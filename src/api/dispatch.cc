#include "api/dispatch.h"

#include "lpt/lpt_back_end.h"
#include "usb/debug_board.h"
#include "usb/tcon_usb.h"

namespace brisk {

Dispatch::Dispatch(lpt::Ports& ports, Driver& driver, ProgressReporter& reporter) {
  using lpt::LptBackEnd;
  backEnds_[0] = std::make_unique<LptBackEnd>(lpt::kWiringA, ports, driver, reporter);
  backEnds_[kDebugBoard] = std::make_unique<usb::DebugBoardBackEnd>(reporter);
  backEnds_[kTconUsb] = std::make_unique<usb::TconUsbBackEnd>(reporter);
  backEnds_[5] = std::make_unique<LptBackEnd>(lpt::kWiringB, ports, driver, reporter);
  backEnds_[9] = std::make_unique<LptBackEnd>(lpt::kWiringC, ports, driver, reporter);
}

BackEnd& Dispatch::For(uint8_t deviceType) {
  if (deviceType >= kDeviceTypes || backEnds_[deviceType] == nullptr) return none_;
  return *backEnds_[deviceType];
}

}  // namespace brisk
