#include "command.h"
#include "text.h"

namespace brisk::tool {
namespace {

struct Arguments {
  std::vector<uint8_t> numbers;
};

Failure BoardDidNotAnswer(const Session& session, const std::string& tried) {
  return OperationFailure(tried, session.device().The() + " did not answer",
                          "check its cable and that its library or driver is installed");
}

Reply Get(Session& session, const Arguments& arguments) {
  const bool lines = arguments.numbers.empty();
  session.Ready(lines ? kLines : kRegisterRead);
  const uint8_t port = lines ? 0 : arguments.numbers[0];
  uint8_t value = 0;
  const bool done =
      lines ? session.api().Lpt_Input(&value) == 0 : session.api().GetPortVal(port, &value) != 0;
  if (!done) {
    throw BoardDidNotAnswer(
        session, lines ? "read the port's status lines" : "read port register " + Hex(port));
  }
  Reply reply{.text = Hex(value) + "\n"};
  if (!lines) reply.data["register"] = port;
  reply.data["value"] = value;
  return reply;
}

Reply Set(Session& session, const Arguments& arguments) {
  const bool lines = arguments.numbers.size() == 1;
  session.Ready(lines ? kLines : kRegisterWrite);
  const uint8_t port = arguments.numbers.front();
  const uint8_t value = arguments.numbers.back();
  const bool done =
      lines ? session.api().Lpt_Output(value) == 0 : session.api().SetPortVal(port, value) != 0;
  if (!done) {
    throw BoardDidNotAnswer(
        session, "write " + Hex(value) +
                     (lines ? " to the port's data lines" : " to port register " + Hex(port)));
  }
  Reply reply{.text = "wrote " + Hex(value) + (lines ? "" : " to register " + Hex(port)) + "\n"};
  if (!lines) reply.data["register"] = port;
  reply.data["value"] = value;
  return reply;
}

}  // namespace

void AddPortCommands(CLI::App& app, Command& chosen) {
  CLI::App& group = AddGroup(app, "port", "Read and write the port's lines or registers");

  const auto [get, read] =
      AddCommand(group, chosen, "get", "Read the status lines, or a numbered register", Get);
  AddBytes(get, "REGISTER", read.numbers, "register; without it the status lines")->expected(0, 1);

  const auto [set, written] =
      AddCommand(group, chosen, "set",
                 "Write the data lines (VALUE), or a numbered register (REGISTER VALUE; on ftdi "
                 "directions and levels of GPIOH0 to GPIOH3)",
                 Set);
  AddBytes(set, "NUMBERS", written.numbers, "VALUE, or REGISTER VALUE")->required()->expected(1, 2);
}

}  // namespace brisk::tool
