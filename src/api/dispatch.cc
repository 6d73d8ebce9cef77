#include "api/dispatch.h"

#include "brisk/brisk.h"

#include "adapters/debug_board/debug_board.h"
#include "adapters/ftdi/ftdi_back_end.h"
#include "adapters/lpt/lpt_back_end.h"
#include "adapters/tcon_board/tcon_usb.h"
#include "adapters/text_bridge/text_bridge_back_end.h"
#include "adapters/u2c/u2c_back_end.h"
#include "adapters/uart_bridge/uart_back_end.h"

namespace brisk {

Dispatch::Dispatch(lpt::Ports& ports, Driver& driver, ProgressReporter& reporter) {
  using lpt::LptBackEnd;
  using std::make_unique;
  backEnds_[BRISK_DEVICE_LPT] = make_unique<LptBackEnd>(lpt::kWiringA, ports, driver, reporter);
  backEnds_[BRISK_DEVICE_U2C] = make_unique<u2c::U2cBackEnd>(reporter);
  backEnds_[BRISK_DEVICE_DEBUG_BOARD] = make_unique<usb::DebugBoardBackEnd>(reporter);
  backEnds_[BRISK_DEVICE_UART] = make_unique<serial::UartBackEnd>();
  backEnds_[BRISK_DEVICE_TCON_USB] = make_unique<usb::TconUsbBackEnd>();
  backEnds_[BRISK_DEVICE_LPT_B] = make_unique<LptBackEnd>(lpt::kWiringB, ports, driver, reporter);
  backEnds_[BRISK_DEVICE_TEXT_BRIDGE] = make_unique<serial::TextBridgeBackEnd>();
  backEnds_[BRISK_DEVICE_FTDI] = make_unique<ftdi::FtdiBackEnd>(reporter);
  backEnds_[BRISK_DEVICE_LPT_C] = make_unique<LptBackEnd>(lpt::kWiringC, ports, driver, reporter);
}

BackEnd& Dispatch::For(uint8_t deviceType) {
  if (deviceType >= kDeviceTypes || backEnds_[deviceType] == nullptr) return none_;
  return *backEnds_[deviceType];
}

}  // namespace brisk
