#include "sim/board/board.h"

#include "sim/board/eeprom.h"
#include "sim/board/nor_flash.h"
#include "sim/board/picture_receiver.h"
#include "sim/board/timing_controller.h"
#include "sim/board/trace.h"

namespace brisk::sim {

BoardOptions::BoardOptions() : flash(&FlashChips()[1]) {}

Board::Board(const BoardOptions& options, VirtualClock& clock, Trace& trace, Faults& faults)
    : options_(options),
      i2c_(trace),
      spi_(trace),
      picture_(trace),
      controller_(std::make_unique<TimingController>(i2c_, faults)),
      receiver_(std::make_unique<PictureReceiver>(*controller_)),
      memory_(*controller_, *receiver_),
      eeprom_(std::make_unique<Eeprom>(i2c_, faults, clock)) {
  controller_->SetFrame(options.frameWidth, options.frameHeight);
  picture_.SetDevice(receiver_.get());
  if (options.flash != nullptr) {
    flash_ = std::make_unique<NorFlash>(*options.flash, options.chipEraseMs, clock, faults);
    spi_.SetDevice(flash_.get());
  }
  if (options.tenBitAddress >= 0) {
    const auto address = static_cast<uint16_t>(I2cSlave::kTenBit | options.tenBitAddress);
    tenBit_ = std::make_unique<RegisterFile>("ten-bit", address, i2c_, faults);
  }
}

Board::~Board() { SaveFiles(); }

std::string Board::AttachFiles() {
  if (!options_.memory.empty()) {
    std::string wrong = memory_.Attach(options_.memory);
    if (!wrong.empty()) return wrong;
    // A frame that is asked for counts more than the one that was kept.
    if (options_.frameGiven) controller_->SetFrame(options_.frameWidth, options_.frameHeight);
  }
  if (options_.image.empty()) return "";
  if (flash_ != nullptr) return flash_->AttachImage(options_.image);
  return "image=" + options_.image + " needs a flash, but flash=none is given";
}

}  // namespace brisk::sim
