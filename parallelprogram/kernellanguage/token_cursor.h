// TokenCursor: which token of a file the parser reads next.
//
//   while (!tokens.IsEnd()) {
//     if (tokens.TakeIf("{")) ...
//   }
#pragma once

#include <span>

#include "parallelprogram/kernellanguage/tokens.h"

namespace ostra::kernellanguage {

class TokenCursor {
 public:
  // The tokens end with a kEnd, and stay where they are.
  explicit TokenCursor(std::span<const Token> tokens) : _tokens(tokens) {}

  // The next token, or one that many tokens further on; the kEnd where there are fewer.
  const Token& Peek(std::size_t ahead = 0) const {
    return _tokens[_at + ahead < _tokens.size() ? _at + ahead : _tokens.size() - 1];
  }
  Bool Is(std::string_view text, std::size_t ahead = 0) const { return Peek(ahead).Is(text); }
  Bool IsWord(std::size_t ahead = 0) const { return Peek(ahead).kind == TokenKind::kWord; }
  Bool IsEnd() const { return Peek().kind == TokenKind::kEnd; }

  // The next token, which is read then. The kEnd stays.
  const Token& Take() { return _tokens[_at + 1 < _tokens.size() ? _at++ : _at]; }
  Bool TakeIf(std::string_view text) {
    if (!Is(text)) return false;
    Take();
    return true;
  }
  // One > of a >>, which ends two lists of types, or a > by itself; false if there is none.
  Bool TakeAngle();
  // Whether one > of a >> is left.
  Bool IsAngleSplit() const { return _isAngleSplit; }
  void ForgetAngle() { _isAngleSplit = false; }

  // The token that was read last; null at the beginning.
  const Token* GetLast() const { return _at == 0 ? nullptr : &_tokens[_at - 1]; }
  std::size_t GetPosition() const { return _at; }
  // Whether a line begins with one of the tokens behind position `after`, up to the next one.
  Bool HasLineStartSince(std::size_t after) const;

 private:
  const std::span<const Token> _tokens;
  std::size_t _at = 0;
  Bool _isAngleSplit = false;
};

}  // namespace ostra::kernellanguage
