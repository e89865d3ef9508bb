#include "parallelprogram/shaderparser/header_declarations.h"

#include <algorithm>

#include "ostra/core/text_characters.h"
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

// Takes a word off the front of `rest`, and the blanks behind it.
std::string_view TakeWord(std::string_view& rest, std::string_view otherCharacters = {}) {
  const auto isPart = [&](char c) { return IsWordCharacter(c) || otherCharacters.find(c) != std::string_view::npos; };
  std::size_t end = 0;
  while (end < rest.size() && isPart(rest[end])) ++end;
  const std::string_view word = rest.substr(0, end);
  rest = TrimLeft(rest.substr(end));
  return word;
}

// Whether nothing stands there but a comment.
Bool IsEndOfCode(std::string_view rest) { return rest.empty() || rest.starts_with("//"); }

// A line `type name;` or `type name[count];` alone; false for every other line.
Bool SplitMemberLine(std::string_view line, std::string_view& type, std::string_view& name,
                     std::string_view& dimension) {
  type = TakeWord(line, "<>");
  name = TakeWord(line);
  if (type.empty() || name.empty()) return false;
  if (line.starts_with('[')) {
    const std::size_t close = line.find(']');
    if (close == std::string_view::npos) return false;
    dimension = line.substr(1, close - 1);
    line = TrimLeft(line.substr(close + 1));
  }
  return line.starts_with(';') && IsEndOfCode(TrimLeft(line.substr(1)));
}

void NoteUnclearLine(ShaderStructDefinition& definition, ShaderTextOrigin origin) {
  if (definition.unclearLine.line == 0) definition.unclearLine = origin;
}

// The same line as a declaration of any type. What is none keeps the name that the list of members has for it.
Result<void> ReadDeclaration(const ParseState& state, std::string_view line, const ShaderInputEntry* member,
                             std::string_view memberType, ShaderStructDefinition& definition) {
  std::string_view type, name, dimension;
  if (!SplitMemberLine(line, type, name, dimension)) {
    if (!IsEndOfCode(line)) NoteUnclearLine(definition, state.origin);
    if (!member) return OK;
    type = memberType;
    name = member->name.GetString().GetView();
    dimension = {};
  }
  ShaderStructMember declaration;
  declaration.origin = state.origin;
  OSTRA_ASSIGN_OR_RETURN(declaration.type, String::Create(type));
  OSTRA_ASSIGN_OR_RETURN(declaration.name, String::Create(name));
  OSTRA_ASSIGN_OR_RETURN(declaration.dimension, String::Create(dimension));
  OSTRA_RETURN_IF_ERROR(definition.declarations.Append(std::move(declaration)));
  return OK;
}

// A line `type name;` of a known type; anything else is passed over.
Result<void> ReadMember(ParseState& state, std::string_view line, const SourceWords& words,
                        ShaderStructDefinition& definition) {
  ShaderInputEntry member;
  member.dataType = DataTypeFromTypeName(words[0]);
  if (words.GetCount() < 2 || !member.dataType.IsPopulated() || member.dataType.GetSize() == 0)
    return ReadDeclaration(state, line, nullptr, {}, definition);
  const std::string_view name = words[1].substr(0, words[1].size() - std::min<std::size_t>(1, words[1].size()));
  OSTRA_ASSIGN_OR_RETURN(member.name, CString::Create(name));
  OSTRA_ASSIGN_OR_RETURN(String text, String::Create(line));
  member.origin = state.origin;
  state.GetNote() = {LineUse::Member, BlockKind::Struct, member.name.GetString()};
  definition.byteSize += member.dataType.GetSize();
  OSTRA_RETURN_IF_ERROR(ReadDeclaration(state, line, &member, words[0], definition));
  OSTRA_RETURN_IF_ERROR(definition.members.Append(std::move(member)));
  OSTRA_RETURN_IF_ERROR(definition.memberLines.Append(std::move(text)));
  return OK;
}

// "struct Name" alone, and the brace alone on the next line.
Bool IsHeadOfStruct(const SourceLines& lines, Int first) {
  std::string_view head = TrimLeft(lines[first]);
  TakeWord(head);
  TakeWord(head);
  if (!IsEndOfCode(head) || first + 1 >= lines.GetCount()) return false;
  const std::string_view brace = TrimLeft(lines[first + 1]);
  return brace.starts_with('{') && IsEndOfCode(TrimLeft(brace.substr(1)));
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
  if (!IsHeadOfStruct(lines, first)) NoteUnclearLine(found.definition, found.definition.origin);
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
