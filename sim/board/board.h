#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "sim/board/controller_memory.h"
#include "sim/board/wires.h"

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

  // Loads what the board's files keep. Empty when done, else what is wrong with a file.
  std::string AttachFiles(const Options& options);
  // Writes what is not written as it changes; done once more at the board's end.
  void SaveFiles() { memory_.Save(); }

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
  ControllerMemory memory_;
  std::unique_ptr<Eeprom> eeprom_;
  std::unique_ptr<NorFlash> flash_;
  std::unique_ptr<RegisterFile> tenBit_;
};

}  // namespace brisk::sim
