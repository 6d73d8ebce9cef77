#include "sim/common/names.h"

#include <algorithm>
#include <numeric>

namespace brisk::sim {
namespace {

// Levenshtein distance, one row at a time.
size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row[b.size()];
}

}  // namespace

// Near enough is a third of the given letters, but two at least, and never the whole name.
std::string UnknownName(std::string_view what, std::string_view given,
                        const std::vector<std::string_view>& known) {
  std::string text = "unknown ";
  text.append(what).append(" '").append(given).append("'");
  std::string_view nearest;
  size_t least = std::max<size_t>(2, given.size() / 3) + 1;
  for (const std::string_view name : known) {
    const size_t distance = EditDistance(given, name);
    if (distance < least && distance < name.size()) {
      least = distance;
      nearest = name;
    }
  }
  if (!nearest.empty()) text.append("; did you mean '").append(nearest).append("'?");
  text.append(nearest.empty() ? "; known: " : " Known: ");
  for (size_t i = 0; i < known.size(); ++i) text.append(i == 0 ? "" : ", ").append(known[i]);
  return text;
}

}  // namespace brisk::sim
