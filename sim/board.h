#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "wires.h"

namespace brisk::sim {

class Eeprom;
class NorFlash;
class Trace;
class VirtualClock;
class TimingController;
struct Options;

// The board behind every adapter: a timing controller and an EEPROM on the I2C lines, a NOR flash on
// the SPI lines, and the controller's picture port. An adapter only moves the lines.
class Board {
 public:
  Board(const Options& options, VirtualClock& clock, Trace& trace);
  ~Board();
  Board(const Board&) = delete;
  Board& operator=(const Board&) = delete;

  I2cWires& i2c() { return i2c_; }
  SpiWires& spi() { return spi_; }
  PictureWires& picture() { return picture_; }

  TimingController& controller() { return *controller_; }
  Eeprom& eeprom() { return *eeprom_; }
  NorFlash& flash() { return *flash_; }

 private:
  I2cWires i2c_;
  SpiWires spi_;
  PictureWires picture_;
  std::unique_ptr<TimingController> controller_;
  std::unique_ptr<Eeprom> eeprom_;
  std::unique_ptr<NorFlash> flash_;
};

}  // namespace brisk::sim
