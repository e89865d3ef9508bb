#include "apps/ostra/lints/findings.h"

#include <algorithm>
#include <charconv>
#include <map>

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

}  // namespace

void Findings::Add(Finding finding) {
  const auto isSame = [&finding](const Finding& known) {
    return known.file == finding.file && known.line == finding.line && known.text == finding.text &&
           known.severity == finding.severity;
  };
  if (std::none_of(_findings.begin(), _findings.end(), isSame)) _findings.push_back(std::move(finding));
}

void Findings::AddMessage(std::string_view message, std::string_view file) {
  for (const auto& [mark, severity] : {std::pair(kError, Severity::Error), std::pair(kWarning, Severity::Warning)}) {
    const std::size_t at = message.find(mark);
    if (at == std::string_view::npos) continue;
    std::string_view place = message.substr(0, at);
    const Int line = TakeLine(place);
    return Add({std::string(place), line, severity, std::string(message.substr(at + mark.size()))});
  }
  Add({std::string(file), 0, Severity::Error, std::string(message)});
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
  const std::string place = finding.line > 0 ? finding.file + ":" + std::to_string(finding.line) : finding.file;
  return place + std::string(finding.severity == Severity::Error ? kError : kWarning) + finding.text;
}

}  // namespace ostra::tool
