#include "parallelprogram/kernelfront/edited_text.h"

namespace ostra::kernelfront {

std::size_t EditedText::FindAfterClosing(std::size_t open) const {
  const std::string_view opening = GetText(_tokens[open]);
  const std::string_view closing = opening == "(" ? ")" : opening == "{" ? "}" : ">";
  int depth = 0;
  for (std::size_t i = open; i < _tokens.size(); ++i) {
    if (Is(i, opening)) ++depth;
    if (Is(i, closing) && --depth == 0) return i + 1;
  }
  return 0;
}

std::string_view EditedText::GetLineAfter(std::size_t position) const {
  const std::size_t end = _text.find('\n', position);
  if (end == std::string_view::npos) return {};
  return _text.substr(end + 1, std::min(_text.find('\n', end + 1), _text.size()) - end - 1);
}

std::size_t EditedText::FindLineAfter(std::size_t position) const {
  const std::size_t end = FindEndOfLine(position);
  return std::min(_text.find_first_not_of(" \t\r", std::min(end + 1, _text.size())), _text.size());
}

void EditedText::Replace(std::size_t begin, std::size_t end, std::string replacement) {
  const auto known = _changes.find(begin);
  if (begin == end && known != _changes.end()) {
    known->second.replacement.insert(0, replacement);
    return;
  }
  _changes.erase(_changes.lower_bound(begin), _changes.lower_bound(end));
  _changes[begin] = {end, std::move(replacement)};
}

std::string EditedText::Take(std::size_t begin, std::size_t end) const {
  std::string result;
  std::size_t at = begin;
  for (auto change = _changes.lower_bound(begin); change != _changes.end() && change->first < end; ++change) {
    result += _text.substr(at, change->first - at);
    result += change->second.replacement;
    at = std::min(change->second.end, end);
    result.append(static_cast<std::size_t>(std::count(_text.begin() + change->first, _text.begin() + at, '\n')), '\n');
  }
  if (at < end) result += _text.substr(at, end - at);
  return result;
}

}  // namespace ostra::kernelfront
