#pragma once

#include <cstdint>
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
struct FlashChip;

// What a board is made of.
struct BoardOptions {
  const FlashChip* flash;  // null = no flash on the board; the W25Q32 unless something else is said
  uint32_t chipEraseMs = 0;  // 0 = the chip's own
  bool frameGiven = false;   // else a frame size from the memory file stands
  unsigned frameWidth = 1024;
  unsigned frameHeight = 768;
  int tenBitAddress = -1;  // of the 10-bit I2C device; -1 = none
  std::string image;       // file that keeps the flash's contents; empty = none
  std::string memory;      // file that keeps the controller's; empty = none

  BoardOptions();
};

// The board behind every adapter: a timing controller and an EEPROM on the I2C lines, a NOR flash
// on the SPI lines, and the controller's picture port. An adapter only moves the lines.
//
// The library's global lock and its FTDI engine's lock are two: where adapters of both kinds are
// connected, each holds mutex() while it moves lines.
class Board {
 public:
  Board(const BoardOptions& options, VirtualClock& clock, Trace& trace, Faults& faults);
  ~Board();
  Board(const Board&) = delete;
  Board& operator=(const Board&) = delete;

  // Loads what the board's files keep. Empty when done, else what is wrong with a file.
  std::string AttachFiles();
  // Writes what is not written as it changes; done once more at the board's end.
  void SaveFiles() { memory_.Save(); }

  I2cWires& i2c() { return i2c_; }
  SpiWires& spi() { return spi_; }
  PictureWires& picture() { return picture_; }
  std::recursive_mutex& mutex() { return mutex_; }

  // The chips themselves, for those who look behind the wires.

  TimingController& controller() { return *controller_; }
  PictureReceiver& receiver() { return *receiver_; }
  Eeprom& eeprom() { return *eeprom_; }
  NorFlash* flash() { return flash_.get(); }        // null when the board has none
  RegisterFile* tenBit() { return tenBit_.get(); }  // null when the board has none

 private:
  const BoardOptions options_;
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
