#pragma once

#include <cstdint>

#include "sim/board/board.h"
#include "sim/common/virtual_clock.h"

namespace brisk::sim {

// A microcontroller's I2C and SPI masters on the board's lines, bit by bit: 100 kHz and 1 MHz
// unless other rates are set. Nothing stretches SCL or takes the bus away, so no call waits or
// fails. While the bus is taken SCL rests low.
class BoardMaster {
 public:
  BoardMaster(Board& board, VirtualClock& clock);
  BoardMaster(const BoardMaster&) = delete;
  BoardMaster& operator=(const BoardMaster&) = delete;

  void SetI2cRate(unsigned kHz) { quarterNs_ = 250'000 / kHz; }
  void SetSpiRate(unsigned kHz) { spiHalfNs_ = 500'000 / kHz; }

  void Start();  // repeated when the bus is already this master's
  void Stop();
  bool Send(uint8_t byte);  // true = acknowledged
  uint8_t Receive(bool acknowledge);
  // The same in two steps.
  uint8_t ReceiveBits();
  void Acknowledge(bool acknowledge) { Clock(!acknowledge); }

  void SelectFlash();
  void DeselectFlash();
  // Mode 0, most significant bit first, with chip select at this level.
  uint8_t ExchangeSpi(uint8_t byte, bool cs = false);

 private:
  void Drive(bool scl, bool sda);
  bool Clock(bool sda);  // one bit; the level of SDA while SCL was high

  Board& board_;
  VirtualClock& clock_;
  const uint32_t driver_;
  uint64_t quarterNs_ = 2'500;
  uint64_t spiHalfNs_ = 500;
  bool scl_ = true;
  bool sda_ = true;
};

}  // namespace brisk::sim
