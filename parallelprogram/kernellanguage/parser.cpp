#include "parallelprogram/kernellanguage/parser.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/foreign_words.h"
#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/parser_state.h"
#include "parallelprogram/kernellanguage/types.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernellanguage {

ParsedFile Parse(const TokenStream& tokens) { return Parser(tokens).Run(); }

ParsedFile Parser::Run() {
  Nodes items;
  const SourceOffset begin = Peek().offset;
  while (!IsEnd() && !IsStopped()) {
    ReadItem(items);
    if (_isBroken) Recover();
  }
  if (_file.errors.empty() && !IsStopped()) {
    if (_file.tree.kernel == kNoNode)
      Stop(Peek().offset, "a file without a kernel");
    else
      _file.tree.root = Add(NodeKind::kFile, begin, "", items);
  }
  return std::move(_file);
}

Bool Parser::CheckDepth() {
  if (_depth <= kMaxNesting) return true;
  Stop(Peek().offset, Join({"code nested deeper than ", std::to_string(kMaxNesting)}));
  return false;
}

NodeIndex Parser::Add(NodeKind kind, SourceOffset offset, std::string_view name, const Nodes& children, UInt16 flags,
                      Operation operation) {
  if (IsStopped()) return kNoNode;
  UInt16 height = 0;
  for (const NodeIndex child : children) {
    if (child != kNoNode) height = std::max(height, _heights[child]);
  }
  if (height >= kMaxTreeHeight)
    return Stop(offset, Join({"a tree higher than ", std::to_string(kMaxTreeHeight), " nodes"}));
  _heights.push_back(static_cast<UInt16>(height + 1));
  return _file.tree.Add({.kind = kind,
                         .operation = operation,
                         .flags = flags,
                         .offset = offset,
                         .name = name.empty() ? 0 : _file.tree.AddName(name)},
                        children);
}

NodeIndex Parser::Stop(SourceOffset offset, std::string reason) {
  if (!IsStopped()) _file.notUnderstood = NotUnderstood{offset, std::move(reason)};
  return kNoNode;
}

NodeIndex Parser::StopAt(const Token& token) {
  if (token.kind == TokenKind::kEnd) return Stop(token.offset, "the end of the file here");
  return Stop(token.offset, Join({"this use of \"", token.text, "\""}));
}

NodeIndex Parser::Fail(SourceOffset offset, std::string text, std::vector<DiagnosticNote> notes) {
  if (IsBroken()) return kNoNode;
  _isBroken = true;
  // What follows a mistake in its own line is often nothing but its trace.
  if (!_file.errors.empty() && !HasLineStart(_lastError, _at)) return kNoNode;
  _lastError = _at;
  _file.errors.push_back({.offset = offset, .text = std::move(text), .notes = std::move(notes)});
  _isFull = _file.errors.size() == kMaxErrors;
  return kNoNode;
}

Bool Parser::HasLineStart(std::size_t after, std::size_t last) const {
  for (std::size_t i = after + 1; i <= last && i < _tokens.size(); ++i) {
    if (_tokens[i].isFirstInLine) return true;
  }
  return false;
}

void Parser::Recover() {
  _isBroken = false;
  _isAngleSplit = false;
  Int depth = 0;
  while (!IsEnd()) {
    if (Is("{")) ++depth;
    if (Is("}") && depth-- == 0) return;
    const Token& token = Take();
    if (depth == 0 && (token.Is(";") || token.Is("}"))) return;
    // The next statement, where the semicolon of the broken one is missing.
    const Token& next = Peek();
    const Bool isKeyword = next.Is("if") || next.Is("for") || next.Is("while") || next.Is("return") || next.Is("do");
    if (depth == 0 && next.isFirstInLine && (isKeyword || IsTypeStart())) return;
  }
}

Bool Parser::Expect(std::string_view sign) {
  if (IsBroken()) return false;
  if (TakeIf(sign)) return true;
  StopAt(Peek());
  return false;
}

// Whether nothing that goes on an expression can begin with the token.
Bool Parser::IsCertainEnd(const Token& token) const {
  if (token.kind == TokenKind::kEnd || token.kind == TokenKind::kNumber) return true;
  if (token.Is(";") || token.Is("{") || token.Is("}")) return true;
  return token.kind == TokenKind::kWord && IsKnownName(token.text);
}

// Names that cannot be macros of the host.
Bool Parser::IsKnownName(std::string_view name) const {
  return _declared.contains(name) || _structs.contains(name) || FindWord(name) != nullptr;
}

