#pragma once

#include <optional>
#include <string>

#include "command.h"
#include "options.h"
#include "outcome.h"

namespace brisk::tool {

// What the arguments ask for: a command, or the help or version text, or why they cannot be
// understood.
struct CommandLine {
  Options options;
  Command command;
  std::optional<std::string> text;  // help or version
  std::optional<Failure> failure;
};

CommandLine ParseCommandLine(int argc, const char* const* argv);

}  // namespace brisk::tool
