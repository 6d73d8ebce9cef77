#pragma once

#include <cstdint>
#include <memory>

#include "adapters/tcon_board/tcon_link.h"
#include "device/device.h"
#include "device/host.h"
#include "i2c/channels.h"
#include "i2c/registers.h"
#include "platform/threads.h"

namespace brisk::tcon_board {

// The timing-controller board: an EZ-USB FX2 controller whose firmware is loaded into its RAM at
// every connect. The firmware does the I2C; a register costs two requests, a block one for every 64
// bytes, a port one, and each of them waits for the board at most 50 milliseconds.
//
// Selecting the device type connects; so does the first operation that finds the board not
// connected, except the bus-speed requests, which do nothing while there is no board.
//
// Outputs of failed reads are left alone, except by register and block reads, which clear them
// first. A block read of no bytes ends with the result of its write phase.
//
// Selecting a device type runs without the global lock, so every operation holds the lock of this
// object for its whole length: a connect waits for the operation under way. Where both are held,
// the global lock was taken first.
class TconBoard final : private Connection,
                        private i2c::ByteRegisters,
                        private i2c::BlockRegisters,
                        private i2c::BusClock,
                        private i2c::Channels,
                        private PortRegisters {
 public:
  explicit TconBoard(const Host& host);
  TconBoard(const TconBoard&) = delete;
  TconBoard& operator=(const TconBoard&) = delete;

  const Device& device() const { return device_; }

 private:
  uint32_t Connect() override;  // 1 = connected

  Status WriteByte(uint8_t device, uint8_t subAddress, uint8_t data) override;
  Status ReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) override;
  Status WriteData(uint8_t device, Bytes command, Bytes data) override;
  Status ReadData(uint8_t device, Bytes command, Buffer data) override;
  void SetClockRate(uint32_t kHz) override;  // 400 kHz from there on, else 100

  // These switch the bus speed by the channel's low four bits and move no data, which fails.
  Status Write(uint8_t channel, uint16_t address, Bytes first, Bytes second) override;
  Status Read(uint8_t channel, uint16_t address, Buffer data) override;
  Status WriteRead(uint8_t channel, uint16_t address, Bytes write, Buffer read) override;

  // Nothing is tried while no board can be connected. The code is 1 for done, 0 for not.
  Status WritePort(uint8_t port, uint8_t value) override;
  Status ReadPort(uint8_t port, uint8_t* value) override;

  // Selects the slave, then calls `transfer`; up to three times, until both are done.
  template <typename Transfer>
  Status OnSlave(uint8_t device, Transfer transfer);
  void SetSpeed(uint8_t request);
  // Always fails: there are no transfers.
  Status SwitchChannel(uint8_t channel);

  const std::unique_ptr<RecursiveLock> lock_;
  TconLink link_;
  uint8_t channel_ = 2;  // of the last speed switch
  const Device device_;
};

}  // namespace brisk::tcon_board
