#include "base/debug.h"

#include <cstdarg>
#include <cstdio>

#include "platform/platform.h"

namespace brisk {

// Constant-initialised: usable by every constructor that runs when the library is loaded.
constinit CDebug debugLog;

CDebug::~CDebug() = default;

void CDebug::Print(int32_t level, const char* format, ...) const {
  if (level > threshold_) return;
  char text[kMaxText + 1];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  text[kMaxText] = '\0';
  platform().debugStream.Write(text);
}

}  // namespace brisk