SourceOffset Parser::GetEndOfLast() const {
  if (_at == 0) return Peek().offset;
  const Token& last = _tokens[_at - 1];
  return SourceMap::IsExpansion(last.offset) ? last.offset
                                             : last.offset + static_cast<SourceOffset>(last.text.size()) - 1;
}

Bool Parser::ExpectClosing(std::string_view sign, const Token& open) {
  if (IsBroken()) return false;
  if (TakeIf(sign)) return true;
  const Bool isCertain = IsCertainEnd(Peek()) || Is(sign == ")" ? "]" : ")");
  const Bool isPlain = _at > 0 && (_tokens[_at - 1].kind != TokenKind::kWord || IsKnownName(_tokens[_at - 1].text));
  if (!isCertain || !isPlain) {
    StopAt(Peek());
    return false;
  }
  Fail(GetEndOfLast(), Join({"\"", sign, "\" is missing here"}),
       {{open.offset, Join({"it belongs to this \"", open.text, "\""})}});
  return false;
}

Bool Parser::ExpectSemicolon() {
  if (IsBroken()) return false;
  if (TakeIf(";")) return true;
  const Bool isPlain = _at > 0 && (_tokens[_at - 1].kind != TokenKind::kWord || IsKnownName(_tokens[_at - 1].text));
  if (Is(")") && isPlain) {
    Fail(Peek().offset, "there is no \"(\" to which this \")\" belongs");
  } else if (IsCertainEnd(Peek()) && isPlain) {
    Fail(GetEndOfLast(), "\";\" is missing after this");
  } else {
    StopAt(Peek());
  }
  return false;
}

void Parser::ReadItem(Nodes& items) {
  const Token& token = Peek();
  if (token.kind == TokenKind::kInputsBegin) return ReadInputs(items);
  if (TakeIf(";")) return;
  if (Is("}") && _namespaces > 0) {
    --_namespaces;
    Take();
    return;
  }
  if (Is("namespace") && IsWord(1) && Is("{", 2)) {
    Take(), Take(), Take();
    ++_namespaces;
    return;
  }
  if (Is("[") && Is("numthreads", 1)) return FailGroupSize();
  switch (FindWordId(token.text)) {
    case WordId::kNoiseMark:
      items.push_back(Add(NodeKind::kNoiseMark, token.offset, "", {}));
      Take();
      return;
    case WordId::kGroupSize:
      return ReadGroupSize(items);
    case WordId::kGranularity:
    case WordId::kSingleThreadedThreshold:
      return ReadTuning(items);
    case WordId::kKernelStart:
      return ReadKernel(items);
    case WordId::kKernelMethod:
      Stop(token.offset, "a kernel in the form of a method, which can fail");
      return;
    default:
      break;
  }
  if (Is("struct") && Is("KernelInput", 1)) return ReadStructParameters(items);
  if (Is("struct") || (Is("typedef") && Is("struct", 1))) return ReadStruct(items);
  if (Is("typedef") || (Is("using") && Is("=", 2))) return ReadAlias(items);
  ReadFunctionOrConstant(items);
}

// [numthreads(8, 8, 1)]
void Parser::FailGroupSize() {
  const Token& word = Peek(1);
  Fail(word.offset, MakeForeignWordText(word.text, FindForeignWord(word.text, ForeignUse::kDeclaration)));
  while (!IsEnd() && !TakeIf("]")) Take();
  _isBroken = false;
}

void Parser::ReadGroupSize(Nodes& items) {
  const Token& start = Take();
  if (!Expect("(")) return;
  Nodes sizes;
  for (int axis = 0; axis < 3; ++axis) {
    if (axis > 0 && !Expect(",")) return;
    if (Peek().kind != TokenKind::kNumber) {
      StopAt(Peek());
      return;
    }
    sizes.push_back(Add(NodeKind::kLiteral, Peek().offset, Peek().text, {}));
    Take();
  }
  if (!Expect(")")) return;
  items.push_back(Add(NodeKind::kGroupSize, start.offset, "", sizes));
}

void Parser::ReadTuning(Nodes& items) {
  const Token& start = Take();
  if (!Expect("(")) return;
  const NodeIndex value = ReadUnary();
  if (!Expect(")")) return;
  items.push_back(Add(NodeKind::kTuning, start.offset, start.text, {value}));
}

