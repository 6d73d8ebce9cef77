#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/debug_stream.h"

namespace brisk {

// The debug log: printf-style lines to the debugger output stream, cut at 1023 characters. No line
// feed is added. Prints whatever its level is at most the threshold, which is 0 for good; every
// caller passes 0. Any thread may print. One object serves everything that a process attaches.
class CDebug {
 public:
  explicit CDebug(DebugStream& stream) : stream_(stream) {}
  CDebug(const CDebug&) = delete;
  CDebug& operator=(const CDebug&) = delete;
  virtual ~CDebug();

  void Print(int32_t level, const char* format, ...) const
#if defined(__MINGW32__)
      __attribute__((format(gnu_printf, 3, 4)));
#else
      __attribute__((format(printf, 3, 4)));
#endif

  static constexpr size_t kMaxText = 1023;

 private:
  DebugStream& stream_;
  int32_t threshold_ = 0;
};

}  // namespace brisk
