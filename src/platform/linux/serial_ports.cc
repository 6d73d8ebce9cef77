#include "platform/linux/serial_ports.h"

// termios2 and BOTHER come from the kernel's header, which excludes <termios.h>.
#include <asm/termbits.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/serial.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"

namespace brisk::os {
namespace {

constexpr int kDrainStepMs = 1;

// A terminal device in raw mode, never blocking: what waits does so with poll and a limit.
class Tty final : public SerialPort {
 public:
  explicit Tty(int file) : file_(file) {}
  Tty(const Tty&) = delete;
  Tty& operator=(const Tty&) = delete;
  ~Tty() override { Close(); }

  void Configure(uint32_t bitsPerSecond) override;
  void Write(const uint8_t* bytes, size_t count) override;
  uint32_t BytesWaiting() override;
  size_t Read(uint8_t* buffer, size_t count) override;
  int Close() override;

 private:
  bool WaitForRoom() const;
  void Drain();

  int file_;
};

// The port's settings with everything off that would add, drop or change a byte. CLOCAL: a bridge
// need not raise carrier detect.
void MakeRaw(termios2* settings, uint32_t bitsPerSecond) {
  settings->c_iflag &= ~static_cast<tcflag_t>(IGNBRK | BRKINT | IGNPAR | PARMRK | INPCK | ISTRIP |
                                              INLCR | IGNCR | ICRNL | IUCLC | IXON | IXANY | IXOFF);
  settings->c_oflag &= ~static_cast<tcflag_t>(OPOST);
  settings->c_lflag &= ~static_cast<tcflag_t>(ISIG | ICANON | ECHO | ECHONL | IEXTEN);
  settings->c_cflag &= ~static_cast<tcflag_t>(CSIZE | CSTOPB | PARENB | CMSPAR | CBAUD | CIBAUD);
  settings->c_cflag |= CS8 | CREAD | CLOCAL | BOTHER | BOTHER << IBSHIFT;
  settings->c_ispeed = bitsPerSecond;
  settings->c_ospeed = bitsPerSecond;
  settings->c_cc[VMIN] = 0;
  settings->c_cc[VTIME] = 0;
}

// A pseudo-terminal or an odd driver may refuse; the port then goes on as it is.
void Tty::Configure(uint32_t bitsPerSecond) {
  termios2 settings{};
  if (file_ < 0 || ioctl(file_, TCGETS2, &settings) != 0) return;
  MakeRaw(&settings, bitsPerSecond);
  ioctl(file_, TCSETS2, &settings);
}

// A driver's queue takes a few kilobytes; what is beyond waits for room.
void Tty::Write(const uint8_t* bytes, size_t count) {
  while (file_ >= 0 && count > 0) {
    const ssize_t written = write(file_, bytes, count);
    if (written > 0) {
      bytes += written;
      count -= static_cast<size_t>(written);
    } else if (written == 0 || errno == EAGAIN) {
      if (!WaitForRoom()) return;
    } else if (errno != EINTR) {
      return;
    }
  }
}

// False when there is none within kPatienceMs, or never will be.
bool Tty::WaitForRoom() const {
  pollfd state{file_, POLLOUT, 0};
  return poll(&state, 1, TtyPorts::kPatienceMs) > 0 && (state.revents & POLLOUT) != 0 &&
         (state.revents & (POLLERR | POLLHUP | POLLNVAL)) == 0;
}

uint32_t Tty::BytesWaiting() {
  int count = 0;
  if (file_ < 0 || ioctl(file_, FIONREAD, &count) != 0 || count < 0) return 0;
  return static_cast<uint32_t>(count);
}

size_t Tty::Read(uint8_t* buffer, size_t count) {
  const ssize_t got = file_ < 0 ? 0 : read(file_, buffer, count);
  return got > 0 ? static_cast<size_t>(got) : 0;
}

// tcdrain would wait for ever on a line that its flow control holds up, and so would close for as
// long as the driver likes: look at the queue, and drop it when it no longer shrinks.
void Tty::Drain() {
  int queued = 0;
  int before = 0;
  int waitedMs = 0;
  while (ioctl(file_, TIOCOUTQ, &queued) == 0 && queued > 0) {
    if (queued != before) waitedMs = 0;
    before = queued;
    if (waitedMs >= TtyPorts::kPatienceMs) {
      ioctl(file_, TCFLSH, TCOFLUSH);
      return;
    }
    poll(nullptr, 0, kDrainStepMs);
    waitedMs += kDrainStepMs;
  }
}

int Tty::Close() {
  if (file_ < 0) return 0;
  Drain();
  ioctl(file_, TIOCNXCL);
  const int closed = close(file_);
  file_ = -1;
  return closed == 0 ? 1 : 0;
}

// Some USB adapters otherwise gather what has come for 16 ms, a good part of a reply time-out.
void AskForLowLatency(int file) {
  serial_struct settings{};
  if (ioctl(file, TIOCGSERIAL, &settings) != 0) return;
  settings.flags |= static_cast<int>(ASYNC_LOW_LATENCY);
  ioctl(file, TIOCSSERIAL, &settings);
}

std::string PathOf(const std::string& folder, unsigned number) {
  std::string named = folder + "COM" + std::to_string(number);
  struct stat status {};
  // Not stat: a link whose adapter is unplugged must not turn into the port of the same number.
  if (number == 0 || lstat(named.c_str(), &status) == 0) return named;
  return folder + "ttyS" + std::to_string(number - 1);
}

const char* Reason() { return std::strerror(errno); }  // NOLINT(concurrency-mt-unsafe)

}  // namespace

std::unique_ptr<SerialPort> TtyPorts::Open(unsigned number, std::string* whyNot) {
  const std::string path = PathOf(folder_, number);
  const auto fail = [&](const char* reason) {
    if (whyNot != nullptr) *whyNot = path + ": " + reason;
    return nullptr;
  };
  const int file = open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) return fail(errno == EBUSY ? "in use by another program" : Reason());
  const auto give_up = [&](const char* reason) {
    close(file);
    return fail(reason);
  };
  termios2 settings{};
  if (ioctl(file, TCGETS2, &settings) != 0) {
    // A legacy port without a chip behind it opens and then answers EIO.
    return give_up(errno == ENOTTY ? "not a serial port" : Reason());
  }
  if (flock(file, LOCK_EX | LOCK_NB) != 0) return give_up("in use by another program");
  ioctl(file, TIOCEXCL);
  AskForLowLatency(file);
  return std::make_unique<Tty>(file);
}

SerialPorts& TheSerialPorts() { return Permanent<TtyPorts>(); }

}  // namespace brisk::os
