#include "parallelprogram/kernellanguage/parse_declarations.h"

#include "parallelprogram/kernellanguage/parse_expressions.h"
#include "parallelprogram/kernellanguage/types.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernellanguage {

NodeIndex ParseDeclarations::ReadDeclaration(UInt16 flags) {
  const NodeIndex type = _types.ReadType();
  if (IsBroken()) return kNoNode;
  const NodeIndex dimensions = ReadDimensions();
  if (IsBroken()) return kNoNode;
  if (dimensions != kNoNode) flags |= kIsExtended;
  return ReadDeclarators(type, static_cast<UInt16>(flags | (_tree.nodes[type].flags & kIsConst)), dimensions);
}

NodeIndex ParseDeclarations::ReadDeclarators(NodeIndex type, UInt16 flags, NodeIndex dimensions) {
  const SourceOffset offset = _tree.nodes[type].offset;
  if (_tree.nodes[type].flags & (kIsReference | kIsPointer)) return Stop(offset, "a local reference or pointer");
  NodeList variables;
  do {
    variables.push_back(ReadVariable(type, flags, dimensions));
  } while (!IsBroken() && TakeIf(","));
  return IsBroken() ? kNoNode : Add(NodeKind::kDeclaration, offset, "", variables);
}

NodeIndex ParseDeclarations::ReadDimensions() {
  if (IsBroken() || !Is("[")) return kNoNode;
  const SourceOffset offset = Peek().offset;
  NodeList sizes;
  while (Is("[")) {
    const Token& open = Take();
    sizes.push_back(Is("]") ? kNoNode : _expressions.ReadConditional());
    if (!ExpectClosing("]", open)) return kNoNode;
  }
  return Add(NodeKind::kDimensions, offset, "", sizes);
}

std::string_view ParseDeclarations::ReadName() {
  if (IsBroken()) return {};
  const Token& token = Peek();
  const Word* known = token.kind == TokenKind::kWord ? FindWord(token.text) : nullptr;
  if (token.kind != TokenKind::kWord || _names.IsStruct(token.text) || (known && known->kind != WordKind::kFunction)) {
    StopHere();
    return {};
  }
  _names.Declare(token.text);
  return Take().text;
}

std::string_view ParseDeclarations::ReadVariableName() {
  if (IsBroken()) return {};
  const Token& token = Peek();
  const Bool isName = Is("=", 1) || Is(";", 1) || Is(",", 1) || Is(")", 1) || Is("[", 1);
  const Bool isKeyword = Is("void") || Is("bool") || Is("int") || Is("float") || Is("double");
  if (!IsWord() || !isName || isKeyword || FindTypeWord(token.text) == kUnknownType) return ReadName();
  _names.HideType(token.text);
  _names.Declare(token.text);
  return Take().text;
}

NodeIndex ParseDeclarations::ReadVariable(NodeIndex type, UInt16 flags, NodeIndex dimensions) {
  const Token& start = Peek();
  const std::string_view name = ReadVariableName();
  if (dimensions != kNoNode && Is("[")) return StopHere();
  if (dimensions == kNoNode) dimensions = ReadDimensions();
  if (IsBroken()) return kNoNode;
  const NodeIndex value = ReadInitialValue(type, flags);
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kVariable, start.offset, name, {type, dimensions, value}, flags);
}

NodeIndex ParseDeclarations::ReadInitialValue(NodeIndex type, UInt16& flags) {
  const Token& start = Peek();
  if (TakeIf("=")) return Is("{") ? ReadInitializerList() : _expressions.ReadAssignment();
  if (Is("(")) {
    NodeList children{type};
    if (!_expressions.ReadArguments(children)) return kNoNode;
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

NodeIndex ParseDeclarations::ReadInitializerList() {
  const Level level(_nodes);
  if (!CheckDepth()) return kNoNode;
  const Token& open = Take();
  NodeList values;
  while (!IsBroken() && !Is("}")) {
    values.push_back(Is("{") ? ReadInitializerList() : _expressions.ReadAssignment());
    if (!Is("}") && !Expect(",")) return kNoNode;
  }
  if (!Expect("}")) return kNoNode;
  return Add(NodeKind::kInitializerList, open.offset, "", values);
}

}  // namespace ostra::kernellanguage
