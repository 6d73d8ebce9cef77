#include "text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <numeric>
#include <utility>

namespace brisk::tool {
namespace {

bool SameLetter(char a, char b) {
  return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
}

// Edit distance in which exchanging two neighbours counts once, since that is how people mistype.
size_t Distance(std::string_view a, std::string_view b) {
  std::vector<size_t> above(b.size() + 1);
  std::vector<size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 1; i <= a.size(); ++i) {
    std::vector<size_t> next(b.size() + 1, i);
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t replaced = row[j - 1] + (SameLetter(a[i - 1], b[j - 1]) ? 0 : 1);
      next[j] = std::min({row[j] + 1, next[j - 1] + 1, replaced});
      const bool exchanged =
          i > 1 && j > 1 && SameLetter(a[i - 1], b[j - 2]) && SameLetter(a[i - 2], b[j - 1]);
      if (exchanged) next[j] = std::min(next[j], above[j - 2] + 1);
    }
    above = std::move(row);
    row = std::move(next);
  }
  return row[b.size()];
}

}  // namespace

std::optional<uint32_t> ParseNumber(std::string_view text, uint32_t limit) {
  int base = 10;
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    base = 16;
    text.remove_prefix(2);
  }
  uint32_t value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value, base);
  if (error != std::errc() || stop != end || value > limit) return std::nullopt;
  return value;
}

std::string Hex(uint32_t value, int digits) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "0x%0*X", digits, static_cast<unsigned>(value));
  return text.data();
}

std::string HexBytes(const std::vector<uint8_t>& bytes) {
  std::string text;
  for (const uint8_t byte : bytes) {
    if (!text.empty()) text += ' ';
    text += Hex(byte).substr(2);
  }
  return text;
}

std::string Size(uint64_t bytes) {
  constexpr uint64_t kKiB = 1024;
  if (bytes < kKiB) return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
  const bool mega = bytes >= kKiB * kKiB;
  const double value = static_cast<double>(bytes) / static_cast<double>(mega ? kKiB * kKiB : kKiB);
  std::array<char, 32> text{};
  const bool whole = bytes % (mega ? kKiB * kKiB : kKiB) == 0;
  std::snprintf(text.data(), text.size(), "%.*f %s", whole ? 0 : 1, value, mega ? "MiB" : "KiB");
  return text.data();
}

std::vector<std::string> Similar(std::string_view word, const std::vector<std::string>& names) {
  std::vector<std::pair<size_t, std::string>> near;
  for (const std::string& name : names) {
    const size_t distance = Distance(word, name);
    const size_t allowed = std::max<size_t>(1, std::max(word.size(), name.size()) / 3);
    const bool begins = word.size() >= 2 && name.starts_with(word);
    if (begins || distance <= allowed) near.emplace_back(begins ? 0 : distance, name);
  }
  std::stable_sort(near.begin(), near.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> found;
  for (const auto& [distance, name] : near) {
    if (found.size() < 3) found.push_back(name);
  }
  return found;
}

std::string DidYouMean(std::string_view word, const std::vector<std::string>& names) {
  const std::vector<std::string> similar = Similar(word, names);
  if (similar.empty()) return "known: " + Join(names, ", ");
  return "did you mean " + Join(similar, " or ") + "?";
}

std::string Join(const std::vector<std::string>& parts, std::string_view separator) {
  std::string text;
  for (const std::string& part : parts) {
    if (!text.empty()) text += separator;
    text += part;
  }
  return text;
}

}  // namespace brisk::tool
