#pragma once

namespace brisk::u2c {

// Where the adapter's failure texts go. It writes nothing: these failures are not reported, and the
// calls say in the code which they are.
template <typename... Arguments>
void SilentTrace(const char* /*format*/, Arguments... /*arguments*/) {}

inline constexpr char kSourcePath[] = ".\\u2c";

}  // namespace brisk::u2c
