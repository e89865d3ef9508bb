#include "parallelprogram/kernellanguage/parse_structs.h"

#include "parallelprogram/kernellanguage/types.h"

namespace ostra::kernellanguage {

void ParseStructs::ReadStruct(NodeList& items) {
  const Token& start = Peek();
  const Bool isTypedef = TakeIf("typedef");
  Take();
  if (_tree.kernel != kNoNode) {
    Stop(start.offset, "a struct after the kernel");
    return;
  }
  std::string_view name;
  if (!isTypedef) name = ReadName();
  if (!Expect("{")) return;
  if (!isTypedef) _names.AddStruct(name);
  const NodeList members = ReadMembers();
  if (!Expect("}")) return;
  if (isTypedef) _names.AddStruct(name = ReadName());
  if (!Expect(";")) return;
  items.push_back(Add(NodeKind::kStruct, start.offset, name, members, isTypedef ? kIsCppOnly : 0));
}

void ParseStructs::ReadAlias(NodeList& items) {
  const Token& start = Take();
  const Bool isUsing = start.text == "using";
  std::string_view name;
  if (isUsing) {
    name = _declarations.ReadName();
    if (!Expect("=")) return;
  }
  const SourceOffset offset = Peek().offset;
  const NodeIndex type = _types.ReadType();
  if (IsBroken()) return;
  const auto flags = _tree.nodes[type].flags;
  if (!_tree.GetChildren(type).empty() || (flags & (kIsConst | kIsReference | kIsPointer)) != 0) {
    Stop(offset, "another name for such a type");
    return;
  }
  const std::string_view meant = _tree.GetName(type);
  // typedef unsigned int uint;
  const Bool isItself = FindTypeWord(meant) != kUnknownType && FindTypeWord(Peek().text) == FindTypeWord(meant);
  if (!isUsing) name = isItself ? Take().text : _declarations.ReadName();
  if (!Expect(";")) return;
  if (!isItself) _names.AddAlias(name, meant);
  items.push_back(Add(NodeKind::kPrototype, start.offset, name, {}, kIsCppOnly));
}

std::string_view ParseStructs::ReadName() {
  // Types that came later than such structs.
  return IsExtendedType(Peek().text) ? Take().text : _declarations.ReadName();
}

NodeList ParseStructs::ReadMembers() {
  NodeList members;
  while (!IsBroken() && !Is("}")) {
    const NodeIndex type = _types.ReadType();
    if (IsBroken()) return members;
    do {
      const SourceOffset offset = Peek().offset;
      const std::string_view member = _declarations.ReadName();
      const NodeIndex dimensions = _declarations.ReadDimensions();
      if (IsBroken()) return members;
      members.push_back(Add(NodeKind::kMember, offset, member, {type, dimensions}));
    } while (TakeIf(","));
    if (!Expect(";")) return members;
  }
  return members;
}

}  // namespace ostra::kernellanguage
