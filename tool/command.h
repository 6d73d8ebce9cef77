#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "outcome.h"
#include "session.h"

namespace brisk::tool {

// The command that the command line chose.
struct Command {
  std::string name;
  std::function<Outcome(Session&)> run;
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
CLI::App* AddGroup(CLI::App& app, const std::string& name, const std::string& text);

// An option or argument that is a number, decimal or 0x hexadecimal.
CLI::Option* AddNumber(CLI::App* app, const std::string& name, uint32_t& value,
                       const std::string& text, uint32_t limit = UINT32_MAX);
CLI::Option* AddNumber(CLI::App* app, const std::string& name, std::optional<uint32_t>& value,
                       const std::string& text, uint32_t limit = UINT32_MAX);
CLI::Option* AddBytes(CLI::App* app, const std::string& name, std::vector<uint8_t>& bytes,
                      const std::string& text);

// `run` gets the session and the arguments, which live as long as the command line.
template <typename Arguments>
void OnCommand(CLI::App* app, Command& chosen, std::shared_ptr<Arguments> arguments,
               Outcome (*run)(Session&, const Arguments&)) {
  app->callback([app, &chosen, arguments, run] {
    const CLI::App* const group = app->get_parent();
    const bool grouped = group != nullptr && group->get_parent() != nullptr;
    chosen.name = (grouped ? group->get_name() + " " : std::string()) + app->get_name();
    chosen.run = [arguments, run](Session& session) { return run(session, *arguments); };
  });
}

template <typename Arguments>
CLI::App* AddCommand(CLI::App* group, Command& chosen, const char* name, const char* text,
                     const std::shared_ptr<Arguments>& arguments,
                     Outcome (*run)(Session&, const Arguments&)) {
  CLI::App* const app = group->add_subcommand(name, text);
  OnCommand(app, chosen, arguments, run);
  return app;
}

}  // namespace brisk::tool
