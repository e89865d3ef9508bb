#include "parallelprogram/kernellanguage/parse_recovery.h"

namespace ostra::kernellanguage {

void ParseRecovery::Recover() {
  _messages.Recover();
  _tokens.ForgetAngle();
  Int depth = 0;
  while (!IsEnd()) {
    if (Is("{")) ++depth;
    if (Is("}") && depth-- == 0) return;
    const Token& token = Take();
    if (depth == 0 && (token.Is(";") || token.Is("}"))) return;
    // The next statement, where the semicolon of the broken one is missing.
    const Token& next = Peek();
    const Bool isKeyword = next.Is("if") || next.Is("for") || next.Is("while") || next.Is("return") || next.Is("do");
    if (depth == 0 && next.isFirstInLine && (isKeyword || _types.IsTypeStart())) return;
  }
}

}  // namespace ostra::kernellanguage
