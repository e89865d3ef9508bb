#include "parallelprogram/kernellanguage/parse_parameters.h"

namespace ostra::kernellanguage {

void ParseParameters::ReadInputs(NodeList& items) {
  const Token& start = Take();
  NodeList parameters;
  while (!IsBroken() && Peek().kind != TokenKind::kInputsEnd) {
    if (!Expect("(")) return;
    const NodeIndex type = _types.ReadType();
    if (!Expect(")")) return;
    ReadName(type, parameters);
    if (Peek().kind != TokenKind::kInputsEnd && !Expect(",")) return;
  }
  if (IsBroken()) return;
  Take();
  AddList(start, parameters, 0, items);
}

void ParseParameters::ReadStructForm(NodeList& items) {
  const Token& start = Take();
  Take();
  if (!Expect("{")) return;
  NodeList parameters;
  while (!IsBroken() && !Is("}")) {
    const NodeIndex type = _types.ReadType();
    ReadName(type, parameters);
    if (!Expect(";")) return;
  }
  if (Expect("}") && Expect(";")) AddList(start, parameters, kIsStructForm, items);
}

void ParseParameters::ReadName(NodeIndex type, NodeList& parameters) {
  if (IsBroken()) return;
  if (!IsWord()) {
    StopHere();
    return;
  }
  parameters.push_back(Add(NodeKind::kParameter, Peek().offset, Peek().text, {type}));
  Take();
}

void ParseParameters::AddList(const Token& start, const NodeList& parameters, UInt16 flags, NodeList& items) {
  if (_tree.parameters != kNoNode) {
    Stop(start.offset, "a second declaration of the parameters");
    return;
  }
  items.push_back(_tree.parameters = Add(NodeKind::kParameters, start.offset, "", parameters, flags));
}

}  // namespace ostra::kernellanguage
