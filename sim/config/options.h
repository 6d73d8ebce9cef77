#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sim/config/faults.h"

namespace brisk::sim {

struct FlashChip;

// What a bench is made of, as text: "key=value" separated by commas. A doubled comma stands for one
// in a value. A key that is given twice counts with its last value.
struct Options {
  std::vector<std::string> adapters{"lpt"};
  const FlashChip* flash = nullptr;  // null = no flash on the board
  uint32_t chipEraseMs = 0;          // 0 = the chip's own
  std::string image;
  std::string memory;
  bool frameGiven = false;
  unsigned frameWidth = 1024;
  unsigned frameHeight = 768;
  int tenBitAddress = -1;  // of the 10-bit I2C device; -1 = none
  std::string trace;
  bool realClock = false;
  uint32_t seed = 1;
  bool nt = true;
  bool debugToStderr = false;
  std::vector<Fault> faults;

  Options();
};

// Empty when done, else what is wrong with the text and what is known instead.
std::string ParseOptions(std::string_view text, Options* options);

// One line per key, for a tool's help.
std::string OptionsHelp();

}  // namespace brisk::sim
