#include "parallelprogram/kernellanguage/parse_directives.h"

#include "parallelprogram/kernellanguage/foreign_words.h"
#include "parallelprogram/kernellanguage/parse_expressions.h"

namespace ostra::kernellanguage {

void ParseDirectives::FailForeignGroupSize() {
  const Token& word = Peek(1);
  Fail(word.offset, MakeForeignWordText(word.text, FindForeignWord(word.text, ForeignUse::kDeclaration)));
  while (!IsEnd() && !TakeIf("]")) Take();
  _messages.Recover();
}

void ParseDirectives::ReadGroupSize(NodeList& items) {
  const Token& start = Take();
  if (!Expect("(")) return;
  NodeList sizes;
  for (int axis = 0; axis < 3; ++axis) {
    if (axis > 0 && !Expect(",")) return;
    if (Peek().kind != TokenKind::kNumber) {
      StopHere();
      return;
    }
    sizes.push_back(Add(NodeKind::kLiteral, Peek().offset, Peek().text, {}));
    Take();
  }
  if (!Expect(")")) return;
  items.push_back(Add(NodeKind::kGroupSize, start.offset, "", sizes));
}

void ParseDirectives::ReadTuning(NodeList& items) {
  const Token& start = Take();
  if (!Expect("(")) return;
  const NodeIndex value = _expressions.ReadUnary();
  if (!Expect(")")) return;
  items.push_back(Add(NodeKind::kTuning, start.offset, start.text, {value}));
}

}  // namespace ostra::kernellanguage
