#include "adapters/lpt/lpt_adapter.h"

namespace brisk::lpt {
namespace {

// A failed write phase gives the bus back; a read ends with the byte that is not acknowledged.
constexpr i2c::ChannelForm kChannelForm{
    .repeatedStartBeforeRead = false,
    .acknowledgeReads = true,
    .stopAfterFailedWrite = true,
};

}  // namespace

LptAdapter::LptAdapter(const Wiring& wiring, uint16_t base, Ports& ports, Driver& driver,
                       const Host& host)
    : lines_(ports, base, driver),
      i2c_(ports, wiring, base, lines_.image()),
      channels_(i2c_, kChannelForm),
      spi_(ports, base),
      flash_(spi_, host.system.clock, host.system.files, host.log, host.progress),
      words_(ports, base, lines_.image()),
      display_(words_, pictureRegisters_, PictureServicesOf(host), host.progress),
      device_{
          .bus = &i2c_,
          .bits = &i2c_,
          .heads = &registers_,
          .strings = &strings_,
          .registers = &registers_,
          .blocks = &registers_,
          .clock = &ports,
          .channels = &channels_,
          .flash = &flash_,
          .words = &words_,
          .display = &display_,
          .debugWords = &words_,
          .lines = &lines_,
      } {}

}  // namespace brisk::lpt
