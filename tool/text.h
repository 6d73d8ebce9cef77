#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brisk::tool {

// A whole number in decimal or, with 0x, in hexadecimal; nothing else, and nothing above `limit`.
std::optional<uint32_t> ParseNumber(std::string_view text, uint32_t limit = UINT32_MAX);

// "0xF4" with at least `digits` upper-case digits.
std::string Hex(uint32_t value, int digits = 2);

// "F4 70 00".
std::string HexBytes(const std::vector<uint8_t>& bytes);

// "1.5 MiB", "300 bytes".
std::string Size(uint64_t bytes);

// The names that look like a misspelling of `word`, nearest first, at most three.
std::vector<std::string> Similar(std::string_view word, const std::vector<std::string>& names);

// "did you mean X?" or, when nothing is similar, "known: X, Y, Z".
std::string DidYouMean(std::string_view word, const std::vector<std::string>& names);

std::string Join(const std::vector<std::string>& parts, std::string_view separator);

}  // namespace brisk::tool
