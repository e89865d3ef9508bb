// Diagnostic: what is wrong with a kernel, as a value. FormatDiagnostic is the one place where it becomes text:
//
//   net.example.blur.krn:12:8: error: unknown name "cont"; did you mean "count"?
//   	if (i < cont)
//   	        ^
//
// The notes follow in the same form. Control characters are written as \xNN; long lines are cut around the caret.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "parallelprogram/kernellanguage/source_map.h"

namespace ostra::kernellanguage {

enum class Severity : UInt8 { kError, kWarning, kNote };

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

// "file:line:column: error: text", the line of the source and a caret below; no line end at the end.
std::string FormatDiagnostic(const SourceMap& sources, const Diagnostic& diagnostic);
// All of them, one behind the other.
std::string FormatDiagnostics(const SourceMap& sources, const std::vector<Diagnostic>& diagnostics);
// A text that messages are about.
struct SourceText {
  std::string_view name, text;
  Bool isHidden = false;  // see SourceMap::File
};
// The same for an error at the byte `position` of one text.
std::string FormatError(const SourceText& source, std::size_t position, std::string_view text);
// "file:line:column: not understood: reason".
std::string FormatNotUnderstood(const SourceMap& sources, const NotUnderstood& notUnderstood);

}  // namespace ostra::kernellanguage
