#include "platform/debug_stream.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

#include "platform/linux/never_destroyed.h"
#include "platform/linux/parts.h"

namespace brisk::linux_system {
namespace {

// One write per text, past stdio's buffer, so that lines of several threads and processes stay
// whole.
class StandardError final : public DebugStream {
 public:
  void Write(const char* text) override {
    const size_t length = std::strlen(text);
    while (length > 0 && write(STDERR_FILENO, text, length) < 0 && errno == EINTR) {
    }
  }
};

}  // namespace

DebugStream& TheDebugStream() {
  static NeverDestroyed<StandardError> stream;
  return *stream;
}

}  // namespace brisk::linux_system
