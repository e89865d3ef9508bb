#include "parallelprogram/shaderparser/include_parser.h"

#include "ostra/core/diagnostics.h"
#include "parallelprogram/shaderparser/header_declarations.h"

namespace ostra {
namespace {

// What the names of include guards have in them.
constexpr std::string_view kGuardMark = "_H__";

class IncludeParser {
 public:
  IncludeParser(ParseState& state, const IncludeFile& include) : _state(state), _include(include) {}

  Result<void> Parse();

 private:
  Result<void> ParseLine(std::string_view line, const SourceWords& words);
  Result<void> ParseDefine(std::string_view line, const SourceWords& words);
  Result<void> TakeFullText();

  ParseState& _state;
  const IncludeFile& _include;
  SourceLines _lines;
  Int _index = 0;
};

Result<void> IncludeParser::Parse() {
  OSTRA_ASSIGN_OR_RETURN(_lines, SplitLines(_include.source.text));
  for (; _index < _lines.GetCount(); ++_index) {
    const std::string_view line = TrimLeft(_lines[_index]);
    _state.origin = {_include.file, static_cast<Int32>(_index) + 1};
    LineNote& note = _state.GetNote();
    if (note.use == LineUse::Unread) note.use = line.empty() ? LineUse::Blank : LineUse::Dropped;
    // Nothing else begins a line that counts.
    if (line.empty() || (line[0] != '#' && line[0] != 's' && line[0] != 'i')) continue;
    OSTRA_RETURN_IF_ERROR(ParseLine(line, SourceWords(line)));
  }
  return OK;
}

Result<void> IncludeParser::ParseLine(std::string_view line, const SourceWords& words) {
  const Int count = words.GetCount();
  if (count >= 3 && words[0] == "#define") return ParseDefine(line, words);
  if (count >= 2 && words[0] == "struct") {
    OSTRA_ASSIGN_OR_RETURN(auto found, ParseStruct(_state, _lines, _index));
    OSTRA_RETURN_IF_ERROR(_state.pieces.structs.Append(std::move(found.definition)));
    _index = found.lastLine;
  } else if (count >= 2 && words[0] == "inline") {
    OSTRA_ASSIGN_OR_RETURN(auto found, ParseInlineFunction(_state, _lines, _index));
    OSTRA_RETURN_IF_ERROR(_state.pieces.functions.Append(std::move(found.definition)));
    _index = found.lastLine;
  } else if (count == 2 && words[0] == "#define" && words[1] == "OSTRA_INCLUDE_AS_FULLTEXT") {
    OSTRA_RETURN_IF_ERROR(TakeFullText());
    _index = _lines.GetCount();
  }
  return OK;
}

Result<void> IncludeParser::ParseDefine(std::string_view line, const SourceWords& words) {
  if (words[1].find(kGuardMark) != std::string_view::npos) return OK;
  OSTRA_ASSIGN_OR_RETURN(String define, String::Create(line));
  const auto share = [&](std::string_view word) {
    return define.SubString(word.data() - line.data(), static_cast<Int>(word.size()));
  };
  _state.GetNote() = {LineUse::Define, BlockKind::None, share(words[1])};
  OSTRA_RETURN_IF_ERROR(_state.declarationRules.Append({share(words[1]), &ReplaceKeyword, share(words[2])}));
  OSTRA_RETURN_IF_ERROR(_state.pieces.defineOrigins.Append(_state.origin));
  OSTRA_RETURN_IF_ERROR(_state.pieces.defines.Append(std::move(define)));
  return OK;
}

Result<void> IncludeParser::TakeFullText() {
  const BaseArray<Byte>& bytes = _include.source.bytes;
  const std::string_view text(reinterpret_cast<const char*>(bytes.GetFirst()),
                              static_cast<std::size_t>(bytes.GetCount()));
  OSTRA_ASSIGN_OR_RETURN(CString chunk, CString::Create(text));
  ShaderTextOrigins origins;
  for (Int i = 0; i < _lines.GetCount(); ++i) {
    OSTRA_RETURN_IF_ERROR(origins.Append(ShaderTextOrigin{_include.file, static_cast<Int32>(i) + 1}));
    LineUse& use = _state.pieces.lineNotes[_include.file][i].use;
    if (use == LineUse::Unread || use == LineUse::Dropped)
      use = TrimLeft(_lines[i]).empty() ? LineUse::Blank : LineUse::FileScope;
  }
  OSTRA_RETURN_IF_ERROR(_state.pieces.globalCode.Append(std::move(chunk)));
  OSTRA_RETURN_IF_ERROR(_state.pieces.globalCodeOrigins.Append(std::move(origins)));
  return OK;
}

}  // namespace

Result<void> ParseIncludeFile(ParseState& state, const IncludeFile& include) {
  Result<void> result = IncludeParser(state, include).Parse();
  if (!result) DiagnosticOutput("Error parsing shader @: @", state.pieces.files[include.file], result.GetError());
  return result;
}

}  // namespace ostra
