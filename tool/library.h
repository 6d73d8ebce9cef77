#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_extensions.h"
#include "brisk/brisk_ftdi.h"
#include "brisk/brisk_serial.h"
#include "brisk/brisk_sim.h"

#include "functions.h"
#include "outcome.h"

namespace brisk::tool {

// The functions of functions.h under their own names. Those that a library may lack stay null.
struct Api {
// NOLINTBEGIN(bugprone-macro-parentheses): a name that is declared takes none.
#define BRISK_TOOL_MEMBER(name) decltype(&::name) name = nullptr;
#define BRISK_TOOL_NAMED_MEMBER(name, windowsName) BRISK_TOOL_MEMBER(name)
  BRISK_TOOL_FUNCTIONS(BRISK_TOOL_MEMBER, BRISK_TOOL_NAMED_MEMBER, BRISK_TOOL_MEMBER)
#undef BRISK_TOOL_NAMED_MEMBER
#undef BRISK_TOOL_MEMBER
  // NOLINTEND(bugprone-macro-parentheses)
};

// The library, loaded at run time: the real one, or the one over the simulated bench.
class Library {
 public:
  Library() = default;
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  // Looks beside the executable, in the lib folder next to its folder, then where the system keeps
  // libraries.
  std::optional<Failure> Load(bool simulated);

  const Api& api() const { return api_; }
  const std::string& path() const { return path_; }

 private:
  std::optional<Failure> Bind(bool simulated);

  void* handle_ = nullptr;
  std::string path_;
  Api api_;
};

}  // namespace brisk::tool
