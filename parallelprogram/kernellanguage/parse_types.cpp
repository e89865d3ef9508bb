#include "parallelprogram/kernellanguage/parse_types.h"

namespace ostra::kernellanguage {

Bool ParseTypes::IsTypeStart(std::size_t ahead) const {
  if (!IsWord(ahead)) return false;
  if (Is("struct", ahead)) return IsWord(ahead + 1) && _names.IsStruct(Peek(ahead + 1).text);
  return Is("const", ahead) || Is("unsigned", ahead) || Is("IGNORE_VARIABLE_GPU", ahead) ||
         _names.IsType(Peek(ahead).text);
}

NodeIndex ParseTypes::ReadType() {
  const Level level(_nodes);
  if (!CheckDepth()) return kNoNode;
  UInt16 flags = 0;
  while (Is("const") || Is("IGNORE_VARIABLE_GPU")) {
    flags |= Is("const") ? kIsConst : kIsForCpu;
    Take();
  }
  // As in C.
  if (Is("struct") && IsWord(1) && _names.IsStruct(Peek(1).text)) {
    flags |= kIsCppOnly;
    Take();
  }
  return ReadQualified(flags);
}

NodeIndex ParseTypes::ReadQualified(UInt16 flags) {
  const SourceOffset offset = Peek().offset;
  const std::string_view name = ReadName();
  if (name.empty()) return kNoNode;
  NodeList arguments;
  if (Is("<") && !ReadList(name, arguments)) return kNoNode;
  // What follows the > of a list inside of another one belongs to the outer one.
  while (!_tokens.IsAngleSplit() && (Is("const") || Is("&") || Is("*"))) {
    const std::string_view sign = Take().text;
    flags |= sign == "const" ? kIsConst : sign == "&" ? kIsReference : kIsPointer;
  }
  if (Is("::") || Is("&&")) return StopHere();
  return Add(NodeKind::kType, offset, name, arguments, flags);
}

std::string_view ParseTypes::ReadName() {
  const Token& word = Peek();
  if (word.kind != TokenKind::kWord) {
    StopHere();
    return {};
  }
  if (word.text == "unsigned") {
    Take();
    if (Is("long") || Is("short") || Is("char")) {
      StopHere();
      return {};
    }
    TakeIf("int");
    return "uint";
  }
  if (!_names.IsType(word.text)) {
    _unknownTypes.FailUnknownType();
    return {};
  }
  Take();
  return _names.GetMeant(word.text);
}

Bool ParseTypes::ReadList(std::string_view name, NodeList& types) {
  Take();
  if (name == "Block" || name == "BaseArray") _unknownTypes.CheckElementType();
  do {
    if (IsBroken()) return false;
    types.push_back(ReadType());
  } while (!IsBroken() && !_tokens.IsAngleSplit() && TakeIf(","));
  return !IsBroken() && TakeAngle();
}

Bool ParseTypes::TakeAngle() {
  if (_tokens.TakeAngle()) return true;
  StopHere();
  return false;
}

}  // namespace ostra::kernellanguage
