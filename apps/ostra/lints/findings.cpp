#include "apps/ostra/lints/findings.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <utility>

namespace ostra::tool {

namespace {

constexpr std::string_view kError = ": error: ", kWarning = ": warning: ";

// Takes ":12" off the end of a place.
Int TakeLine(std::string_view& place) {
  const std::size_t colon = place.rfind(':');
  if (colon == std::string_view::npos) return 0;
  const std::string_view digits = place.substr(colon + 1);
  Int line = 0;
  const auto [end, code] = std::from_chars(digits.data(), digits.data() + digits.size(), line);
  if (code != std::errc() || end != digits.data() + digits.size()) return 0;
  place = place.substr(0, colon);
  return line;
}

// A line with a place; other lines are about `file`.
Finding ReadMessage(std::string_view line, std::string_view file) {
  for (const auto& [mark, severity] : {std::pair(kError, Severity::Error), std::pair(kWarning, Severity::Warning)}) {
    const std::size_t at = line.find(mark);
    if (at == std::string_view::npos) continue;
    std::string_view place = line.substr(0, at);
    Finding finding{.severity = severity, .text = std::string(line.substr(at + mark.size()))};
    finding.line = TakeLine(place);
    if (const Int before = TakeLine(place); before > 0) finding.column = std::exchange(finding.line, before);
    finding.file = place;
    return finding;
  }
  return {.file = std::string(file), .text = std::string(line)};
}

// Takes " [CPU]" off the end.
std::string_view TakeMark(std::string_view& message) {
  const std::size_t open = message.rfind(" [");
  if (open == std::string_view::npos || !message.ends_with(']')) return {};
  const std::string_view mark = message.substr(open), name = mark.substr(2, mark.size() - 3);
  const Bool isMark = std::all_of(name.begin(), name.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
  if (!isMark) return {};
  message.remove_suffix(mark.size());
  return mark;
}

}  // namespace

void Findings::Add(Finding finding) {
  const auto isSame = [&finding](const Finding& known) {
    return known.file == finding.file && known.line == finding.line && known.text == finding.text &&
           known.column == finding.column && known.severity == finding.severity;
  };
  if (std::none_of(_findings.begin(), _findings.end(), isSame)) _findings.push_back(std::move(finding));
}

void Findings::AddMessage(std::string_view message, std::string_view file) {
  if (message.find('\n') == std::string_view::npos) return Add(ReadMessage(message, file));
  const std::string_view mark = TakeMark(message);
  std::optional<Finding> finding;
  for (std::string_view rest = message; !rest.empty();) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    Finding read = ReadMessage(line, file);
    if (finding && read.line == 0) {
      finding->excerpt.append(1, '\n').append(line);
      continue;
    }
    if (finding) Add(std::move(*finding));
    finding = std::move(read);
    finding->text += mark;
  }
  if (finding) Add(std::move(*finding));
}

void Findings::AddAll(const Findings& other) {
  for (const Finding& finding : other._findings) Add(finding);
}

Int Findings::Count(Severity severity) const {
  return std::count_if(_findings.begin(), _findings.end(),
                       [severity](const Finding& finding) { return finding.severity == severity; });
}

void Findings::Sort() {
  std::map<std::string, std::size_t> order;
  for (const Finding& finding : _findings) order.try_emplace(finding.file, order.size());
  std::stable_sort(_findings.begin(), _findings.end(), [&order](const Finding& a, const Finding& b) {
    const std::size_t fileA = order[a.file], fileB = order[b.file];
    return fileA != fileB ? fileA < fileB : a.line < b.line;
  });
}

std::string Quote(std::string_view name) { return std::string("\"").append(name).append("\""); }

std::string FormatFinding(const Finding& finding) {
  std::string text = finding.file;
  for (const Int number : {finding.line, finding.column}) {
    if (number > 0) text.append(":").append(std::to_string(number));
  }
  return text.append(finding.severity == Severity::Error ? kError : kWarning)
      .append(finding.text)
      .append(finding.excerpt);
}

}  // namespace ostra::tool
