#include "apps/ostra/languageserver/word_page.h"

#include <algorithm>
#include <vector>

#include "ostra/core/text_characters.h"

namespace ostra::tool {
namespace {

// "| a | b |" without its ends, at each " | ".
std::vector<std::string_view> SplitCells(std::string_view line) {
  std::vector<std::string_view> cells;
  if (!line.starts_with("| ") || !line.ends_with(" |") || line.size() < 4) return cells;
  line = line.substr(2, line.size() - 4);
  for (std::size_t end = line.find(" | "); end != std::string_view::npos; end = line.find(" | ")) {
    cells.push_back(line.substr(0, end));
    line.remove_prefix(end + 3);
  }
  cells.push_back(line);
  return cells;
}

// Whether the cell has the word in backquotes, before the arguments that stand there.
bool HasWordInCode(std::string_view cell, std::string_view word) {
  for (std::size_t open = cell.find('`'); open != std::string_view::npos; open = cell.find('`', open)) {
    const std::size_t close = std::min(cell.find('`', open + 1), cell.size());
    std::string_view code = cell.substr(open + 1, close - open - 1);
    code = code.substr(0, code.find_first_of("(["));
    while (!code.empty()) {
      std::size_t size = 0;
      while (size < code.size() && IsWordCharacter(code[size])) ++size;
      if (size > 0 && code.substr(0, size) == word) return true;
      code.remove_prefix(std::max<std::size_t>(size, 1));
    }
    open = close + 1;
    if (open >= cell.size()) break;
  }
  return false;
}

// [text](place) as the text.
std::string RemoveLinks(std::string_view cell) {
  std::string text;
  while (!cell.empty()) {
    const std::size_t middle = cell.find("]("), open = cell.substr(0, middle).rfind('[');
    const std::size_t close = middle == std::string_view::npos ? middle : cell.find(')', middle);
    if (close == std::string_view::npos || open == std::string_view::npos) return text.append(cell);
    text.append(cell.substr(0, open)).append(cell.substr(open + 1, middle - open - 1));
    cell.remove_prefix(close + 1);
  }
  return text;
}

}  // namespace

std::optional<WordRow> FindWordRow(std::string_view page, std::string_view word) {
  while (!page.empty()) {
    const std::size_t end = std::min(page.find('\n'), page.size());
    const std::vector<std::string_view> cells = SplitCells(page.substr(0, end));
    page.remove_prefix(std::min(end + 1, page.size()));
    if (cells.size() < 2 || !HasWordInCode(cells[0], word)) continue;
    // Tables of stages have no column of the CPU.
    const bool isOfStages = cells.size() == 2 || cells[1] == "both" || cells[1] == "control" ||
                            cells[1] == "evaluation" || cells[1].starts_with("define");
    return WordRow{isOfStages ? "" : RemoveLinks(cells[1]), RemoveLinks(cells.back())};
  }
  return std::nullopt;
}

std::optional<WordRow> FindWordRow(std::string_view word) { return FindWordRow(kWordPage, word); }

}  // namespace ostra::tool
