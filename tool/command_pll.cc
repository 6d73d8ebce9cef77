#include <array>
#include <cstdio>

#include "command.h"
#include "text.h"

namespace brisk::tool {
namespace {

struct Arguments {
  uint32_t target = 0;
  uint32_t reference = 0;
};

Failure NoSetting(const Arguments& arguments) {
  return OperationFailure("find divider settings for " + std::to_string(arguments.target) +
                              " from " + std::to_string(arguments.reference),
                          "no setting comes near enough",
                          "check both frequencies and their unit (pll clock: kHz)");
}

std::string Decimal(double value) {
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), "%.3f", value);
  return text.data();
}

Reply Clock(Session& session, const Arguments& arguments) {
  session.Ready(kPll);
  uint16_t divider = 0;
  uint16_t exponent = 0;
  uint16_t multiplier = 0;
  if (session.api().Pll_Clock(arguments.target, arguments.reference, &divider, &exponent,
                              &multiplier) != 0) {
    throw NoSetting(arguments);
  }
  // The codes are the reference divider less 2 and the multiplier less 3.
  const double n = divider + 2.0;
  const double m = multiplier + 3.0;
  const double result = m * arguments.reference / n / static_cast<double>(1ULL << exponent);
  return {"reference divider code " + Hex(divider) + ", post-divider exponent " +
              std::to_string(exponent) + ", multiplier code " + Hex(multiplier) + "\n" + "gives " +
              Decimal(result) + " for " + std::to_string(arguments.target) + "\n",
          {{"dividerCode", divider},
           {"exponent", exponent},
           {"multiplierCode", multiplier},
           {"frequency", result}}};
}

Reply Nandu(Session& session, const Arguments& arguments) {
  session.Ready(kPll);
  std::array<uint16_t, 3> bytes{};
  if (session.api().Pll_Nandu(arguments.target, arguments.reference, &bytes[0], &bytes[1],
                              &bytes[2]) != 0) {
    throw NoSetting(arguments);
  }
  const uint32_t word = uint32_t{bytes[0]} << 16U | uint32_t{bytes[1]} << 8U | bytes[2];
  return {"setting word " + Hex(word, 6) + ", bytes " + Hex(bytes[0]) + " " + Hex(bytes[1]) + " " +
              Hex(bytes[2]) + "\n",
          {{"word", word}, {"bytes", bytes}}};
}

void AddFrequencies(std::pair<CLI::App*, Arguments&> command) {
  AddNumber(command.first, "TARGET", command.second.target, "wanted frequency")->required();
  AddNumber(command.first, "REFERENCE", command.second.reference, "reference frequency")
      ->required();
}

}  // namespace

void AddPllCommands(CLI::App& app, Command& chosen) {
  CLI::App& group = AddGroup(app, "pll", "Compute divider settings of clock generators");
  AddFrequencies(
      AddCommand(group, chosen, "clock", "Divider, multiplier and post divider (kHz)", Clock));
  AddFrequencies(AddCommand(group, chosen, "nandu", "The 24-bit setting word", Nandu));
}

}  // namespace brisk::tool
