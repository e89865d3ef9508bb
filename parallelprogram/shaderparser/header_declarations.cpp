#include "parallelprogram/shaderparser/header_declarations.h"

#include <algorithm>

#include "parallelprogram/shaderparser/collected_lines.h"

OSTRA_UNIT("shaderparser");

namespace ostra {
namespace {

constexpr std::string_view kInlineAndBlank = "inline ";

// Structs and functions share the message.
Error MakeEndError() { return OSTRA_ILLEGAL_ARGUMENT("could not find end of a struct. missing }; as single line"); }

// Whether a definition starts with its word, in the words in which the host reports conditions.
Result<void> CheckStart(const SourceWords& words, std::string_view word) {
  const Bool isEmpty = words.GetCount() == 1 && words[0].empty();
  if (isEmpty) return OSTRA_ILLEGAL_STATE("Illegal state: Condition line.IsPopulated() not fulfilled.");
  if (words[0] != word) return OSTRA_ILLEGAL_STATE("Illegal state: Condition words[0] == \"@\"_s not fulfilled.", word);
  return OK;
}

ShaderTextOrigin GetOrigin(const ParseState& state, Int line) {
  return {state.origin.file, static_cast<Int32>(line) + 1};
}

void Note(ParseState& state, Int line, LineUse use, BlockKind block) {
  LineNote& note = state.pieces.lineNotes[state.origin.file][line];
  note.use = use;
  note.block = block;
}

// A line `type name;` of a known type; anything else is passed over.
Result<void> ReadMember(ParseState& state, std::string_view line, const SourceWords& words,
                        ShaderStructDefinition& definition) {
  ShaderInputEntry member;
  member.dataType = DataTypeFromTypeName(words[0]);
  if (words.GetCount() < 2 || !member.dataType.IsPopulated() || member.dataType.GetSize() == 0) return OK;
  const std::string_view name = words[1].substr(0, words[1].size() - std::min<std::size_t>(1, words[1].size()));
  OSTRA_ASSIGN_OR_RETURN(member.name, CString::Create(name));
  OSTRA_ASSIGN_OR_RETURN(String text, String::Create(line));
  member.origin = state.origin;
  state.GetNote() = {LineUse::Member, BlockKind::Struct, member.name.GetString()};
  definition.byteSize += member.dataType.GetSize();
  OSTRA_RETURN_IF_ERROR(definition.members.Append(std::move(member)));
  OSTRA_RETURN_IF_ERROR(definition.memberLines.Append(std::move(text)));
  return OK;
}

}  // namespace

Result<HeaderDefinition<ShaderStructDefinition>> ParseStruct(ParseState& state, const SourceLines& lines, Int first) {
  const SourceWords words(TrimLeft(lines[first]));
  OSTRA_RETURN_IF_ERROR(CheckStart(words, "struct"));
  HeaderDefinition<ShaderStructDefinition> found;
  found.definition.origin = GetOrigin(state, first);
  OSTRA_ASSIGN_OR_RETURN(found.definition.name, CString::Create(words[1]));
  state.GetNote() = {LineUse::BlockStart, BlockKind::Struct, found.definition.name.GetString()};
  if (first + 1 < lines.GetCount()) Note(state, first + 1, LineUse::Swallowed, BlockKind::Struct);
  // The line after the first is taken for the opening brace.
  for (Int i = first + 2; i < lines.GetCount(); ++i) {
    state.origin = GetOrigin(state, i);
    const std::string_view memberLine = TrimLeft(lines[i]);
    const SourceWords memberWords(memberLine);
    Note(state, i, memberLine.empty() ? LineUse::Blank : LineUse::Dropped, BlockKind::Struct);
    if (memberLine.empty() || memberWords[0] == "{") continue;
    if (memberWords[0] == "struct") return MakeEndError();
    if (memberWords[0] == "};") {
      Note(state, i, LineUse::BlockEnd, BlockKind::Struct);
      found.lastLine = i;
      return found;
    }
    OSTRA_RETURN_IF_ERROR(ReadMember(state, memberLine, memberWords, found.definition));
  }
  return MakeEndError();
}

Result<String> ReadFunctionDeclaration(ParseState& state, std::string_view line) {
  line.remove_prefix(std::min(line.size(), kInlineAndBlank.size()));
  return CopyTranslated(state, state.declarationRules, line);
}

Result<HeaderDefinition<ShaderFunctionDefinition>> ParseInlineFunction(ParseState& state, const SourceLines& lines,
                                                                       Int first) {
  const std::string_view line = TrimLeft(lines[first]);
  OSTRA_RETURN_IF_ERROR(CheckStart(SourceWords(line), "inline"));
  HeaderDefinition<ShaderFunctionDefinition> found;
  state.origin = found.definition.declarationOrigin = GetOrigin(state, first);
  Note(state, first, LineUse::BlockStart, BlockKind::Function);
  OSTRA_ASSIGN_OR_RETURN(found.definition.declaration, ReadFunctionDeclaration(state, line));
  CollectedLines body;
  Int depth = 0;
  for (Int i = first + 1; i < lines.GetCount(); ++i) {
    state.origin = GetOrigin(state, i);
    const std::string_view bodyLine = TrimLeft(lines[i]);
    Note(state, i, bodyLine.empty() ? LineUse::Blank : LineUse::Body, BlockKind::Function);
    if (bodyLine.empty()) continue;
    if (IsFirstWord(bodyLine, "struct") || IsFirstWord(bodyLine, "inline")) return MakeEndError();
    OSTRA_RETURN_IF_ERROR(body.Append(bodyLine, state.origin));
    if (IsFirstWord(bodyLine, "{")) ++depth;
    if (IsFirstWord(bodyLine, "}")) --depth;
    if (depth >= 1) continue;
    OSTRA_ASSIGN_OR_RETURN(found.definition.body, body.Join());
    found.definition.bodyOrigins = body.TakeOrigins();
    found.lastLine = i;
    Note(state, i, LineUse::BlockEnd, BlockKind::Function);
    return found;
  }
  return MakeEndError();
}

}  // namespace ostra
