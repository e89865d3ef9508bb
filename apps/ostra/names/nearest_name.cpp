#include "apps/ostra/names/nearest_name.h"

#include <algorithm>
#include <vector>

namespace ostra::tool {

namespace {
char ToLower(char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter; }
}  // namespace

// The restricted edit distance of Damerau and Levenshtein, row by row.
Int GetEditDistance(std::string_view a, std::string_view b) {
  std::vector<Int> beforeLast(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = static_cast<Int>(j);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    beforeLast.swap(last);
    last.swap(row);
    row[0] = static_cast<Int>(i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const Bool isSame = ToLower(a[i - 1]) == ToLower(b[j - 1]);
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (isSame ? 0 : 1)});
      const Bool isExchanged =
          i > 1 && j > 1 && ToLower(a[i - 1]) == ToLower(b[j - 2]) && ToLower(a[i - 2]) == ToLower(b[j - 1]);
      if (isExchanged) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
    }
  }
  return row[b.size()];
}

std::string_view FindNearestName(std::string_view name, std::span<const std::string> names) {
  // More than a third of the letters wrong is another word.
  Int best = static_cast<Int>(name.size() + 2) / 3 + 1;
  std::string_view nearest;
  for (const std::string& candidate : names) {
    const Int distance = GetEditDistance(name, candidate);
    if (distance >= best) continue;
    best = distance;
    nearest = candidate;
  }
  return nearest;
}

std::string SuggestName(std::string_view name, std::span<const std::string> names) {
  if (names.empty()) return "; there are none";
  const std::string_view nearest = FindNearestName(name, names);
  if (!nearest.empty()) return "; did you mean \"" + std::string(nearest) + "\"?";
  std::string text = "; there ";
  text += names.size() == 1 ? "is" : "are";
  for (std::size_t i = 0; i < names.size(); ++i)
    text += (i == 0 ? " \"" : i + 1 == names.size() ? " and \"" : ", \"") + names[i] + "\"";
  return text;
}

}  // namespace ostra::tool
