// The lines of a source as lints look at them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ostra/core/text_characters.h"
#include "parallelprogram/shaderparser/line_notes.h"

namespace ostra::plans {

struct SourceLine {
  Int number = 0;         // from 1
  std::string text;       // as written, without white space at both ends
  std::string code;       // the same with comments replaced by blanks
  std::string firstWord;  // of the text, up to the first blank
  // What the translator did with it (SetNotes).
  LineUse use = LineUse::Unread;
  BlockKind block = BlockKind::None;  // that the line begins, stands in or ends
};

std::vector<SourceLine> SplitSource(std::string_view source);

// Takes over the translator's notes about the lines; lines without a note stay as they are.
void SetNotes(std::vector<SourceLine>& lines, const LineNotes& notes);
// The same for the lines of `source`, of which there is no parse or none that has succeeded. Error: out of memory.
Result<void> FindNotes(std::vector<SourceLine>& lines, std::string_view source);

// Whether the line is code that the translator's rules were applied to and that reaches a shader.
inline Bool IsTranslatedCode(const SourceLine& line) {
  const Bool isEnd = line.use == LineUse::BlockEnd && line.block == BlockKind::Function;
  const Bool isNoiseCall = line.use == LineUse::NoiseCall && line.block != BlockKind::None;
  return line.use == LineUse::FileScope || line.use == LineUse::Body || line.use == LineUse::GroupShared || isEnd ||
         isNoiseCall;
}

// Calls `use(name, position)` for every name in `code`; numbers such as 1u are none.
template <class Use>
void ForEachName(std::string_view code, Use&& use) {
  for (std::size_t at = 0; at < code.size();) {
    if (!IsWordCharacter(code[at])) {
      ++at;
      continue;
    }
    std::size_t end = at;
    while (end < code.size() && IsWordCharacter(code[end])) ++end;
    if (!IsDigit(code[at])) use(code.substr(at, end - at), at);
    at = end;
  }
}

// Whether the name stands in the code, as a name of its own.
Bool HasName(std::string_view code, std::string_view name);

// The text between the parenthesis at or after `position` and its counterpart; false when there is none.
Bool GetArguments(std::string_view code, std::size_t position, std::string_view& arguments);

}  // namespace ostra::plans
