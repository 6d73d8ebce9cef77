#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "outcome.h"

namespace brisk::tool {

// Tells how a run ended: text on `out` or `err`, or with `json` one object on `out`. Returns the
// exit code.
struct Report {
  std::FILE* out;
  std::FILE* err;
  bool json;
  std::string command;
  std::vector<std::string> warnings;
  std::vector<std::string> libraryLines;

  int Tell(const Outcome& outcome) const;

 private:
  int Tell(const Reply& reply) const;
  int Tell(const Failure& failure) const;
  void Print(const Json& object) const;
};

}  // namespace brisk::tool
