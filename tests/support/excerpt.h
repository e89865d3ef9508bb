// What messages show of a source: a line, and a caret below a column of it.
#pragma once

#include <string>
#include <string_view>

namespace ostra::test {

// "\n", the line of `text`, "\n" and the caret. Lines and columns count from 1; tabs in front of the caret stay tabs.
inline std::string MakeExcerpt(std::string_view text, int line, int column) {
  for (; line > 1; --line) text.remove_prefix(text.find('\n') + 1);
  text = text.substr(0, text.find('\n'));
  std::string caret(text.substr(0, static_cast<std::size_t>(column) - 1));
  for (char& c : caret)
    if (c != '\t') c = ' ';
  return std::string("\n").append(text).append("\n").append(caret).append("^");
}

}  // namespace ostra::test
