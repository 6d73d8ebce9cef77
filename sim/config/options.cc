// Every key has a row in the table below, with its help and a function that takes its value: empty
// when it is good, else what is wrong with it, in the words that the user sees.
#include "sim/config/options.h"

#include <charconv>
#include <iterator>

#include "sim/board/nor_flash.h"
#include "sim/common/names.h"
#include "sim/config/adapter_kinds.h"

namespace brisk::sim {
namespace {

constexpr unsigned kMostPixels = 65535;  // a frame register has 16 bits
constexpr uint64_t kTenBitAddresses = 0x400;

template <typename Number>
bool ParseNumber(std::string_view text, Number* number) {
  int base = 10;
  if (text.starts_with("0x") || text.starts_with("0X")) {
    text.remove_prefix(2);
    base = 16;
  }
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, *number, base);
  return error == std::errc{} && stop == end;
}

std::string NotANumber(std::string_view key, std::string_view value, const char* wanted) {
  return std::string(key).append("=").append(value).append(": ").append(wanted).append(
      " is needed");
}

std::vector<std::string_view> Split(std::string_view text, char mark) {
  std::vector<std::string_view> parts;
  for (;;) {
    const size_t end = text.find(mark);
    parts.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

// One of two words; `*second` says which.
std::string ParseChoice(std::string_view key, std::string_view value, std::string_view firstWord,
                        std::string_view secondWord, bool* second) {
  if (value != firstWord && value != secondWord) {
    return UnknownName(std::string("value of ").append(key), value, {firstWord, secondWord});
  }
  *second = value == secondWord;
  return "";
}

std::string SetAdapter(std::string_view value, Options* options) {
  std::vector<std::string_view> known{"none"};
  for (const AdapterKind& kind : AdapterKinds()) known.emplace_back(kind.name);
  options->adapters.clear();
  for (const std::string_view name : Split(value, '+')) {
    bool found = false;
    for (const std::string_view other : known) found = found || other == name;
    if (!found) return UnknownName("adapter", name, known);
    if (name != "none") options->adapters.emplace_back(name);
  }
  return "";
}

std::string SetFlash(std::string_view value, Options* options) {
  options->flash = nullptr;
  std::vector<std::string_view> known{"none"};
  if (value == "none") return "";
  for (const FlashChip& chip : FlashChips()) {
    known.emplace_back(chip.name);
    if (value == chip.name) options->flash = &chip;
  }
  return options->flash != nullptr ? "" : UnknownName("flash", value, known);
}

std::string SetChipErase(std::string_view value, Options* options) {
  if (ParseNumber(value, &options->chipEraseMs) && options->chipEraseMs != 0) return "";
  return NotANumber("chip-erase-ms", value, "a number of milliseconds from 1");
}

template <auto kMember>
std::string SetText(std::string_view value, Options* options) {
  options->*kMember = value;
  return "";
}

std::string SetFrame(std::string_view value, Options* options) {
  const size_t mark = value.find('x');
  if (mark != std::string_view::npos && ParseNumber(value.substr(0, mark), &options->frameWidth) &&
      ParseNumber(value.substr(mark + 1), &options->frameHeight) && options->frameWidth != 0 &&
      options->frameHeight != 0 && options->frameWidth <= kMostPixels &&
      options->frameHeight <= kMostPixels) {
    options->frameGiven = true;
    return "";
  }
  return NotANumber("frame", value, "WIDTHxHEIGHT, each from 1 to 65535,");
}

std::string SetTenBit(std::string_view value, Options* options) {
  options->tenBitAddress = -1;
  if (value == "none") return "";
  if (ParseNumber(value, &options->tenBitAddress) && options->tenBitAddress >= 0 &&
      static_cast<uint64_t>(options->tenBitAddress) < kTenBitAddresses) {
    return "";
  }
  return NotANumber("ten-bit", value, "an address from 0 to 0x3FF, or none,");
}

std::string SetSeed(std::string_view value, Options* options) {
  return ParseNumber(value, &options->seed) ? "" : NotANumber("seed", value, "a number");
}

// Of the adapters that all the text connects.
std::string ParseFaults(Options* options) {
  if (options->fault.empty()) return "";
  for (const std::string_view text : Split(options->fault, '+')) {
    if (text == "none") continue;
    Fault fault;
    std::string wrong = Faults::Parse(text, options->adapters, &fault);
    if (!wrong.empty()) return wrong;
    options->faults.push_back(fault);
  }
  return "";
}

struct Key {
  std::string_view name;
  const char* help;
  std::string (*set)(std::string_view value, Options* options);
};

constexpr Key kKeys[] = {
    {"adapter", "NAME[+NAME]: what connects the board", SetAdapter},
    {"flash", "CHIP: the board's flash, or none", SetFlash},
    {"chip-erase-ms", "N: how long a chip erase takes", SetChipErase},
    {"image", "FILE: keeps the flash contents between runs", SetText<&Options::image>},
    {"memory", "FILE: keeps the controller's registers and frame memory between runs",
     SetText<&Options::memory>},
    {"frame", "WxH: size of the display frame", SetFrame},
    {"ten-bit", "ADDRESS: adds an I2C device with a 10-bit address", SetTenBit},
    {"trace", "FILE: every line's changes as a VCD file", SetText<&Options::trace>},
    {"clock", "virtual | real",
     [](std::string_view value, Options* options) {
       return ParseChoice("clock", value, "virtual", "real", &options->realClock);
     }},
    {"seed", "N: of everything drawn at random", SetSeed},
    {"system", "nt | 9x: family of the operating system",
     [](std::string_view value, Options* options) {
       return ParseChoice("system", value, "9x", "nt", &options->nt);
     }},
    {"debug", "none | stderr: where debug lines go besides the bench's record",
     [](std::string_view value, Options* options) {
       return ParseChoice("debug", value, "none", "stderr", &options->debugToStderr);
     }},
    {"fault", "KIND[:ARGUMENT][@N][%P][+...]: what goes wrong", SetText<&Options::fault>},
};

std::string SetOption(const std::string& option, Options* options) {
  const size_t equals = option.find('=');
  const std::string_view name = std::string_view(option).substr(0, equals);
  std::vector<std::string_view> known;
  for (const Key& key : kKeys) {
    known.push_back(key.name);
    if (key.name != name) continue;
    if (equals == std::string::npos) {
      return std::string("option '").append(option).append("' needs a value: ").append(key.help);
    }
    return key.set(std::string_view(option).substr(equals + 1), options);
  }
  return UnknownName("option", name, known);
}

}  // namespace

std::string ParseOptions(std::string_view text, Options* options) {
  *options = Options();
  std::string option;
  for (size_t i = 0; i <= text.size(); ++i) {
    if (i < text.size() && text[i] != ',') {
      option += text[i];
    } else if (text.substr(i).starts_with(",,")) {
      option += ',';
      ++i;
    } else if (!option.empty()) {
      if (std::string wrong = SetOption(option, options); !wrong.empty()) return wrong;
      option.clear();
    }
  }
  return ParseFaults(options);
}

std::string OptionsHelp() {
  std::string help;
  for (const Key& key : kKeys) help.append(key.name).append("=").append(key.help).append("\n");
  return help;
}

}  // namespace brisk::sim
