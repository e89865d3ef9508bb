// SourceMessage: what a reader of source code says about a place in it, as a value. FormatSourceMessage is the one
// place where it becomes text:
//
//   blur.krn:12:8: error: unknown name "cont"; did you mean "count"?
//   	if (i < cont)
//   	        ^
//   blur.krn:3:5: note: "count" is declared here
//
// An error that is about places in sources carries the messages that its text was made of, so that no caller has to
// take the text apart again:
//
//   return MakeSourceError(file, 12, "the struct has no members", kOstraUnit, __LINE__);
//   for (const SourceMessage& message : GetSourceMessages(result.GetError())) ...
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "ostra/core/error.h"

namespace ostra {

enum class SourceSeverity : UInt8 { kError, kWarning, kNote };

struct SourceMessage {
  SourceSeverity severity = SourceSeverity::kError;
  std::string file = {};  // empty: about no file
  Int line = 0;           // from 1; 0: about the whole file
  Int column = 0;         // from 1, in bytes; 0: unknown
  std::string text = {};
  std::string excerpt = {};  // the line of the source and a caret below; empty: not shown
  std::vector<SourceMessage> notes = {};
  friend bool operator==(const SourceMessage&, const SourceMessage&) = default;
};

// "error", "warning", "note".
OSTRA_API std::string_view GetSeverityName(SourceSeverity severity);

// "file:line:column: " without what is unknown. Throws std::bad_alloc.
OSTRA_API std::string FormatSourcePlace(const SourceMessage& message);
// "file:line:column: error: text" without what is unknown, the excerpt and the notes, each on lines of their own; no
// line end at the end. Throws std::bad_alloc.
OSTRA_API std::string FormatSourceMessage(const SourceMessage& message);
// All of them, one behind the other.
OSTRA_API std::string FormatSourceMessages(std::span<const SourceMessage> messages);

// An error with the text of the messages, or the out-of-memory error. There must be a message.
OSTRA_API Error MakeSourceError(std::vector<SourceMessage> messages, const char* unit, Int32 line,
                                const Id& kind = kIllegalArgumentError);
// The same about one line; `sourceLine` 0: about the whole file.
OSTRA_API Error MakeSourceError(std::string_view file, Int sourceLine, std::string_view text, const char* unit,
                                Int32 line, const Id& kind = kIllegalArgumentError);

// The messages that the error was made of; none for an error that was made of a text. They live as long as the error or
// a copy of it.
OSTRA_API std::span<const SourceMessage> GetSourceMessages(const Error& error);

}  // namespace ostra
