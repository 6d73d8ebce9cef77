#pragma once

namespace brisk::u2c {

// Where this back end's failure texts go. It writes nothing: a debugger's breakpoint finds them
// here.
template <typename... Arguments>
void SilentTrace(const char* /*format*/, Arguments... /*arguments*/) {}

inline constexpr char kSourcePath[] = ".\\u2c";

}  // namespace brisk::u2c
