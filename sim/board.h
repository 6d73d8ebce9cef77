#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "wires.h"

namespace brisk::sim {

class Eeprom;
class Faults;
class NorFlash;
class PictureReceiver;
class RegisterFile;
class TimingController;
class Trace;
class VirtualClock;
struct Options;

// The board behind every adapter: a timing controller and an EEPROM on the I2C lines, a NOR flash
// on the SPI lines, and the controller's picture port. An adapter only moves the lines.
//
// The library's global lock and its FTDI engine's lock are two: where adapters of both kinds are
// connected, each holds mutex() while it moves lines.
class Board {
 public:
  Board(const Options& options, VirtualClock& clock, Trace& trace, Faults& faults);
  ~Board();
  Board(const Board&) = delete;
  Board& operator=(const Board&) = delete;

  // Empty when done, else why the flash image cannot be used.
  std::string AttachFiles(const Options& options);

  I2cWires& i2c() { return i2c_; }
  SpiWires& spi() { return spi_; }
  PictureWires& picture() { return picture_; }
  std::recursive_mutex& mutex() { return mutex_; }

  TimingController& controller() { return *controller_; }
  PictureReceiver& receiver() { return *receiver_; }
  Eeprom& eeprom() { return *eeprom_; }
  NorFlash* flash() { return flash_.get(); }        // null when the board has none
  RegisterFile* tenBit() { return tenBit_.get(); }  // null when the board has none

 private:
  I2cWires i2c_;
  SpiWires spi_;
  PictureWires picture_;
  std::recursive_mutex mutex_;
  std::unique_ptr<TimingController> controller_;
  std::unique_ptr<PictureReceiver> receiver_;
  std::unique_ptr<Eeprom> eeprom_;
  std::unique_ptr<NorFlash> flash_;
  std::unique_ptr<RegisterFile> tenBit_;
};

}  // namespace brisk::sim
