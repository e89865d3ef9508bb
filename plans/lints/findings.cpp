#include "plans/lints/findings.h"

#include <algorithm>
#include <map>
#include <utility>

namespace ostra::plans {

void Findings::Add(Finding finding) {
  const auto isSame = [&finding](const Finding& known) {
    return known.file == finding.file && known.line == finding.line && known.text == finding.text &&
           known.column == finding.column && known.severity == finding.severity;
  };
  if (std::none_of(_findings.begin(), _findings.end(), isSame)) _findings.push_back(std::move(finding));
}

void Findings::AddMessage(const SourceMessage& message, std::string_view mark) {
  Finding finding{.file = message.file,
                  .line = message.line,
                  .severity = message.severity == SourceSeverity::kError ? Severity::Error : Severity::Warning,
                  .text = message.text,
                  .column = message.column};
  finding.text += mark;
  if (!message.excerpt.empty()) finding.excerpt.append("\n").append(message.excerpt);
  for (const SourceMessage& note : message.notes) finding.excerpt.append("\n").append(FormatSourceMessage(note));
  Add(std::move(finding));
}

void Findings::AddError(const Error& error, std::string_view file, std::string_view mark) {
  const auto messages = GetSourceMessages(error);
  for (const SourceMessage& message : messages) AddMessage(message, mark);
  if (messages.empty())
    Add({.file = std::string(file), .text = std::string(error.GetMessage().GetView()).append(mark)});
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
  const SourceMessage message{
      .severity = finding.severity == Severity::Error ? SourceSeverity::kError : SourceSeverity::kWarning,
      .file = finding.file,
      .line = finding.line,
      .column = finding.column,
      .text = finding.text};
  return FormatSourceMessage(message) + finding.excerpt;
}

}  // namespace ostra::plans
