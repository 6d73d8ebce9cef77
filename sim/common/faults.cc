#include "sim/common/faults.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "sim/common/names.h"

namespace brisk::sim {
namespace {

enum class Argument : uint8_t { kNone, kDevice, kNumber, kFunction };

struct Kind {
  FaultKind kind;
  std::string_view name;
  Argument argument;
  bool needed;
  std::string_view example = {};  // of a function: the library's functions begin as this one does
};

// Where an argument may be left out, any device or any function is meant.
constexpr Kind kKinds[] = {
    {FaultKind::kNak, "nak", Argument::kDevice, false},
    {FaultKind::kSdaLow, "sda-low", Argument::kNone, false},
    {FaultKind::kSclLow, "scl-low", Argument::kNone, false},
    {FaultKind::kFlashBusy, "flash-busy", Argument::kNumber, false},  // ms an operation takes
    {FaultKind::kOpenRefused, "open-refused", Argument::kNone, false},
    {FaultKind::kDiskFull, "disk-full", Argument::kNumber, true},  // bytes that a file takes
    {FaultKind::kUsbStall, "usb-stall", Argument::kNone, false},
    {FaultKind::kUsbTimeOut, "usb-time-out", Argument::kNone, false},
    {FaultKind::kUsbShort, "usb-short", Argument::kNone, false},
    {FaultKind::kUsbStatus, "usb-status", Argument::kNone, false},
    {FaultKind::kUsbUnplug, "usb-unplug", Argument::kNone, false},
    {FaultKind::kLineSilent, "line-silent", Argument::kNone, false},
    {FaultKind::kLineDelay, "line-delay", Argument::kNumber, true},  // ms
    {FaultKind::kLineSplit, "line-split", Argument::kNumber, true},  // ms
    {FaultKind::kLineJunk, "line-junk", Argument::kNumber, true},    // bytes
    {FaultKind::kLineWidth, "line-width", Argument::kNone, false},
    {FaultKind::kLineGone, "line-gone", Argument::kNone, false},
    {FaultKind::kD2xxFails, "d2xx-fails", Argument::kFunction, false, "FT_Write"},
    {FaultKind::kShortWrite, "d2xx-short-write", Argument::kNumber, true},  // bytes that it takes
    {FaultKind::kNoAnswers, "ftdi-no-answers", Argument::kNone, false},
    {FaultKind::kUnplugged, "ftdi-unplug", Argument::kNone, false},  // from the call it strikes on
    {FaultKind::kU2cAbsent, "u2c-absent", Argument::kNone, false},
    {FaultKind::kU2cFails, "u2c-fails", Argument::kFunction, false, "U2C_Write"},
};

constexpr std::string_view kDevices[] = {"controller", "eeprom", "ten-bit"};

bool ParseNumber(std::string_view text, uint64_t* number) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, *number);
  return error == std::errc{} && stop == end;
}

// Cuts "text<mark>rest" at the mark; false when there is a rest that is no number.
bool CutNumber(std::string_view* text, char mark, uint64_t* number) {
  const size_t position = text->rfind(mark);
  if (position == std::string_view::npos) return true;
  if (!ParseNumber(text->substr(position + 1), number)) return false;
  *text = text->substr(0, position);
  return true;
}

std::string CheckArgument(const Kind& kind, Fault* fault) {
  const std::string name(kind.name);
  if (fault->argument.empty()) {
    return kind.needed ? "fault '" + name + "' needs a number, as in '" + name + ":1000'" : "";
  }
  switch (kind.argument) {
    case Argument::kNone:
      return "fault '" + name + "' takes no argument";
    case Argument::kNumber:
      if (ParseNumber(fault->argument, &fault->number)) return "";
      return "fault '" + name + "' takes a number, not '" + fault->argument + "'";
    case Argument::kFunction:
      if (fault->argument.starts_with(kind.example.substr(0, kind.example.find('_') + 1))) {
        return "";
      }
      return "fault '" + name + "' takes a function such as " + std::string(kind.example) +
             ", not '" + fault->argument + "'";
    case Argument::kDevice:
      break;
  }
  if (std::ranges::find(kDevices, fault->argument) != std::end(kDevices)) return "";
  return UnknownName("device", fault->argument, {std::begin(kDevices), std::end(kDevices)});
}

}  // namespace

std::string Faults::Parse(std::string_view text, Fault* fault) {
  const std::string whole(text);
  *fault = {};
  uint64_t percent = 100;
  if (!CutNumber(&text, '%', &percent) || percent > 100) {
    return "fault '" + whole + "': a chance is a whole number of percent, as in 'nak%5'";
  }
  if (!CutNumber(&text, '@', &fault->at)) {
    return "fault '" + whole + "': an occasion is a number from 1, as in 'nak@3'";
  }
  fault->percent = static_cast<unsigned>(percent);
  const size_t colon = text.find(':');
  const std::string_view name = text.substr(0, colon);
  if (colon != std::string_view::npos) fault->argument = text.substr(colon + 1);
  for (const Kind& kind : kKinds) {
    if (kind.name != name) continue;
    fault->kind = kind.kind;
    return CheckArgument(kind, fault);
  }
  std::vector<std::string_view> known;
  for (const Kind& kind : kKinds) known.push_back(kind.name);
  return UnknownName("fault", name, known);
}

void Faults::Add(const Fault& fault) {
  const std::lock_guard lock(mutex_);
  set_.push_back({fault, 0});
  any_ = true;
}

void Faults::Clear() {
  const std::lock_guard lock(mutex_);
  set_.clear();
  any_ = false;
}

bool Faults::Active(FaultKind kind, std::string_view argument) const {
  if (!any_) return false;
  const std::lock_guard lock(mutex_);
  return std::ranges::any_of(set_, [&](const Set& set) {
    return set.fault.kind == kind &&
           (set.fault.argument.empty() || argument.empty() || set.fault.argument == argument);
  });
}

bool Faults::Strikes(FaultKind kind, std::string_view argument) {
  if (!any_) return false;
  const std::lock_guard lock(mutex_);
  bool strikes = false;
  for (Set& set : set_) {
    const Fault& fault = set.fault;
    if (fault.kind != kind) continue;
    if (!fault.argument.empty() && !argument.empty() && fault.argument != argument) continue;
    ++set.occasions;
    const bool itsTurn = fault.at == 0 || fault.at == set.occasions;
    const bool drawn = fault.percent == 100 || random_() % 100 < fault.percent;
    strikes = strikes || (itsTurn && drawn);
  }
  return strikes;
}

uint64_t Faults::Amount(FaultKind kind) {
  uint64_t number = 0;
  return Strikes(kind) && Number(kind, &number) ? number : 0;
}

bool Faults::Number(FaultKind kind, uint64_t* number) const {
  if (!any_) return false;
  const std::lock_guard lock(mutex_);
  for (const Set& set : set_) {
    if (set.fault.kind != kind) continue;
    *number = set.fault.number;
    return true;
  }
  return false;
}

}  // namespace brisk::sim
