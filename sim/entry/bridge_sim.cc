// A simulated bridge with its board behind a pseudo-terminal. It prints the terminal's path, which
// stands for the serial port: link /dev/COM9 (or, under Wine, dosdevices/com9) to it and connect to
// port 9.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <string>
#include <string_view>
#include <termios.h>
#include <unistd.h>

#include "sim/adapters/bridges/serial_line.h"
#include "sim/board/timing_controller.h"
#include "sim/config/bench.h"

namespace brisk::sim {
namespace {

constexpr char kUsage[] =
    "usage: brisk_bridge_sim [--text] [--rate N] [--pause N] [--registers] [OPTIONS]\n"
    "  --text       the text bridge; without it the UART bridge\n"
    "  --rate N     the line's speed in bits per second; without it bytes take no time\n"
    "  --pause N    milliseconds between the characters that the text bridge sends until it is\n"
    "               told to stop; 5. A PC that is kept waiting for longer gets one too many.\n"
    "  --registers  end at the end of standard input and print the controller's 256 registers\n"
    "  OPTIONS      of the bench, as in ten-bit=0x2A5,fault=line-delay:5%10:\n";

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

int Main(int count, char** arguments) {
  std::string text = "clock=real,adapter=none";
  FirmwareMaker firmware = MakeUartFirmware;
  uint32_t rate = 0;
  uint32_t pauseMs = 5;
  bool registers = false;
  for (int i = 1; i < count; ++i) {
    const std::string_view argument = arguments[i];
    if (argument == "--text") {
      firmware = MakeTextFirmware;
    } else if (argument == "--registers") {
      registers = true;
    } else if ((argument == "--rate" || argument == "--pause") && i + 1 < count) {
      uint32_t& number = argument == "--rate" ? rate : pauseMs;
      number = static_cast<uint32_t>(std::strtoul(arguments[++i], nullptr, 10));
    } else if (argument.starts_with("-")) {
      std::fprintf(stderr, "%s%s", kUsage, OptionsHelp().c_str());
      return 2;
    } else {
      text += "," + std::string(argument);
    }
  }
  Options options;
  std::string wrong = ParseOptions(text, &options);
  const std::unique_ptr<Bench> made = wrong.empty() ? Bench::Make(options, &wrong) : nullptr;
  if (made == nullptr) {
    std::fprintf(stderr, "brisk_bridge_sim: %s\n", wrong.c_str());
    return 2;
  }
  Terminal terminal;
  if (!terminal.Prepare()) {
    std::fprintf(stderr, "brisk_bridge_sim: no pseudo-terminal: %s\n", std::strerror(errno));
    return 1;
  }
  SerialLine line(firmware, made->board(), made->clock(), made->faults());
  line.SetRate(rate);
  line.SetLeastPause(uint64_t{pauseMs} * 1'000'000);
  std::printf("%s\n", terminal.Path());
  std::fflush(stdout);
  if (!Serve(terminal, line, made->clock(), registers)) return 1;
  PrintRegisters(*made);
  return 0;
}

}  // namespace
}  // namespace brisk::sim

int main(int count, char** arguments) { return brisk::sim::Main(count, arguments); }
