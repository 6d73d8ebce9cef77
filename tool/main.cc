#include <exception>

#include "command_line.h"
#include "console.h"
#include "report.h"
#include "session.h"

namespace brisk::tool {
namespace {

constexpr size_t kQuotedLines = 6;

// Another exception than Failure is one that no command foresaw: no memory, no folder for temporary
// files.
Outcome RunCommand(const CommandLine& line, Session& session) {
  try {
    return line.command.run(session);
  } catch (const Failure& failure) {
    return failure;
  } catch (const std::exception& error) {
    return OperationFailure("run " + line.command.name, error.what(),
                            "check memory and the folder for temporary files");
  }
}

int Run(const CommandLine& line) {
  Report report{stdout, stderr, line.options.json, line.command.name, {}, {}};
  if (line.failure) return report.Tell(Outcome(*line.failure));
  if (line.text) {
    std::fputs(line.text->c_str(), stdout);
    return kExitDone;
  }
  Console console(line.options.verbose);
  Session session(line.options, console);
  const Outcome outcome = RunCommand(line, session);
  report.out = console.out();
  report.err = console.err();
  report.warnings = console.warnings();
  const auto* const failure = std::get_if<Failure>(&outcome);
  if (failure != nullptr && failure->exitCode == kExitFailed) {
    report.libraryLines = console.LibraryLines(kQuotedLines);
  }
  return report.Tell(outcome);
}

}  // namespace
}  // namespace brisk::tool

int main(int argc, char** argv) {
  try {
    return brisk::tool::Run(brisk::tool::ParseCommandLine(argc, argv));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "brisk: %s\n", error.what());
    return brisk::tool::kExitFailed;
  }
}
