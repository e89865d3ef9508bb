#include "parallelprogram/kernellanguage/parse_part.h"

#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {
namespace {

// Whether nothing that goes on an expression can begin with the token.
Bool IsCertainEnd(const Token& token, const ParseNames& names) {
  if (token.kind == TokenKind::kEnd || token.kind == TokenKind::kNumber) return true;
  if (token.Is(";") || token.Is("{") || token.Is("}")) return true;
  return token.kind == TokenKind::kWord && names.IsKnown(token.text);
}

// Whether what was read last is no macro of the host, which may stand for anything.
Bool IsLastPlain(const TokenCursor& tokens, const ParseNames& names) {
  const Token* last = tokens.GetLast();
  return last && (last->kind != TokenKind::kWord || names.IsKnown(last->text));
}

// The last byte of what was read last.
SourceOffset GetEndOfLast(const TokenCursor& tokens) {
  const Token* last = tokens.GetLast();
  if (!last) return tokens.Peek().offset;
  if (SourceMap::IsExpansion(last->offset)) return last->offset;
  return last->offset + static_cast<SourceOffset>(last->text.size()) - 1;
}

}  // namespace

NodeIndex ParsePart::Stop(SourceOffset offset, std::string reason) {
  _messages.Stop(offset, std::move(reason));
  return kNoNode;
}

NodeIndex ParsePart::StopHere() {
  const Token& token = Peek();
  if (token.kind == TokenKind::kEnd) return Stop(token.offset, "the end of the file here");
  return Stop(token.offset, Join({"this use of \"", token.text, "\""}));
}

NodeIndex ParsePart::Fail(SourceOffset offset, std::string text, std::vector<DiagnosticNote> notes) {
  _messages.Fail(offset, std::move(text), std::move(notes));
  return kNoNode;
}

Bool ParsePart::Expect(std::string_view sign) {
  if (IsBroken()) return false;
  if (TakeIf(sign)) return true;
  StopHere();
  return false;
}

Bool ParsePart::ExpectClosing(std::string_view sign, const Token& open) {
  if (IsBroken()) return false;
  if (TakeIf(sign)) return true;
  const Bool isCertain = IsCertainEnd(Peek(), _names) || Is(sign == ")" ? "]" : ")");
  if (!isCertain || !IsLastPlain(_tokens, _names)) {
    StopHere();
    return false;
  }
  Fail(GetEndOfLast(_tokens), Join({"\"", sign, "\" is missing here"}),
       {{open.offset, Join({"it belongs to this \"", open.text, "\""})}});
  return false;
}

Bool ParsePart::ExpectSemicolon() {
  if (IsBroken()) return false;
  if (TakeIf(";")) return true;
  const Bool isPlain = IsLastPlain(_tokens, _names);
  if (Is(")") && isPlain) {
    Fail(Peek().offset, "there is no \"(\" to which this \")\" belongs");
  } else if (IsCertainEnd(Peek(), _names) && isPlain) {
    Fail(GetEndOfLast(_tokens), "\";\" is missing after this");
  } else {
    StopHere();
  }
  return false;
}

}  // namespace ostra::kernellanguage
