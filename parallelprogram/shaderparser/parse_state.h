// What the steps of one parse share.
#pragma once

#include "parallelprogram/shaderparser/line_rules.h"
#include "parallelprogram/shaderparser/shader_parser.h"
#include "parallelprogram/shaderparser/source_lines.h"
#include "parallelprogram/shaderparser/target_language.h"

namespace ostra {

// The value of the multisampling option when it is absent.
inline constexpr Int32 kNoMultisampling = -1;

struct ParseState {
  explicit ParseState(const TargetLanguage& theTarget, EndlessSource theEndless, LineEnds theLineEnds,
                      ShaderPieces& thePieces)
      : target(theTarget), endless(theEndless), lineEnds(theLineEnds), pieces(thePieces) {}

  const TargetLanguage& target;
  const EndlessSource endless;
  const LineEnds lineEnds;
  ShaderPieces& pieces;
  const SourceOverlay* overlay = nullptr;
  Int32 multisampling = kNoMultisampling;
  Bool isWritten = false;  // a text of the front end, in place of a file

  RuleList typeRules;         // for the types of declarations
  RuleList declarationRules;  // for the first lines of functions; grows with the defines of include files
  RuleList codeRules;         // for lines of code: the type rules, then those of bodies

  // The line that is being read; 0 between lines.
  ShaderTextOrigin origin;
  // What a line is rewritten in.
  LineText line;

  // The number of a file in `pieces.files`; adds it when it is new. Error: out of memory.
  Result<Int32> AddFile(const Url& file);

  // Begins the notes of the file that `origin` is in: `lineCount` unread lines. Error: out of memory.
  Result<void> BeginNotes(Int lineCount);
  // The note of the line that is being read.
  LineNote& GetNote() { return pieces.lineNotes[origin.file][origin.line - 1]; }

  // An illegal-argument error that reads `file:line: error: text` for the line that is being read.
  Error MakeLocatedError(std::string_view text) const;
};

// Fills the rule lists. Errors: those of an option of a wrong type; out of memory.
Result<void> ReadOptions(ParseState& state, const DataDictionary& options);
Result<void> AddDeclarationRules(ParseState& state);
Result<void> AddBodyRules(ParseState& state);

// A line after the rules of a list. Valid until the next line is translated.
Result<std::string_view> TranslateLine(ParseState& state, const RuleList& rules, std::string_view line);
// The same as a text of its own.
Result<String> CopyTranslated(ParseState& state, const RuleList& rules, std::string_view line);

}  // namespace ostra
