#include "command_line.h"

#include <algorithm>
#include <cstring>

#include "text.h"

namespace brisk::tool {
namespace {

constexpr const char* kVersion = "brisk 6.0.0";

void SetDevice(Options& options, const std::string& name) {
  options.device = FindDevice(name);
  if (options.device == nullptr) {
    throw CLI::ValidationError(
        "--device", "there is no \"" + name + "\"; " + DidYouMean(name, DevicesThatCan(0)));
  }
}

void AddOptions(CLI::App& app, Options& options) {
  app.add_flag_function(
      "--sim", [&options](int64_t) { options.simulated = true; },
      "Use the simulated bench; --sim=PARAMS sets it up, as in flash=w25q32,image=flash.bin");
  app.add_option_function<std::string>(
         "--device,-d", [&options](const std::string& name) { SetDevice(options, name); },
         "Interface hardware, by name or number (default lpt): " + Join(DevicesThatCan(0), ", "))
      ->type_name("TYPE");
  AddNumber(&app, "--rate", options.rate, "Bus clock in kHz");
  AddNumber(&app, "--com", options.comPort, "Serial port number for uart and text-bridge", 255);
  AddNumber(&app, "--baud", options.baud,
            "Its rate (default: 57600 for uart, 115200 for text-bridge)");
  app.add_option("--trace", options.trace, "Write every line of the simulated bench to a VCD file")
      ->type_name("FILE.vcd");
  app.add_option("--firmware", options.firmware,
                 "Firmware for tcon-usb (default: firmware.hex in the working directory)")
      ->type_name("FILE");
  app.add_flag("--json", options.json, "Print one JSON object on standard output");
  app.add_flag("-v,--verbose", options.verbose, "Show the library's own log on standard error");
}

// --sim takes its value only behind "=", so that the word after it is always the command.
void TakeSimulation(std::vector<std::string>& arguments, Options& options) {
  constexpr std::string_view kSim = "--sim=";
  for (std::string& argument : arguments) {
    if (argument.starts_with(kSim)) {
      options.simulation = argument.substr(kSim.size());
      argument = "--sim";
    }
  }
}

std::vector<std::string> CommandNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* const command : app.get_subcommands(nullptr)) {
    names.push_back(command->get_name());
  }
  return names;
}

void AppendOptionNames(const CLI::App& app, std::vector<std::string>& names) {
  for (const CLI::Option* const option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
}

// The command that parsing had reached.
const CLI::App& Deepest(const CLI::App& app) {
  const CLI::App* reached = &app;
  while (!reached->get_subcommands().empty()) reached = reached->get_subcommands().back();
  return *reached;
}

std::string FullName(const CLI::App& app) {
  if (app.get_parent() == nullptr) return "brisk";
  return FullName(*app.get_parent()) + " " + app.get_name();
}

Failure UnknownWord(const CLI::App& reached, const std::string& word) {
  std::vector<std::string> names;
  if (word.starts_with("-")) {
    for (const CLI::App* app = &reached; app != nullptr; app = app->get_parent()) {
      AppendOptionNames(*app, names);
    }
    const std::string bare = word.substr(0, word.find('='));
    return UsageFailure("understand the option " + word, FullName(reached) + " does not have it",
                        DidYouMean(bare, names));
  }
  names = CommandNames(reached);
  if (names.empty()) {
    return UsageFailure("understand \"" + word + "\"",
                        FullName(reached) + " has all its arguments before it",
                        "see " + FullName(reached) + " --help");
  }
  return UsageFailure("understand the command \"" + word + "\"",
                      FullName(reached) + " does not have it", DidYouMean(word, names));
}

Failure Explain(const CLI::App& app, const CLI::ParseError& error) {
  const CLI::App& reached = Deepest(app);
  std::vector<std::string> unknown = app.remaining(true);
  std::erase(unknown, "--");
  if (!unknown.empty()) return UnknownWord(reached, unknown.front());
  const std::vector<std::string> commands = CommandNames(reached);
  if (!commands.empty() && dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
    return UsageFailure("run " + FullName(reached), "no command was given",
                        "give one of: " + Join(commands, ", "));
  }
  return UsageFailure("understand the command line", error.what(),
                      "see " + FullName(reached) + " --help");
}

void CheckTogether(const Options& options) {
  if (!options.trace.empty() && !options.simulated) {
    throw UsageFailure("trace to " + options.trace,
                       "only the simulated bench sees every line; real lines cannot be recorded",
                       "add --sim, or put a logic analyser on the board");
  }
  if ((options.comPort || options.baud) && !options.device->serial) {
    throw UsageFailure("use --com or --baud", options.device->The() + " is on no serial port",
                       "add --device uart or --device text-bridge");
  }
  if (options.comPort == 0U || options.baud == 0U || options.rate == 0U) {
    throw UsageFailure("use --com, --baud or --rate", "0 is none", "give a number from 1 on");
  }
}

}  // namespace

CommandLine ParseCommandLine(int argc, const char* const* argv) {
  CommandLine line;
  std::vector<std::string> arguments(argv + 1, argv + argc);
  TakeSimulation(arguments, line.options);
  // Known even when the rest cannot be understood.
  line.options.json = std::find(arguments.begin(), arguments.end(), "--json") != arguments.end();
  std::reverse(arguments.begin(), arguments.end());

  CLI::App app("Reaches the buses of a display timing controller's board.", "brisk");
  app.require_subcommand(1);
  app.fallthrough();
  app.set_version_flag("--version", kVersion);
  AddOptions(app, line.options);
  AddDevicesCommand(app, line.command);
  AddI2cCommands(app, line.command);
  AddStringCommand(app, line.command);
  AddFlashCommands(app, line.command);
  AddPictureCommands(app, line.command);
  AddPllCommands(app, line.command);
  AddPortCommands(app, line.command);
  AddFtdiCommands(app, line.command);
  try {
    app.parse(arguments);
    CheckTogether(line.options);
  } catch (const CLI::CallForHelp&) {
    line.text = Deepest(app).help();
  } catch (const CLI::CallForVersion&) {
    line.text = std::string(kVersion) + "\n";
  } catch (const Failure& failure) {
    line.failure = failure;
  } catch (const CLI::ParseError& error) {
    line.failure = Explain(app, error);
  }
  return line;
}

}  // namespace brisk::tool
