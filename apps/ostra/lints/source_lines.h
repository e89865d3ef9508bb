// The lines of a source as lints look at them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ostra/core/text_characters.h"

namespace ostra::tool {

// What the translator makes of a line of a kernel file.
enum class LinePlace {
  Empty,
  Outside,    // file-scope code
  Start,      // begins a block
  Inside,     // of a block
  CpuScope,   // from CPU_SCOPE_START to CPU_SCOPE_END, inside of a block
  Dropped,    // a directive and the like
  Swallowed,  // goes with the line before it, whatever it holds
};
enum class BlockKind { None, Kernel, Function, InputStruct, InputDefine };

struct SourceLine {
  Int number = 0;         // from 1
  std::string text;       // as written, without white space at both ends
  std::string code;       // the same with comments replaced by blanks
  std::string firstWord;  // of the text, up to the first blank
  // Known in kernel files; lines of headers are all the same.
  LinePlace place = LinePlace::Inside;
  BlockKind block = BlockKind::None;  // that the line begins, or stands in
};

std::vector<SourceLine> SplitSource(std::string_view source);

// Finds out what becomes of each line of a kernel file.
void PlaceLines(std::vector<SourceLine>& lines);

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

}  // namespace ostra::tool
