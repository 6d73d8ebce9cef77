#pragma once

#include <cstdio>

namespace brisk {

// Failures that the user of a tool is to see: the standard output, at once.
inline void TellUser(const char* message) {
  std::fputs(message, stdout);
  std::fflush(stdout);
}

}  // namespace brisk
