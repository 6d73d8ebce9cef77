#pragma once

#include <cstdint>
#include <vector>

#include "sim/config/bench.h"

namespace brisk {

// An I2C master on the board's wires, as UM10204 describes one; 5 us a half period.
class I2cMaster {
 public:
  explicit I2cMaster(sim::Bench& bench)
      : clock_(bench.clock()), wires_(bench.board().i2c()), driver_(wires_.AddDriver()) {}

  void Start() {
    Set(scl_, true);
    Set(true, true);
    Set(true, false);
    Set(false, false);
  }
  void Stop() {
    Set(false, false);
    Set(true, false);
    Set(true, true);
  }
  // True when acknowledged.
  bool Write(uint8_t byte) {
    for (int bit = 7; bit >= 0; --bit) Bit((byte >> bit & 1) != 0);
    return !Bit(true);
  }
  uint8_t Read(bool acknowledge) {
    unsigned byte = 0;
    for (int bit = 0; bit < 8; ++bit) byte = byte << 1 | (Bit(true) ? 1U : 0U);
    Bit(!acknowledge);
    return static_cast<uint8_t>(byte);
  }
  // START, the bytes up to the first that is not acknowledged; returns how many were.
  size_t Send(const std::vector<uint8_t>& bytes) {
    Start();
    size_t count = 0;
    while (count < bytes.size() && Write(bytes[count])) ++count;
    return count;
  }
  void Set(bool scl, bool sda) {
    clock_.Spend(5000);
    scl_ = scl;
    wires_.Drive(driver_, scl, sda);
  }

 private:
  bool Bit(bool sda) {
    Set(false, sda);
    Set(true, sda);
    const bool level = wires_.sda();
    Set(false, sda);
    return level;
  }

  sim::VirtualClock& clock_;
  sim::I2cWires& wires_;
  sim::I2cWires::Driver driver_;
  bool scl_ = true;
};

// An SPI master, mode 0, 1 us a half period.
class SpiMaster {
 public:
  explicit SpiMaster(sim::Bench& bench) : clock_(bench.clock()), wires_(bench.board().spi()) {}

  void Select() { Set(false, false, false); }
  void Deselect() { Set(true, false, false); }
  uint8_t Exchange(uint8_t byte) {
    unsigned in = 0;
    for (int bit = 7; bit >= 0; --bit) {
      const bool mosi = (byte >> bit & 1) != 0;
      Set(false, false, mosi);
      in = in << 1 | (wires_.miso() ? 1U : 0U);
      Set(false, true, mosi);
    }
    Set(false, false, false);
    return static_cast<uint8_t>(in);
  }
  // One selection: sends the bytes, then reads `count`.
  std::vector<uint8_t> Transact(const std::vector<uint8_t>& bytes, size_t count = 0) {
    Select();
    for (const uint8_t byte : bytes) Exchange(byte);
    std::vector<uint8_t> answer;
    for (size_t i = 0; i < count; ++i) answer.push_back(Exchange(0));
    Deselect();
    return answer;
  }
  void Set(bool cs, bool sck, bool mosi) {
    clock_.Spend(1000);
    wires_.Drive(cs, sck, mosi);
  }

 private:
  sim::VirtualClock& clock_;
  sim::SpiWires& wires_;
};

// A bench of the test's own, beside the one of platform().
inline std::unique_ptr<sim::Bench> MakeBench(std::string_view text, std::string* whyNot = nullptr) {
  sim::Options options;
  std::string wrong = sim::ParseOptions(text, &options);
  std::unique_ptr<sim::Bench> bench;
  if (wrong.empty()) bench = sim::Bench::Make(options, &wrong);
  if (whyNot != nullptr) *whyNot = wrong;
  return bench;
}

}  // namespace brisk
