#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "outcome.h"
#include "session.h"

namespace brisk::tool {

// The command that the command line chose.
struct Command {
  std::string name;
  std::function<Reply(Session&)> run;
};

void AddDevicesCommand(CLI::App& app, Command& chosen);
void AddI2cCommands(CLI::App& app, Command& chosen);
void AddStringCommand(CLI::App& app, Command& chosen);
void AddFlashCommands(CLI::App& app, Command& chosen);
void AddPictureCommands(CLI::App& app, Command& chosen);
void AddPllCommands(CLI::App& app, Command& chosen);
void AddPortCommands(CLI::App& app, Command& chosen);
void AddFtdiCommands(CLI::App& app, Command& chosen);

// A group of commands, of which one must be given.
CLI::App& AddGroup(CLI::App& app, const std::string& name, const std::string& text);

// The number that `text` gives to the option `name`, decimal or 0x hexadecimal.
uint32_t OptionNumber(const std::string& name, const std::string& text, uint32_t limit);

// An option or argument that is a number.
template <typename Target>
CLI::Option* AddNumber(CLI::App* app, const std::string& name, Target& value,
                       const std::string& text, uint32_t limit = UINT32_MAX) {
  const auto store = [&value, name, limit](const std::string& given) {
    value = OptionNumber(name, given, limit);
  };
  return app->add_option_function<std::string>(name, store, text)->type_name("NUMBER");
}

CLI::Option* AddBytes(CLI::App* app, const std::string& name, std::vector<uint8_t>& bytes,
                      const std::string& text);

// `run` gets the session and the arguments, which live as long as the command line. Returns the
// command for its options and the arguments for them to fill.
template <typename Arguments>
std::pair<CLI::App*, Arguments&> AddCommand(CLI::App& group, Command& chosen, const char* name,
                                            const char* text,
                                            Reply (*run)(Session&, const Arguments&)) {
  CLI::App* const app = group.add_subcommand(name, text);
  const auto arguments = std::make_shared<Arguments>();
  const std::string fullName = (group.get_parent() != nullptr ? group.get_name() + " " : "") + name;
  app->callback([&chosen, fullName, arguments, run] {
    chosen.name = fullName;
    chosen.run = [arguments, run](Session& session) { return run(session, *arguments); };
  });
  return {app, *arguments};
}

}  // namespace brisk::tool
