#pragma once

#include <cstdio>

namespace brisk {

inline constexpr char kNoInputFile[] = "\nCan't open the input file.";
inline constexpr char kNoOutputFile[] = "\nCan't open the output file.";

// Failures that the user of a tool is to see: the standard output, at once.
inline void TellUser(const char* message) {
  std::fputs(message, stdout);
  std::fflush(stdout);
}

}  // namespace brisk
