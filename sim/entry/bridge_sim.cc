// A simulated bridge with its board behind a pseudo-terminal. It prints the terminal's path, which
// stands for the serial port: link /dev/COM9 (or, under Wine, dosdevices/com9) to it and connect to
// port 9.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <string>
#include <termios.h>
#include <unistd.h>
#include <vector>

#include "sim/adapters/bridges/bridge_adapter.h"
#include "sim/board/timing_controller.h"
#include "sim/config/bench.h"

namespace brisk::sim {
namespace {

constexpr int kUsageError = 2;

struct Arguments {
  bool text = false;
  bool registers = false;
  uint32_t rate = 0;
  uint32_t pauseMs = 5;
  std::vector<std::string> bench;
};

const char* AdapterName(const Arguments& arguments) {
  return arguments.text ? "text-bridge" : "uart";
}

// False when the program is to end, with `exitCode`: it has told what is wrong, or its help.
bool ParseArguments(int count, char** given, Arguments* arguments, int* exitCode) {
  CLI::App app("A simulated serial bridge behind a pseudo-terminal, whose path it prints");
  app.name("brisk_bridge_sim");
  app.add_flag("--text", arguments->text, "The text bridge; without it the UART bridge");
  app.add_option("--rate", arguments->rate,
                 "The line's speed in bits per second; without it bytes take no time");
  app.add_option("--pause", arguments->pauseMs,
                 "Milliseconds between the characters that the text bridge sends until it is told "
                 "to stop; a PC that is kept waiting for longer gets one too many")
      ->capture_default_str();
  app.add_flag("--registers", arguments->registers,
               "End at the end of standard input and print the controller's 256 registers");
  app.add_option("OPTIONS", arguments->bench,
                 "Of the bench, as in ten-bit=0x2A5,fault=line-delay:5%10");
  app.footer("Options of the bench:\n" + OptionsHelp());
  try {
    app.parse(count, given);
    return true;
  } catch (const CLI::ParseError& error) {
    *exitCode = app.exit(error) == 0 ? 0 : kUsageError;
    return false;
  }
}

// The PC's end is the terminal's path; this program has the other one.
class Terminal {
 public:
  Terminal() : descriptor_(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK)) {}
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  ~Terminal() {
    if (descriptor_ >= 0) close(descriptor_);
  }

  bool Prepare() {
    termios settings{};
    if (descriptor_ < 0 || grantpt(descriptor_) != 0 || unlockpt(descriptor_) != 0 ||
        tcgetattr(descriptor_, &settings) != 0) {
      return false;
    }
    cfmakeraw(&settings);
    return tcsetattr(descriptor_, TCSANOW, &settings) == 0;
  }

  int descriptor() const { return descriptor_; }
  const char* Path() const { return ptsname(descriptor_); }

 private:
  const int descriptor_;
};

// -1 = until something comes. At most a second, so that a clock that is moved does no harm.
int MillisecondsUntilWork(const SerialLine& line, const VirtualClock& clock) {
  const auto wake = line.WakeAt();
  if (!wake) return -1;
  const uint64_t now = clock.Now();
  return *wake <= now ? 0 : static_cast<int>(std::min<uint64_t>((*wake - now) / 1'000'000, 1000));
}

void WriteAll(int descriptor, const uint8_t* bytes, size_t count) {
  while (count != 0) {
    const ssize_t written = write(descriptor, bytes, count);
    if (written < 0 && errno != EAGAIN && errno != EINTR) return;  // nobody has the port open
    if (written <= 0) continue;
    bytes += written;
    count -= static_cast<size_t>(written);
  }
}

// Until standard input ends, when `untilEnd`; else for good. False when the terminal fails.
bool Serve(const Terminal& terminal, SerialLine& line, const VirtualClock& clock, bool untilEnd) {
  uint8_t buffer[4096];
  for (;;) {
    // The PC's bytes may have come as early as this. On a busy machine this program runs late; the
    // bridge it stands for does not.
    const uint64_t lastLooked = clock.Now();
    pollfd files[] = {{terminal.descriptor(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    if (poll(files, untilEnd ? 2 : 1, MillisecondsUntilWork(line, clock)) < 0 && errno != EINTR) {
      return false;
    }
    if ((files[0].revents & POLLIN) != 0) {
      const ssize_t count = read(terminal.descriptor(), buffer, sizeof buffer);
      if (count > 0) line.Send({buffer, static_cast<size_t>(count)}, lastLooked);
    } else if ((files[0].revents & POLLHUP) != 0) {
      usleep(2000);  // nobody has the port open
    }
    const size_t count = line.Take(buffer, sizeof buffer);
    WriteAll(terminal.descriptor(), buffer, count);
    if ((files[1].revents & (POLLIN | POLLHUP)) != 0 &&
        read(STDIN_FILENO, buffer, sizeof buffer) == 0) {
      return true;
    }
  }
}

void PrintRegisters(Bench& bench) {
  for (unsigned i = 0; i < 256; ++i) {
    std::printf("%02X", bench.board().controller().Register(static_cast<uint8_t>(i)));
  }
  std::printf("\n");
}

// Null when the options are wrong, which standard error is told.
std::unique_ptr<Bench> MakeBench(const Arguments& arguments) {
  std::string text = std::string("clock=real,adapter=") + AdapterName(arguments);
  for (const std::string& option : arguments.bench) text += "," + option;
  Options options;
  std::string wrong = ParseOptions(text, &options);
  std::unique_ptr<Bench> bench = wrong.empty() ? Bench::Make(options, &wrong) : nullptr;
  if (bench == nullptr) std::fprintf(stderr, "brisk_bridge_sim: %s\n", wrong.c_str());
  return bench;
}

// The line of the bench's bridge, which nothing opens on the PC's side. Null when the options have
// connected something else, which standard error is told.
SerialLine* LineOf(Bench& bench, const Arguments& arguments) {
  auto* adapter = dynamic_cast<BridgeAdapter*>(bench.adapter(AdapterName(arguments)));
  if (adapter != nullptr) return &adapter->line();
  std::fprintf(stderr, "brisk_bridge_sim: the adapter is %s, no other\n", AdapterName(arguments));
  return nullptr;
}

int Main(int count, char** given) {
  Arguments arguments;
  int exitCode = 0;
  if (!ParseArguments(count, given, &arguments, &exitCode)) return exitCode;
  const std::unique_ptr<Bench> bench = MakeBench(arguments);
  SerialLine* const found = bench != nullptr ? LineOf(*bench, arguments) : nullptr;
  if (found == nullptr) return kUsageError;
  SerialLine& line = *found;
  Terminal terminal;
  if (!terminal.Prepare()) {
    std::fprintf(stderr, "brisk_bridge_sim: no pseudo-terminal: %s\n", std::strerror(errno));
    return 1;
  }
  line.SetRate(arguments.rate);
  line.SetLeastPause(uint64_t{arguments.pauseMs} * 1'000'000);
  std::printf("%s\n", terminal.Path());
  std::fflush(stdout);
  if (!Serve(terminal, line, bench->clock(), arguments.registers)) return 1;
  PrintRegisters(*bench);
  return 0;
}

}  // namespace
}  // namespace brisk::sim

int main(int count, char** arguments) {
  try {
    return brisk::sim::Main(count, arguments);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "brisk_bridge_sim: %s\n", error.what());
    return 1;
  }
}
