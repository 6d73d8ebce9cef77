// Quarters of a bit; a change comes at the end of its quarter:
//
//   START   SDA released | SCL released | SDA low | SCL low
//   a bit   SCL low | SDA | SCL released, SDA sampled | SCL low
//   STOP    SDA low | SCL released | SDA released
#include "sim/adapters/bridges/i2c_master.h"

#include "sim/common/virtual_clock.h"

namespace brisk::sim {

void I2cMaster::Drive(bool scl, bool sda) {
  clock_.Spend(kQuarterNs);
  if (scl == scl_ && sda == sda_) return;
  scl_ = scl;
  sda_ = sda;
  wires_.Drive(driver_, scl, sda);
}

void I2cMaster::Start() {
  Drive(scl_, true);
  Drive(true, true);
  Drive(true, false);
  Drive(false, false);
}

void I2cMaster::Stop() {
  Drive(scl_, scl_ && sda_);
  if (scl_) return;  // the bus is free
  Drive(true, false);
  Drive(true, true);
}

bool I2cMaster::Clock(bool sda) {
  Drive(false, sda_);
  Drive(false, sda);
  Drive(true, sda);
  const bool level = wires_.sda();
  Drive(false, sda);
  return level;
}

bool I2cMaster::Write(uint8_t byte) {
  for (unsigned mask = 0x80; mask != 0; mask >>= 1) Clock((byte & mask) != 0);
  return !Clock(true);
}

uint8_t I2cMaster::Read() {
  unsigned byte = 0;
  for (int bit = 0; bit < 8; ++bit) byte = byte << 1 | (Clock(true) ? 1U : 0U);
  return static_cast<uint8_t>(byte);
}

}  // namespace brisk::sim
