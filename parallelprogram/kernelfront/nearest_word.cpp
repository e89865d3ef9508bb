#include "parallelprogram/kernelfront/nearest_word.h"

#include <algorithm>
#include <vector>

namespace ostra::kernelfront {
namespace {

char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::size_t GetDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = diagonal + (ToLower(a[i - 1]) == ToLower(b[j - 1]) ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row[b.size()];
}

}  // namespace

void NearestWord::Try(std::string_view candidate) {
  const std::size_t distance = GetDistance(_word, candidate);
  if (distance >= _best) return;
  _best = distance;
  _nearest = candidate;
}

}  // namespace ostra::kernelfront
