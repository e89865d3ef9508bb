#include "parallelprogram/kernellanguage/tokens.h"

#include <algorithm>

#include "ostra/core/text_characters.h"

namespace ostra::kernellanguage {
namespace {

using Trouble = LexerTrouble::Kind;

// Longer ones first.
constexpr std::string_view kSigns[] = {
    "<<=", ">>=", "...", "->*", "<=>", "++", "--", "<<", ">>", "<=", ">=", "==", "!=", "&&",
    "||",  "+=",  "-=",  "*=",  "/=",  "%=", "&=", "|=", "^=", "->", "::", "##", ".*"};
constexpr std::string_view kSingleSigns = "+-*/%&|^~!<>=?:;,.(){}[]#";
constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

Bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; }

class Reader {
 public:
  Reader(std::string_view text, SourceOffset begin, LexerTrouble& trouble)
      : _text(text), _begin(begin), _trouble(trouble) {
    if (text.starts_with(kByteOrderMark)) _at = kByteOrderMark.size();
  }

  std::vector<Token> Read() {
    while (_at < _text.size() && _trouble.kind == Trouble::kNone) Step();
    return std::move(_tokens);
  }

 private:
  char Peek(std::size_t ahead = 0) const { return _at + ahead < _text.size() ? _text[_at + ahead] : '\0'; }
  void Fail(Trouble kind, std::size_t at) { _trouble = {kind, _begin + static_cast<SourceOffset>(at)}; }

  void Step() {
    const char c = _text[_at];
    if (c == '\n') {
      _isLineStart = true;
      Skip(1);
    } else if (IsBlank(c)) {
      Skip(1);
    } else if (c == '\\' && EndsLine(_at + 1)) {
      SkipContinuation();
    } else if (c == '/' && Peek(1) == '/') {
      SkipLineComment();
    } else if (c == '/' && Peek(1) == '*') {
      SkipComment();
    } else {
      ReadToken(c);
    }
  }

  void Skip(std::size_t count) {
    _at += count;
    _isAfterSpace = true;
  }

  // Whether only blanks stand between `position` and the end of the line.
  Bool EndsLine(std::size_t position) const {
    while (position < _text.size() && IsBlank(_text[position])) ++position;
    return position < _text.size() && _text[position] == '\n';
  }

  // C++ puts what a continuation separates together to one word.
  void SkipContinuation() {
    const std::size_t next = _text.find('\n', _at) + 1;
    const Bool touches = !_tokens.empty() && !_isAfterSpace;
    if (touches && next < _text.size() && !IsBlank(_text[next]) && _text[next] != '\n' && _text[next] != '(')
      Fail(Trouble::kSplitWord, _at);
    Skip(next - _at);
  }

  void SkipLineComment() {
    const std::size_t end = std::min(_text.find('\n', _at), _text.size());
    std::size_t last = end;
    while (last > _at && IsBlank(_text[last - 1])) --last;
    if (end < _text.size() && _text[last - 1] == '\\') Fail(Trouble::kContinuedComment, _at);
    Skip(end - _at);
  }

  void SkipComment() {
    const std::size_t close = _text.find("*/", _at + 2);
    if (close == std::string_view::npos) return Fail(Trouble::kOpenComment, _at);
    Skip(close + 2 - _at);
  }

  void ReadToken(char c) {
    if (_tokens.size() == kMaxTokens) return Fail(Trouble::kTooManyTokens, _at);
    const std::size_t begin = _at;
    TokenKind kind = TokenKind::kSign;
    if (IsWordStart(c)) {
      kind = TokenKind::kWord;
      while (IsWordCharacter(Peek())) ++_at;
    } else if (IsDigit(c) || (c == '.' && IsDigit(Peek(1)))) {
      kind = TokenKind::kNumber;
      ReadNumber();
    } else if (c == '"' || c == '\'') {
      kind = TokenKind::kLiteral;
      ReadLiteral(c);
    } else if (kSingleSigns.find(c) != std::string_view::npos) {
      _at += GetSignLength();
    } else {
      kind = TokenKind::kOther;
      ++_at;
    }
    _tokens.push_back({.kind = kind,
                       .isFirstInLine = _isLineStart,
                       .isAfterSpace = _isAfterSpace,
                       .offset = _begin + static_cast<SourceOffset>(begin),
                       .text = _text.substr(begin, _at - begin)});
    _isLineStart = _isAfterSpace = false;
  }

  std::size_t GetSignLength() const {
    for (const std::string_view sign : kSigns) {
      if (_text.substr(_at, sign.size()) == sign) return sign.size();
    }
    return 1;
  }

  void ReadNumber() {
    while (IsWordCharacter(Peek()) || Peek() == '.' || (Peek() == '\'' && IsWordCharacter(Peek(1)))) {
      const Bool isExponent = Peek() == 'e' || Peek() == 'E' || Peek() == 'p' || Peek() == 'P';
      ++_at;
      if (isExponent && (Peek() == '+' || Peek() == '-')) ++_at;
    }
  }

  // Up to the closing quote, or to the end of the line for a quote that is not closed.
  void ReadLiteral(char quote) {
    ++_at;
    while (_at < _text.size() && _text[_at] != '\n') {
      if (_text[_at] == quote) {
        ++_at;
        return;
      }
      _at += _text[_at] == '\\' && _at + 1 < _text.size() && _text[_at + 1] != '\n' ? 2 : 1;
    }
  }

  std::string_view _text;
  SourceOffset _begin;
  LexerTrouble& _trouble;
  std::size_t _at = 0;
  Bool _isLineStart = true, _isAfterSpace = false;
  std::vector<Token> _tokens;
};

}  // namespace

std::vector<Token> ReadTokens(std::string_view text, SourceOffset begin, LexerTrouble& trouble) {
  return Reader(text, begin, trouble).Read();
}

}  // namespace ostra::kernellanguage
