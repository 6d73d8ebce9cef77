#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brisk::sim {

// "unknown option 'flahs'; did you mean 'flash'? known: adapter, flash, ..."; the guess only when a
// known name is near enough.
std::string UnknownName(std::string_view what, std::string_view given,
                        const std::vector<std::string_view>& known);

}  // namespace brisk::sim
