#include "base/debug.h"

#include <cstdarg>
#include <cstdio>

namespace brisk {

CDebug::~CDebug() = default;

void CDebug::Print(int32_t level, const char* format, ...) const {
  if (level > threshold_) return;
  char text[kMaxText + 1];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  text[kMaxText] = '\0';
  stream_.Write(text);
}

}  // namespace brisk
