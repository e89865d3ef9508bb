// Diagnostic: what is wrong with a kernel, as a value with offsets of a SourceMap. MakeSourceMessage makes it stand by
// itself, with names, numbers and the line of the source (ostra/core/source_message.h). Control characters are written
// as \xNN there; long lines are cut around the caret.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ostra/core/source_message.h"
#include "parallelprogram/kernellanguage/source_map.h"

namespace ostra::kernellanguage {

using Severity = SourceSeverity;

struct DiagnosticNote {
  SourceOffset offset = kNoOffset;
  std::string text;
  friend Bool operator==(const DiagnosticNote&, const DiagnosticNote&) = default;
};

struct Diagnostic {
  Severity severity = Severity::kError;
  SourceOffset offset = kNoOffset;
  std::string text = {};
  std::vector<DiagnosticNote> notes = {};
  friend Bool operator==(const Diagnostic&, const Diagnostic&) = default;
};

// Why a kernel is left to the C++ compiler: something at `offset` is none of the kernel language's words or forms.
struct NotUnderstood {
  SourceOffset offset = kNoOffset;
  std::string reason;  // "a lambda", "the header \"vector\" is not beside the kernel file"
  friend Bool operator==(const NotUnderstood&, const NotUnderstood&) = default;
};

// The limit of errors: with the last one reading ends.
inline constexpr std::size_t kMaxErrors = 25;

// Throw std::bad_alloc.
SourceMessage MakeSourceMessage(const SourceMap& sources, const Diagnostic& diagnostic);
std::vector<SourceMessage> MakeSourceMessages(const SourceMap& sources, const std::vector<Diagnostic>& diagnostics);
// Their texts.
std::string FormatDiagnostic(const SourceMap& sources, const Diagnostic& diagnostic);
std::string FormatDiagnostics(const SourceMap& sources, const std::vector<Diagnostic>& diagnostics);
// A text that messages are about.
struct SourceText {
  std::string_view name, text;
  Bool isHidden = false;  // see SourceMap::File
};
// An error at the byte `position` of one text.
SourceMessage MakeSourceMessage(const SourceText& source, std::size_t position, std::string_view text);
// "file:line:column: not understood: reason".
std::string FormatNotUnderstood(const SourceMap& sources, const NotUnderstood& notUnderstood);

}  // namespace ostra::kernellanguage
