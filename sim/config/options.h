#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sim/board/board.h"
#include "sim/common/faults.h"

namespace brisk::sim {

// What a bench is made of, as text: "key=value" separated by commas. A doubled comma stands for one
// in a value. A key that is given twice counts with its last value. Numbers are decimal, or,
// but for those of faults, hexadecimal behind "0x". An unknown name is an error that lists the
// known ones and guesses which was meant; nothing unknown is ignored.
struct Options : BoardOptions {
  std::vector<std::string> adapters{"lpt"};
  std::string trace;  // file for the lines' changes; empty = none
  bool realClock = false;
  uint32_t seed = 1;
  bool nt = true;  // the operating system is of the NT family
  bool debugToStderr = false;
  std::string fault;  // as it was given
  std::vector<Fault> faults;
};

// Empty when done, else what is wrong with the text and what is known instead.
std::string ParseOptions(std::string_view text, Options* options);

// One line per key, for a tool's help.
std::string OptionsHelp();

}  // namespace brisk::sim
