#include <algorithm>

#include "ostra/core/nearest_word.h"
#include "parallelprogram/kernellanguage/foreign_words.h"
#include "parallelprogram/kernellanguage/host_names.h"
#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/parser_state.h"
#include "parallelprogram/kernellanguage/types.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernellanguage {

Bool Parser::IsTypeWord(std::string_view word) const {
  if (std::find(_hiddenTypes.begin(), _hiddenTypes.end(), word) != _hiddenTypes.end()) return false;
  if (_structs.contains(word) || _aliases.contains(word) || word.starts_with("TextureSampler_")) return true;
  const Word* known = FindWord(word);
  return known && known->kind == WordKind::kType;
}

Bool Parser::IsTypeStart(std::size_t ahead) const {
  if (!IsWord(ahead)) return false;
  if (Is("struct", ahead)) return IsWord(ahead + 1) && _structs.contains(Peek(ahead + 1).text);
  return Is("const", ahead) || Is("unsigned", ahead) || Is("IGNORE_VARIABLE_GPU", ahead) ||
         IsTypeWord(Peek(ahead).text);
}

Bool Parser::TakeAngle() {
  if (_isAngleSplit) {
    _isAngleSplit = false;
    Take();
    return true;
  }
  if (TakeIf(">")) return true;
  if (Is(">>")) {
    _isAngleSplit = true;
    return true;
  }
  StopAt(Peek());
  return false;
}

// const words before and after, & and *.
NodeIndex Parser::ReadType() {
  const Level level(*this);
  if (!CheckDepth()) return kNoNode;
  UInt16 flags = 0;
  while (Is("const") || Is("IGNORE_VARIABLE_GPU")) {
    if (Is("const")) flags |= kIsConst;
    Take();
  }
  // As in C.
  if (Is("struct") && IsWord(1) && _structs.contains(Peek(1).text)) {
    flags |= kIsCppOnly;
    Take();
  }
  return ReadTypeWord(flags);
}

NodeIndex Parser::ReadTypeWord(UInt16 flags) {
  const Token& word = Peek();
  if (word.kind != TokenKind::kWord) return StopAt(word);
  std::string_view name = word.text;
  if (name == "unsigned") {
    Take();
    if (Is("long") || Is("short") || Is("char")) return StopAt(Peek());
    if (Is("int")) Take();
    name = "uint";
  } else if (IsTypeWord(name)) {
    const auto alias = _aliases.find(name);
    if (alias != _aliases.end()) name = alias->second;
    Take();
  } else {
    return FailUnknownType();
  }
  Nodes arguments;
  if (Is("<")) {
    Take();
    if (name == "Block" || name == "BaseArray") CheckElementType();
    do {
      if (IsBroken()) return kNoNode;
      arguments.push_back(ReadType());
    } while (!IsBroken() && !_isAngleSplit && TakeIf(","));
    if (IsBroken() || !TakeAngle()) return kNoNode;
  }
  // What follows the > of a list inside of another one belongs to the outer one.
  while (!_isAngleSplit && (Is("const") || Is("&") || Is("*"))) {
    const std::string_view sign = Take().text;
    flags |= sign == "const" ? kIsConst : sign == "&" ? kIsReference : kIsPointer;
  }
  if (Is("::") || Is("&&")) return StopAt(Peek());
  return Add(NodeKind::kType, word.offset, name, arguments, flags);
}

// Elements are of the language's types or structs.
void Parser::CheckElementType() {
  const Token& token = Peek();
  if (token.kind != TokenKind::kWord || IsTypeWord(token.text) || FindWord(token.text) || MayBeHostName(token.text))
    return;
  NearestWord nearest(token.text, token.text.size() < 6 ? 2 : 3);
  for (const std::string_view name : _structNames) nearest.Try(name);
  const std::string end = nearest.Get().empty() ? "" : Join({"; did you mean \"", nearest.Get(), "\"?"});
  Fail(token.offset, Join({"the elements of this buffer are \"", token.text,
                           "\", which is neither a type of kernels nor a struct of the kernel's headers", end}));
}

// A type that is almost one of the language's, where nothing else can be meant.
NodeIndex Parser::FailUnknownType() {
  const Token& token = Peek();
  if (token.kind != TokenKind::kWord) return StopAt(token);
  const Word* known = FindWord(token.text);
  if (known && known->kind == WordKind::kReserved)
    return Stop(token.offset, Join({"\"", token.text, "\" is C++ beyond the language of kernels"}));
  if (known && known->kind == WordKind::kStage)
    return Stop(token.offset, Join({"\"", token.text, "\" is a word of graphics stages"}));
  const std::string_view instead = FindForeignWord(token.text, ForeignUse::kDeclaration);
  if (!instead.empty() && !_declared.contains(token.text))
    return Fail(token.offset, MakeForeignWordText(token.text, instead));
  // "flaot x = ...": two words side by side begin a declaration, unless one is a macro of the host.
  const Bool isDeclaration = IsWord(1) && !IsKnownName(Peek(1).text) && !MayBeHostName(Peek(1).text) &&
                             (Is("=", 2) || Is(";", 2) || Is(",", 2) || Is("(", 2) || Is("[", 2) || Is(")", 2));
  if (isDeclaration && !known && !MayBeHostName(token.text)) {
    NearestWord nearest(token.text, token.text.size() < 3 ? 1 : token.text.size() < 6 ? 2 : 3);
    for (const Word& word : GetWords()) {
      if (word.kind == WordKind::kType) nearest.Try(word.name);
    }
    for (const std::string_view name : _structNames) nearest.Try(name);
    const std::string hint = nearest.Get().empty() ? "" : Join({"; did you mean \"", nearest.Get(), "\"?"});
    return Fail(token.offset, Join({"unknown type \"", token.text, "\"", hint}));
  }
  return Stop(token.offset, Join({"the type \"", token.text, "\" is not declared in the kernel's files"}));
}

