#pragma once

#include <cstdint>

#include "contracts/u2c.h"
#include "sim/adapters/adapter.h"
#include "sim/adapters/plugged.h"
#include "sim/board/board_master.h"
#include "sim/board/wires.h"
#include "sim/pc/connectors.h"

namespace brisk::sim {

// The U2C adapter: I2C and SPI masters and one general-purpose line on the board's lines. Line 0 is
// the flash's chip select and the picture port's ZERO; SCL is the picture port's ONE. SDA and SCL
// are the same two pins for the I2C master and as plain outputs: who acts takes them over.
// Everything that is called fails unless it carries the handle of an open adapter.
//
// The library sends a memory address of several bytes most significant byte of the number first.
class U2cDevice final : public Adapter, private I2cDevice {
 public:
  static constexpr int32_t kHandle = 0x55;
  static constexpr int32_t kFailed = 1;

  U2cDevice(const Site& site, LibraryShelf& libraries);
  ~U2cDevice() override;

  // False when the adapter is away or the call is to fail; counts the call.
  bool Call(int32_t handle, const char* function);
  int32_t Open();
  Board& board() { return site_.board; }

  // The general-purpose lines, of which only line 0 is connected: outputs among those in the mask,
  // and their levels.
  void SetDirection(uint32_t mask, uint32_t outputs);
  void SetLines(uint32_t value, uint32_t mask);
  // The I2C master, with the plain outputs out of its way.
  BoardMaster& master();
  // Whole transactions, from START to STOP. They fail, with the STOP, at the first byte that is not
  // acknowledged; too long ones move nothing. The last byte read is not acknowledged.
  int32_t Write(const u2c::Transaction& transaction);
  int32_t Read(u2c::Transaction* transaction);
  // Clocks by the library's codes; an unknown code fails and changes nothing.
  int32_t SetI2cCode(uint8_t code);
  int32_t SetSpiCode(uint8_t code);
  uint8_t ExchangeSpi(uint8_t byte) { return master_.ExchangeSpi(byte, line0_); }
  // SDA and SCL as plain outputs; true releases.
  void DriveSda(bool released);
  void DriveScl(bool released);

  uint64_t calls() const { return calls_; }
  unsigned i2cKHz() const { return i2cKHz_; }
  unsigned spiKHz() const { return spiKHz_; }

 private:
  void LinesChanged(bool scl, bool sda) override;
  void Drive(bool scl, bool sda);  // as plain outputs
  void TakeFromMaster();
  bool SendMemoryAddress(const u2c::Transaction& transaction);

  const Site site_;
  LibraryShelf& libraries_;
  BoardMaster master_;
  const I2cWires::Driver plain_;
  bool sda_ = true;
  bool scl_ = true;
  bool line0_ = true;
  bool line0IsOutput_ = false;
  unsigned i2cKHz_ = 100;
  unsigned spiKHz_ = 200;
  uint64_t calls_ = 0;
  const Plugged<U2cDevice> plugged_{*this};
};

}  // namespace brisk::sim
