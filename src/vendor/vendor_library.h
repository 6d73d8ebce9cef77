#pragma once

#include <cstdint>

#include "base/debug.h"
#include "platform/libraries.h"

namespace brisk {

// Binds a function of a vendor's library, `libraryName` in the debug log, which says so when the
// library lacks it; false then.
template <typename Function>
bool BindFunction(DynamicLibrary& library, const char* libraryName, const char* name,
                  Function* function, uint16_t ordinal = 0) {
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast)
  *function = reinterpret_cast<Function>(library.Symbol(name, ordinal));
  if (*function != nullptr) return true;
  if (ordinal == 0) {
    debugLog.Print(0, "%s lacks %s\n", libraryName, name);
  } else {
    debugLog.Print(0, "%s lacks %s (ordinal %u)\n", libraryName, name, unsigned{ordinal});
  }
  return false;
}

}  // namespace brisk
