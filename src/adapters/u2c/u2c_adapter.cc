#include "adapters/u2c/u2c_adapter.h"

namespace brisk::u2c {

Status U2cLines::Output(uint8_t value) {
  link_.WritePort(value);
  bLptImage = value & 0xFC;
  return {};
}

Status U2cLines::Input(uint8_t* value) {
  *value = 0;
  return {};
}

U2cAdapter::U2cAdapter(const Host& host)
    : log_(host.log),
      link_(host),
      flash_(link_, host.system.clock, host.system.files, host.log, host.progress),
      display_(lines_, pictureRegisters_, PictureServicesOf(host), host.progress),
      device_{
          .onUse = &link_,
          .bus = &link_,
          .heads = &heads_,
          .strings = &strings_,
          .registers = &registers_,
          .blocks = &registers_,
          .clock = &registers_,
          .channels = &channels_,
          .flash = &flash_,
          .words = &lines_,
          .display = &display_,
          .debugWords = &lines_,
          .lines = &lines_,
          .generator = this,
      } {}

// The adapter has no way to the board's clock generator; a tool that sets it is told so in the log.
Status U2cAdapter::WriteDividers(uint8_t /*a*/, uint8_t /*b*/, uint32_t /*c*/, uint32_t /*d*/,
                                 uint32_t /*e*/) {
  log_.Print(0, "FIXME: not supported yet !!\n");
  return {};
}

}  // namespace brisk::u2c
