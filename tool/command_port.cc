#include <memory>

#include "command.h"
#include "text.h"

namespace brisk::tool {
namespace {

struct Arguments {
  std::vector<uint8_t> numbers;
};

Failure BoardDidNotAnswer(const Session& session, const std::string& tried) {
  return OperationFailure(tried, std::string("the ") + session.device().text + " did not answer",
                          "check its cable and that its library or driver is installed");
}

Outcome GetLines(Session& session) {
  if (std::optional<Failure> failure = session.Ready(kLines)) return *failure;
  uint8_t value = 0;
  if (session.api().Lpt_Input(&value) != 0) {
    return BoardDidNotAnswer(session, "read the port's status lines");
  }
  Reply reply;
  reply.text = Hex(value) + "\n";
  reply.data["value"] = value;
  return reply;
}

Outcome SetLines(Session& session, uint8_t value) {
  if (std::optional<Failure> failure = session.Ready(kLines)) return *failure;
  if (session.api().Lpt_Output(value) != 0) {
    return BoardDidNotAnswer(session, "write " + Hex(value) + " to the port's data lines");
  }
  Reply reply;
  reply.text = "wrote " + Hex(value) + "\n";
  reply.data["value"] = value;
  return reply;
}

Outcome Get(Session& session, const Arguments& arguments) {
  if (arguments.numbers.empty()) return GetLines(session);
  if (std::optional<Failure> failure = session.Ready(kRegisterRead)) return *failure;
  const uint8_t port = arguments.numbers[0];
  uint8_t value = 0;
  if (session.api().GetPortVal(port, &value) == 0) {
    return BoardDidNotAnswer(session, "read port register " + Hex(port));
  }
  Reply reply;
  reply.text = Hex(value) + "\n";
  reply.data["register"] = port;
  reply.data["value"] = value;
  return reply;
}

Outcome Set(Session& session, const Arguments& arguments) {
  if (arguments.numbers.size() == 1) return SetLines(session, arguments.numbers[0]);
  if (std::optional<Failure> failure = session.Ready(kRegisterWrite)) return *failure;
  const uint8_t port = arguments.numbers[0];
  const uint8_t value = arguments.numbers[1];
  if (session.api().SetPortVal(port, value) == 0) {
    return BoardDidNotAnswer(session, "write " + Hex(value) + " to port register " + Hex(port));
  }
  Reply reply;
  reply.text = "wrote " + Hex(value) + " to register " + Hex(port) + "\n";
  reply.data["register"] = port;
  reply.data["value"] = value;
  return reply;
}

}  // namespace

void AddPortCommands(CLI::App& app, Command& chosen) {
  CLI::App* const group = AddGroup(app, "port", "Read and write the port's lines or registers");

  CLI::App* const get =
      group->add_subcommand("get", "Read the status lines, or a numbered register");
  auto getArguments = std::make_shared<Arguments>();
  AddBytes(get, "REGISTER", getArguments->numbers, "register; without it the status lines")
      ->expected(0, 1);
  OnCommand(get, chosen, getArguments, Get);

  CLI::App* const set = group->add_subcommand(
      "set",
      "Write the data lines (VALUE), or a numbered register (REGISTER VALUE; on ftdi "
      "directions and levels of GPIOH0 to GPIOH3)");
  auto setArguments = std::make_shared<Arguments>();
  AddBytes(set, "NUMBERS", setArguments->numbers, "VALUE, or REGISTER VALUE")
      ->required()
      ->expected(1, 2);
  OnCommand(set, chosen, setArguments, Set);
}

}  // namespace brisk::tool