NodeIndex Parser::ReadDimensions() {
  if (IsBroken() || !Is("[")) return kNoNode;
  const SourceOffset offset = Peek().offset;
  Nodes sizes;
  while (Is("[")) {
    const Token& open = Take();
    sizes.push_back(Is("]") ? kNoNode : ReadConditional());
    if (!ExpectClosing("]", open)) return kNoNode;
  }
  return Add(NodeKind::kDimensions, offset, "", sizes);
}

std::string_view Parser::ReadDeclaredName() {
  if (IsBroken()) return {};
  const Token& token = Peek();
  const Word* known = token.kind == TokenKind::kWord ? FindWord(token.text) : nullptr;
  if (token.kind != TokenKind::kWord || _structs.contains(token.text) ||
      (known && known->kind != WordKind::kFunction)) {
    StopAt(token);
    return {};
  }
  _declared.insert(token.text);
  return Take().text;
}

std::string_view Parser::ReadVariableName() {
  if (IsBroken()) return {};
  const Token& token = Peek();
  const Bool isName = Is("=", 1) || Is(";", 1) || Is(",", 1) || Is(")", 1) || Is("[", 1);
  const Bool isKeyword = Is("void") || Is("bool") || Is("int") || Is("float") || Is("double");
  if (!IsWord() || !isName || isKeyword || FindTypeWord(token.text) == kUnknownType) return ReadDeclaredName();
  _hiddenTypes.push_back(token.text);
  _declared.insert(token.text);
  return Take().text;
}

NodeIndex Parser::ReadDeclaration(UInt16 flags) {
  const NodeIndex type = ReadType();
  if (IsBroken()) return kNoNode;
  const NodeIndex dimensions = ReadDimensions();
  if (IsBroken()) return kNoNode;
  if (dimensions != kNoNode) flags |= kIsExtended;
  return ReadDeclarators(type, static_cast<UInt16>(flags | (_file.tree.nodes[type].flags & kIsConst)), dimensions);
}

NodeIndex Parser::ReadDeclarators(NodeIndex type, UInt16 flags, NodeIndex dimensions) {
  const SourceOffset offset = _file.tree.nodes[type].offset;
  if (_file.tree.nodes[type].flags & (kIsReference | kIsPointer)) return Stop(offset, "a local reference or pointer");
  Nodes variables;
  do {
    variables.push_back(ReadVariable(type, flags, dimensions));
  } while (!IsBroken() && TakeIf(","));
  return IsBroken() ? kNoNode : Add(NodeKind::kDeclaration, offset, "", variables);
}

NodeIndex Parser::ReadVariable(NodeIndex type, UInt16 flags, NodeIndex dimensions) {
  const Token& start = Peek();
  const std::string_view name = ReadVariableName();
  if (dimensions != kNoNode && Is("[")) return StopAt(Peek());
  if (dimensions == kNoNode) dimensions = ReadDimensions();
  if (IsBroken()) return kNoNode;
  const NodeIndex value = ReadInitialValue(type, flags);
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kVariable, start.offset, name, {type, dimensions, value}, flags);
}

NodeIndex Parser::ReadInitialValue(NodeIndex type, UInt16& flags) {
  const Token& start = Peek();
  if (TakeIf("=")) return Is("{") ? ReadInitializerList() : ReadAssignment();
  if (Is("(")) {
    Nodes children{type};
    if (!ReadArguments(children)) return kNoNode;
    if (children.size() == 1) return Stop(start.offset, "the declaration of a function here");
    flags |= kIsDirect;
    return Add(NodeKind::kConstruct, start.offset, "", children, kIsDirect);
  }
  if (Is("{")) {
    flags |= kIsExtended;
    return ReadInitializerList();
  }
  return kNoNode;
}

NodeIndex Parser::ReadInitializerList() {
  const Level level(*this);
  if (!CheckDepth()) return kNoNode;
  const Token& open = Take();
  Nodes values;
  while (!IsBroken() && !Is("}")) {
    values.push_back(Is("{") ? ReadInitializerList() : ReadAssignment());
    if (!Is("}") && !Expect(",")) return kNoNode;
  }
  if (!Expect("}")) return kNoNode;
  return Add(NodeKind::kInitializerList, open.offset, "", values);
}

}  // namespace ostra::kernellanguage
