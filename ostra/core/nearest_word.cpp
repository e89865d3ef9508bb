#include "ostra/core/nearest_word.h"

#include <algorithm>
#include <utility>

#include "ostra/core/text_characters.h"

namespace ostra {
namespace {

constexpr std::size_t kMaxLength = 128;

}  // namespace

// The restricted edit distance of Damerau and Levenshtein, row by row.
Int GetEditDistance(std::string_view a, std::string_view b) {
  a = a.substr(0, kMaxLength);
  b = b.substr(0, kMaxLength);
  Int rows[3][kMaxLength + 1];
  Int *beforeLast = rows[0], *last = rows[1], *row = rows[2];
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = static_cast<Int>(j);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::swap(beforeLast, last);
    std::swap(last, row);
    row[0] = static_cast<Int>(i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const auto isSame = [&](std::size_t inA, std::size_t inB) { return ToLower(a[inA]) == ToLower(b[inB]); };
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (isSame(i - 1, j - 1) ? 0 : 1)});
      if (i > 1 && j > 1 && isSame(i - 1, j - 2) && isSame(i - 2, j - 1))
        row[j] = std::min(row[j], beforeLast[j - 2] + 1);
    }
  }
  return row[b.size()];
}

}  // namespace ostra
