#pragma once

#include <cstdio>
#include <string>
#include <utility>

#include "sim/board/wires.h"

namespace brisk {

// Listens on the I2C lines and writes down what goes over them, independently of any master or
// slave: "S F4+ 70+ Sr F5+ 20+ 03- P", where + is an acknowledged byte and - one that is not. Bits
// that do not make a whole byte before a START or STOP are not shown.
class I2cMonitor : public sim::I2cDevice {
 public:
  void LinesChanged(bool scl, bool sda) override {
    if (scl && scl_ && sda != sda_) {
      Condition(sda);
    } else if (scl && !scl_) {
      Bit(sda);
    }
    scl_ = scl;
    sda_ = sda;
  }

  std::string Take() { return std::exchange(text_, {}); }

 private:
  void Condition(bool stop) {
    if (stop && !busy_) return;  // of nothing
    Add(stop ? "P" : busy_ ? "Sr" : "S");
    busy_ = !stop;
    bits_ = 0;
    value_ = 0;
  }

  void Bit(bool sda) {
    if (!busy_) return;
    if (++bits_ <= 8) {
      value_ = value_ << 1 | (sda ? 1u : 0u);
      return;
    }
    char byte[8];
    std::snprintf(byte, sizeof byte, "%02X%c", value_ & 0xFF, sda ? '-' : '+');
    Add(byte);
    bits_ = 0;
    value_ = 0;
  }

  void Add(const std::string& word) {
    if (!text_.empty()) text_ += ' ';
    text_ += word;
  }

  std::string text_;
  bool scl_ = true;
  bool sda_ = true;
  bool busy_ = false;
  int bits_ = 0;
  unsigned value_ = 0;
};

}  // namespace brisk
