#include <array>
#include <cctype>
#include <memory>

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

size_t ItemBytes(char introducer) {
  switch (introducer) {
    case '-':
      return 1;
    case '=':
      return 2;
    case '+':
      return 3;
    default:
      return 0;
  }
}

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

Failure NoAnswer(const Session& session, const std::string& tried, const std::string& got) {
  return OperationFailure(tried, got,
                          std::string("check power and wiring of the board, and what answers at "
                                      "all: brisk --device ") +
                              session.device().name + " i2c scan");
}

Outcome Run(Session& session, const Arguments& arguments) {
  const std::string& command = arguments.command;
  const std::string fault = Fault(command);
  if (!fault.empty()) {
    return UsageFailure("understand the command \"" + command + "\"", fault,
                        "write like F4-10=1234 (device-register, then -aa, =aabb or +aabbcc), read "
                        "like F4-70-F5= (-, = or + for one to three bytes)");
  }
  if (std::optional<Failure> failure = session.Ready(kString)) return *failure;
  Reply reply;
  reply.data["string"] = command;
  if (!IsRead(command)) {
    if (session.api().I2c_String(command.c_str()) != 0) {
      return NoAnswer(session, "send " + command, "no acknowledge from the device");
    }
    reply.text = "done\n";
    return reply;
  }
  std::array<char, 16> result{};
  if (session.api().I2c_ReadString(result.data(), command.c_str()) != 0) {
    return NoAnswer(session, "read " + command, "no acknowledge from the device");
  }
  const std::string digits = result.data();
  reply.text = digits + "\n";
  reply.data["digits"] = digits;
  reply.data["value"] = ParseNumber("0x" + digits).value_or(0);
  return reply;
}

}  // namespace

void AddStringCommand(CLI::App& app, Command& chosen) {
  CLI::App* const string = app.add_subcommand("string", "Run one I2C string command");
  auto arguments = std::make_shared<Arguments>();
  string->add_option("COMMAND", arguments->command, "F4-10=1234 writes, F4-70-F5= reads")
      ->required();
  OnCommand(string, chosen, arguments, Run);
}

}  // namespace brisk::tool