// (type) name, (type) name ...
void Parser::ReadInputs(Nodes& items) {
  const Token& start = Take();
  Nodes parameters;
  while (!IsBroken() && Peek().kind != TokenKind::kInputsEnd) {
    if (!Expect("(")) return;
    const NodeIndex type = ReadType();
    if (!Expect(")")) return;
    if (!IsWord()) {
      StopAt(Peek());
      return;
    }
    parameters.push_back(Add(NodeKind::kParameter, Peek().offset, Peek().text, {type}));
    Take();
    if (Peek().kind != TokenKind::kInputsEnd && !Expect(",")) return;
  }
  if (IsBroken()) return;
  Take();
  if (_file.tree.parameters != kNoNode) {
    Stop(start.offset, "a second declaration of the parameters");
    return;
  }
  items.push_back(_file.tree.parameters = Add(NodeKind::kParameters, start.offset, "", parameters));
}

void Parser::ReadStructParameters(Nodes& items) {
  const Token& start = Take();
  Take();
  if (!Expect("{")) return;
  Nodes parameters;
  while (!IsBroken() && !Is("}")) {
    const NodeIndex type = ReadType();
    if (IsBroken()) return;
    if (!IsWord()) {
      StopAt(Peek());
      return;
    }
    parameters.push_back(Add(NodeKind::kParameter, Peek().offset, Peek().text, {type}));
    Take();
    if (!Expect(";")) return;
  }
  if (!Expect("}") || !Expect(";")) return;
  if (_file.tree.parameters != kNoNode) {
    Stop(start.offset, "a second declaration of the parameters");
    return;
  }
  items.push_back(_file.tree.parameters = Add(NodeKind::kParameters, start.offset, "", parameters, kIsStructForm));
}

// struct Name { ... }; and, as C has it, typedef struct { ... } Name;
void Parser::ReadStruct(Nodes& items) {
  const Token& start = Peek();
  const Bool isTypedef = TakeIf("typedef");
  Take();
  if (_file.tree.kernel != kNoNode) {
    Stop(start.offset, "a struct after the kernel");
    return;
  }
  std::string_view name;
  if (!isTypedef) name = ReadStructName();
  if (!Expect("{")) return;
  if (!isTypedef) AddStruct(name);
  const Nodes members = ReadMembers();
  if (!Expect("}")) return;
  if (isTypedef) AddStruct(name = ReadStructName());
  if (!Expect(";")) return;
  items.push_back(Add(NodeKind::kStruct, start.offset, name, members, isTypedef ? kIsCppOnly : 0));
}

// typedef float4 Colour; or using Colour = float4; the tree has the type itself.
void Parser::ReadAlias(Nodes& items) {
  const Token& start = Take();
  const Bool isUsing = start.text == "using";
  std::string_view name;
  if (isUsing) {
    name = ReadDeclaredName();
    if (!Expect("=")) return;
  }
  const SourceOffset offset = Peek().offset;
  const NodeIndex type = ReadType();
  if (IsBroken()) return;
  const auto flags = _file.tree.nodes[type].flags;
  if (!_file.tree.GetChildren(type).empty() || (flags & (kIsConst | kIsReference | kIsPointer)) != 0) {
    Stop(offset, "another name for such a type");
    return;
  }
  const std::string_view meant = _file.tree.GetName(type);
  // typedef unsigned int uint;
  const Bool isItself = FindTypeWord(meant) != kUnknownType && FindTypeWord(Peek().text) == FindTypeWord(meant);
  if (!isUsing) name = isItself ? Take().text : ReadDeclaredName();
  if (!Expect(";")) return;
  if (!isItself) _aliases.emplace(name, meant);
  items.push_back(Add(NodeKind::kPrototype, start.offset, name, {}, kIsCppOnly));
}

std::string_view Parser::ReadStructName() {
  // Types that came later than such structs.
  return IsExtendedType(Peek().text) ? Take().text : ReadDeclaredName();
}

void Parser::AddStruct(std::string_view name) {
  _structs.insert(name);
  _structNames.push_back(name);
}

Parser::Nodes Parser::ReadMembers() {
  Nodes members;
  while (!IsBroken() && !Is("}")) {
    const NodeIndex type = ReadType();
    if (IsBroken()) return members;
    do {
      const SourceOffset offset = Peek().offset;
      const std::string_view member = ReadDeclaredName();
      const NodeIndex dimensions = ReadDimensions();
      if (IsBroken()) return members;
      members.push_back(Add(NodeKind::kMember, offset, member, {type, dimensions}));
    } while (TakeIf(","));
    if (!Expect(";")) return members;
  }
  return members;
}

