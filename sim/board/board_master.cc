// Quarters of an I2C bit; a change comes at the beginning of its quarter:
//
//   START   SDA released | SCL released | SDA low | SCL low
//   a bit   SCL low | SDA | SCL released, SDA sampled | SCL low
//   STOP    both low | SCL released | SDA released
#include "sim/board/board_master.h"

namespace brisk::sim {

BoardMaster::BoardMaster(Board& board, VirtualClock& clock)
    : board_(board), clock_(clock), driver_(board.i2c().AddDriver()) {}

void BoardMaster::Drive(bool scl, bool sda) {
  scl_ = scl;
  sda_ = sda;
  board_.i2c().Drive(driver_, scl, sda);
  clock_.Spend(quarterNs_);
}

void BoardMaster::Start() {
  Drive(scl_, true);
  Drive(true, true);
  Drive(true, false);
  Drive(false, false);
}

void BoardMaster::Stop() {
  Drive(false, false);
  Drive(true, false);
  Drive(true, true);
}

bool BoardMaster::Clock(bool sda) {
  Drive(false, sda_);
  Drive(false, sda);
  Drive(true, sda);
  const bool level = board_.i2c().sda();
  Drive(false, sda);
  return level;
}

bool BoardMaster::Send(uint8_t byte) {
  for (unsigned mask = 0x80; mask != 0; mask >>= 1) Clock((byte & mask) != 0);
  return !Clock(true);
}

uint8_t BoardMaster::Receive(bool acknowledge) {
  const uint8_t byte = ReceiveBits();
  Acknowledge(acknowledge);
  return byte;
}

uint8_t BoardMaster::ReceiveBits() {
  unsigned byte = 0;
  for (int bit = 0; bit < 8; ++bit) byte = byte << 1 | (Clock(true) ? 1U : 0U);
  return static_cast<uint8_t>(byte);
}

void BoardMaster::SelectFlash() {
  board_.spi().Drive(true, false, false);
  clock_.Spend(spiHalfNs_);
  board_.spi().Drive(false, false, false);
  clock_.Spend(spiHalfNs_);
}

void BoardMaster::DeselectFlash() {
  board_.spi().Drive(true, false, false);
  clock_.Spend(spiHalfNs_);
}

uint8_t BoardMaster::ExchangeSpi(uint8_t byte, bool cs) {
  unsigned in = 0;
  for (int bit = 7; bit >= 0; --bit) {
    const bool mosi = (byte >> bit & 1) != 0;
    board_.spi().Drive(cs, false, mosi);
    clock_.Spend(spiHalfNs_);
    in = in << 1 | (board_.spi().miso() ? 1U : 0U);
    board_.spi().Drive(cs, true, mosi);
    clock_.Spend(spiHalfNs_);
  }
  board_.spi().Drive(cs, false, false);
  return static_cast<uint8_t>(in);
}

}  // namespace brisk::sim
