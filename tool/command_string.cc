#include <array>
#include <cctype>

#include "command.h"
#include "text.h"

namespace brisk::tool {
namespace {

constexpr size_t kReadLength = 9;
constexpr size_t kHeadLength = 5;

struct Arguments {
  std::string command;
};

bool HexField(const std::string& text, size_t at) {
  return at + 2 <= text.size() && std::isxdigit(static_cast<unsigned char>(text[at])) != 0 &&
         std::isxdigit(static_cast<unsigned char>(text[at + 1])) != 0;
}

// Nine characters that end in a size character read: as a write, the last item would lack digits.
bool IsRead(const std::string& text) {
  return text.size() == kReadLength && std::string("-=+").find(text.back()) != std::string::npos;
}

// How many bytes follow an introducer; 0 when it is none.
size_t ItemBytes(char introducer) { return std::string("-=+").find(introducer) + 1; }

// The library sends a malformed field as 0; here it is refused before anything is sent. Empty when
// the command is well formed.
std::string Fault(const std::string& text) {
  const auto badField = [](size_t at) {
    return "two hex digits are expected at character " + std::to_string(at + 1);
  };
  if (!HexField(text, 0)) return badField(0);
  if (!HexField(text, 3)) return badField(3);
  if (IsRead(text)) return HexField(text, 6) ? "" : badField(6);
  size_t at = kHeadLength;
  while (at < text.size() && text[at] != '.') {
    const size_t bytes = ItemBytes(text[at]);
    if (bytes == 0)
      return "'-', '=', '+' or '.' is expected at character " + std::to_string(at + 1);
    ++at;
    for (size_t i = 0; i < bytes; ++i, at += 2) {
      if (!HexField(text, at)) return badField(at);
    }
  }
  return at + 1 < text.size() ? "nothing may follow the full stop" : "";
}

Failure NoAnswer(const Session& session, const std::string& tried) {
  return OperationFailure(tried, "no acknowledge from the device",
                          "check power and wiring of the board, and what answers at all: " +
                              session.device().ScanCommand());
}

Reply Run(Session& session, const Arguments& arguments) {
  const std::string& command = arguments.command;
  const std::string fault = Fault(command);
  if (!fault.empty()) {
    throw UsageFailure("understand the command \"" + command + "\"", fault,
                       "write like F4-10=1234 (device-register, then -aa, =aabb or +aabbcc), read "
                       "like F4-70-F5= (-, = or + for one to three bytes)");
  }
  session.Ready(kString);
  if (!IsRead(command)) {
    if (session.api().I2c_String(command.c_str()) != 0) {
      throw NoAnswer(session, "send " + command);
    }
    return {"done\n", {{"string", command}}};
  }
  std::array<char, 16> result{};
  if (session.api().I2c_ReadString(result.data(), command.c_str()) != 0) {
    throw NoAnswer(session, "read " + command);
  }
  const std::string digits = result.data();
  return {
      digits + "\n",
      {{"string", command}, {"digits", digits}, {"value", ParseNumber("0x" + digits).value_or(0)}}};
}

}  // namespace

void AddStringCommand(CLI::App& app, Command& chosen) {
  const auto [string, arguments] =
      AddCommand(app, chosen, "string", "Run one I2C string command", Run);
  string->add_option("COMMAND", arguments.command, "F4-10=1234 writes, F4-70-F5= reads")
      ->required();
}

}  // namespace brisk::tool
