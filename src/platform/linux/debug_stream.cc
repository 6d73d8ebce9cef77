#include "platform/debug_stream.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <unistd.h>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"

namespace brisk::os {
namespace {

// A pipe that nobody reads any more must not end the process: while this lives, the thread's
// SIGPIPE is held back, and the one that a write has raised is taken away.
class NoPipeSignal {
 public:
  NoPipeSignal() {
    sigemptyset(&pipe_);
    sigaddset(&pipe_, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    wasPending_ = sigismember(&pending, SIGPIPE) != 0;
    pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
  }
  NoPipeSignal(const NoPipeSignal&) = delete;
  NoPipeSignal& operator=(const NoPipeSignal&) = delete;
  ~NoPipeSignal() {
    const timespec noTime{};
    if (!wasPending_) sigtimedwait(&pipe_, nullptr, &noTime);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }

 private:
  sigset_t pipe_{};
  sigset_t before_{};
  bool wasPending_ = false;
};

// One write per text, past stdio's buffer, so that lines of several threads and processes stay
// whole.
class StandardError final : public DebugStream {
 public:
  void Write(const char* text) override {
    const size_t length = std::strlen(text);
    const NoPipeSignal quiet;
    while (length > 0 && write(STDERR_FILENO, text, length) < 0 && errno == EINTR) {
    }
  }
};

}  // namespace

DebugStream& TheDebugStream() { return Permanent<StandardError>(); }

}  // namespace brisk::os