void Parser::ReadFunctionOrConstant(Nodes& items) {
  const Token& start = Peek();
  UInt16 flags = 0;
  Bool isInline = false;
  for (;; Take()) {
    if (Is("inline"))
      isInline = true;
    else if (Is("constexpr"))
      flags |= kIsConst;
    else if ((Is("constant") || Is("__constant")) && (Is("const", 1) || IsTypeStart(1)))
      flags |= kIsConst | kIsExtended;
    else if (!Is("static"))
      break;
  }
  if (!IsTypeStart()) {
    FailUnknownType();
    return;
  }
  const Bool isConst = Is("const") || (flags & kIsConst);
  const NodeIndex type = ReadType();
  if (IsBroken()) return;
  if (IsWord() && Is("(", 1)) {
    const NodeIndex function = ReadFunction(type, isInline);
    if (!IsBroken()) items.push_back(function);
    return;
  }
  if (!isConst || _file.tree.kernel != kNoNode) {
    Stop(start.offset, isConst ? "a constant after the kernel" : "a variable outside of functions");
    return;
  }
  const NodeIndex declaration = ReadDeclarators(type, static_cast<UInt16>(kIsConst | (flags & kIsExtended)));
  if (ExpectSemicolon()) items.push_back(declaration);
}

// The translation for GPUs finds functions that are inline, with the brace on a line of its own.
NodeIndex Parser::ReadFunction(NodeIndex type, Bool isInline) {
  const HiddenTypes hiddenTypes(*this);
  const SourceOffset offset = Peek().offset;
  const std::string_view name = ReadDeclaredName();
  Nodes children{type};
  const Token& open = Take();
  const Bool isVoid = Is("void") && Is(")", 1);  // as in C
  if (isVoid) Take();
  while (!IsBroken() && !Is(")")) {
    children.push_back(ReadFunctionParameter());
    if (!Is(")") && !Expect(",")) return kNoNode;
  }
  if (!ExpectClosing(")", open)) return kNoNode;
  const Bool hasDefault = std::any_of(children.begin() + 1, children.end(), [this](NodeIndex parameter) {
    return _file.tree.GetChild(parameter, 2) != kNoNode;
  });
  if (!hasDefault && TakeIf(";")) return Add(NodeKind::kPrototype, offset, name, {}, kIsCppOnly);
  if (!Is("{")) return Stop(offset, "a function without its body");
  const Bool isPlain = isInline && !isVoid && Peek().isFirstInLine;
  children.push_back(ReadBlock());
  return Add(NodeKind::kFunction, offset, name, children, isPlain ? 0 : kIsCppOnly);
}

NodeIndex Parser::ReadFunctionParameter() {
  UInt16 flags = 0;
  if (Is("INOUT") || Is("inout") || Is("out") || Is("in")) {
    const std::string_view word = Take().text;
    if (word == "out") flags |= kIsOut;
    if (word == "INOUT" || word == "inout") flags |= kIsInOut;
  }
  NodeIndex type = kNoNode;
  if (Is("CPU_CONSTREF")) {
    Take();
    const Token& open = Peek();
    if (!Expect("(")) return kNoNode;
    type = ReadType();
    if (!ExpectClosing(")", open)) return kNoNode;
    flags |= kIsConst | kIsReference;
  } else {
    type = ReadType();
  }
  if (IsBroken()) return kNoNode;
  flags |= _file.tree.nodes[type].flags & (kIsConst | kIsReference);
  if (!IsWord()) return StopAt(Peek());
  const SourceOffset offset = Peek().offset;
  const std::string_view name = ReadVariableName();
  const NodeIndex dimensions = ReadDimensions();
  Nodes children{type, dimensions};
  if (TakeIf("=")) {
    if (Is("{")) return Stop(Peek().offset, "a value in braces");
    children.push_back(ReadAssignment());
  }
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kFunctionParameter, offset, name, children, flags);
}

void Parser::ReadKernel(Nodes& items) {
  const Token& start = Take();
  if (!Expect("(")) return;
  if (_structs.contains(Peek().text)) {
    Fail(Peek().offset, Join({"there is a struct \"", Peek().text, "\" already: the kernel needs a name of its own"}));
    return;
  }
  const std::string_view name = ReadDeclaredName();
  if (!Expect(",") || !Expect("KERNELINPUTS") || !Expect(")")) return;
  if (_file.tree.kernel != kNoNode) {
    Stop(start.offset, "a second kernel");
    return;
  }
  if (!Is("{")) {
    StopAt(Peek());
    return;
  }
  const NodeIndex block = ReadBlock();
  if (IsBroken()) return;
  if (!Is(start.Is("FP_KERNEL") ? "FP_KERNEL_END" : "OSTRA_PARALLEL_KERNEL_END")) {
    StopAt(Peek());
    return;
  }
  Take();
  items.push_back(_file.tree.kernel = Add(NodeKind::kKernel, start.offset, name, {block}));
}

}  // namespace ostra::kernellanguage
