#include "ostra/core/source_message.h"

#include <new>

namespace ostra {

std::string_view GetSeverityName(SourceSeverity severity) {
  switch (severity) {
    case SourceSeverity::kError:
      return "error";
    case SourceSeverity::kWarning:
      return "warning";
    case SourceSeverity::kNote:
      break;
  }
  return "note";
}

std::string FormatSourcePlace(const SourceMessage& message) {
  std::string text = message.file;
  if (message.line > 0) text.append(":").append(std::to_string(message.line));
  if (message.line > 0 && message.column > 0) text.append(":").append(std::to_string(message.column));
  if (!text.empty()) text += ": ";
  return text;
}

std::string FormatSourceMessage(const SourceMessage& message) {
  std::string text = FormatSourcePlace(message);
  text.append(GetSeverityName(message.severity)).append(": ").append(message.text);
  if (!message.excerpt.empty()) text.append("\n").append(message.excerpt);
  for (const SourceMessage& note : message.notes) text.append("\n").append(FormatSourceMessage(note));
  return text;
}

std::string FormatSourceMessages(std::span<const SourceMessage> messages) {
  std::string text;
  for (const SourceMessage& message : messages)
    text.append(text.empty() ? "" : "\n").append(FormatSourceMessage(message));
  return text;
}

}  // namespace ostra
