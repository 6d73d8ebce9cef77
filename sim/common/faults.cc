#include "sim/common/faults.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <span>

#include "contracts/d2xx.h"
#include "contracts/u2c.h"
#include "sim/common/names.h"

namespace brisk::sim {
namespace {

// Where a device, a function or `kNumberOrNone` is left out, any is meant.
enum class Argument : uint8_t { kNone, kDevice, kNumber, kNumberOrNone, kD2xx, kU2c };

constexpr bool kStays = true;

// What has the fault: adapters, by name; nothing = the board or the PC, whatever connects them.
constexpr std::string_view kUsbBoards[] = {"debug-board", "tcon-usb"};
constexpr std::string_view kBridges[] = {"uart", "text-bridge"};
constexpr std::string_view kUart[] = {"uart"};
constexpr std::string_view kFtdi[] = {"ft2232c", "ft2232c-2", "talvo", "ft2232h", "ft4232h"};
constexpr std::string_view kU2c[] = {"u2c"};

struct Kind {
  FaultKind kind;
  std::string_view name;
  std::span<const std::string_view> adapters;
  Argument argument = Argument::kNone;
  bool stays = false;  // once it has struck; what is unplugged remembers that by itself
};

constexpr Kind kKinds[] = {
    {FaultKind::kNak, "nak", {}, Argument::kDevice},
    {FaultKind::kSdaLow, "sda-low", {}, Argument::kNone, kStays},
    {FaultKind::kSclLow, "scl-low", {}, Argument::kNone, kStays},
    {FaultKind::kFlashBusy, "flash-busy", {}, Argument::kNumberOrNone},  // ms an operation takes
    {FaultKind::kOpenRefused, "open-refused", {}},
    {FaultKind::kDiskFull, "disk-full", {}, Argument::kNumber},  // bytes that a file takes
    {FaultKind::kUsbStall, "usb-stall", kUsbBoards},
    {FaultKind::kUsbTimeOut, "usb-time-out", kUsbBoards},
    {FaultKind::kUsbShort, "usb-short", kUsbBoards},
    {FaultKind::kUsbStatus, "usb-status", kUsbBoards},
    {FaultKind::kUsbUnplug, "usb-unplug", kUsbBoards},
    {FaultKind::kLineSilent, "line-silent", kBridges},
    {FaultKind::kLineDelay, "line-delay", kBridges, Argument::kNumber},  // ms
    {FaultKind::kLineSplit, "line-split", kBridges, Argument::kNumber},  // ms
    {FaultKind::kLineJunk, "line-junk", kBridges, Argument::kNumber},    // bytes
    {FaultKind::kLineWidth, "line-width", kUart},
    {FaultKind::kLineGone, "line-gone", kBridges, Argument::kNone, kStays},
    {FaultKind::kD2xxFails, "d2xx-fails", kFtdi, Argument::kD2xx},
    {FaultKind::kShortWrite, "d2xx-short-write", kFtdi, Argument::kNumber},  // bytes that it takes
    {FaultKind::kNoAnswers, "ftdi-no-answers", kFtdi},
    {FaultKind::kUnplugged, "ftdi-unplug", kFtdi},
    {FaultKind::kU2cAbsent, "u2c-absent", kU2c},
    {FaultKind::kU2cFails, "u2c-fails", kU2c, Argument::kU2c},
};

const Kind& KindOf(FaultKind kind) { return *std::ranges::find(kKinds, kind, &Kind::kind); }

constexpr std::string_view kDevices[] = {"controller", "eeprom", "ten-bit"};

#define BRISK_D2XX_NAME(name, ...) "FT_" #name,
// NOLINTNEXTLINE(bugprone-suspicious-missing-comma): a prefix and a name make one
constexpr std::string_view kD2xxNames[] = {BRISK_D2XX_FUNCTIONS(BRISK_D2XX_NAME)};
#undef BRISK_D2XX_NAME
#define BRISK_U2C_NAME(name, ...) "U2C_" #name,
// NOLINTNEXTLINE(bugprone-suspicious-missing-comma): a prefix and a name make one
constexpr std::string_view kU2cNames[] = {BRISK_U2C_FUNCTIONS(BRISK_U2C_NAME)};
#undef BRISK_U2C_NAME

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

std::string CheckName(std::string_view what, std::string_view name,
                      std::span<const std::string_view> known) {
  if (std::ranges::find(known, name) != known.end()) return "";
  return UnknownName(what, name, {known.begin(), known.end()});
}

std::string CheckArgument(const Kind& kind, Fault* fault) {
  const std::string name(kind.name);
  if (fault->argument.empty()) {
    if (kind.argument != Argument::kNumber) return "";
    return "fault '" + name + "' needs a number, as in '" + name + ":1000'";
  }
  switch (kind.argument) {
    case Argument::kNone:
      return "fault '" + name + "' takes no argument";
    case Argument::kDevice:
      return CheckName("device", fault->argument, kDevices);
    case Argument::kD2xx:
      return CheckName("D2XX function", fault->argument, kD2xxNames);
    case Argument::kU2c:
      return CheckName("U2C function", fault->argument, kU2cNames);
    case Argument::kNumber:
    case Argument::kNumberOrNone:
      break;
  }
  if (ParseNumber(fault->argument, &fault->number)) return "";
  return "fault '" + name + "' takes a number, not '" + fault->argument + "'";
}

std::string CheckAdapters(const Kind& kind, const std::vector<std::string>& connected) {
  const auto among = [&](std::string_view one) {
    return std::ranges::find(connected, one) != connected.end();
  };
  if (kind.adapters.empty() || std::ranges::any_of(kind.adapters, among)) return "";
  std::string wrong =
      "fault '" + std::string(kind.name) + "' is of adapters that are not connected:";
  for (const std::string_view name : kind.adapters) wrong.append(" ").append(name);
  return wrong;
}

}  // namespace

std::string Faults::Parse(std::string_view text, const std::vector<std::string>& adapters,
                          Fault* fault) {
  const std::string whole(text);
  *fault = {};
  uint64_t percent = 100;
  if (!CutNumber(&text, '%', &percent) || percent > 100) {
    return "fault '" + whole + "': a chance is a whole number of percent, as in 'nak%5'";
  }
  const bool counted = text.find('@') != std::string_view::npos;
  if (!CutNumber(&text, '@', &fault->at) || (counted && fault->at == 0)) {
    return "fault '" + whole + "': an occasion is a number from 1, as in 'nak@3'";
  }
  fault->percent = static_cast<unsigned>(percent);
  const size_t colon = text.find(':');
  const std::string_view name = text.substr(0, colon);
  if (colon != std::string_view::npos) fault->argument = text.substr(colon + 1);
  for (const Kind& kind : kKinds) {
    if (kind.name != name) continue;
    fault->kind = kind.kind;
    std::string wrong = CheckArgument(kind, fault);
    return wrong.empty() ? CheckAdapters(kind, adapters) : wrong;
  }
  std::vector<std::string_view> known;
  for (const Kind& kind : kKinds) known.push_back(kind.name);
  return UnknownName("fault", name, known);
}

void Faults::Add(const Fault& fault) {
  const std::lock_guard lock(mutex_);
  set_.push_back({fault});
  any_ = true;
}

void Faults::Clear() {
  const std::lock_guard lock(mutex_);
  set_.clear();
  any_ = false;
}

bool Faults::Active(FaultKind kind) const {
  if (!any_) return false;
  const std::lock_guard lock(mutex_);
  return std::ranges::any_of(set_, [kind](const Set& set) {
    return set.fault.kind == kind && (set.stays || set.Always());
  });
}

// Each is asked, so that each counts.
const Faults::Set* Faults::Struck(FaultKind kind, std::string_view argument) {
  const Set* first = nullptr;
  for (Set& set : set_) {
    const Fault& fault = set.fault;
    if (fault.kind != kind) continue;
    if (!fault.argument.empty() && !argument.empty() && fault.argument != argument) continue;
    ++set.occasions;
    const bool itsTurn = fault.at == 0 || fault.at == set.occasions;
    const bool drawn = fault.percent == 100 || random_() % 100 < fault.percent;
    if (!set.stays && !(itsTurn && drawn)) continue;
    set.stays = KindOf(kind).stays;
    if (first == nullptr) first = &set;
  }
  return first;
}

bool Faults::Strikes(FaultKind kind, std::string_view argument) {
  if (!any_) return false;
  const std::lock_guard lock(mutex_);
  return Struck(kind, argument) != nullptr;
}

std::optional<uint64_t> Faults::Amount(FaultKind kind) {
  if (!any_) return std::nullopt;
  const std::lock_guard lock(mutex_);
  const Set* struck = Struck(kind, {});
  return struck != nullptr ? std::optional(struck->fault.number) : std::nullopt;
}

}  // namespace brisk::sim
