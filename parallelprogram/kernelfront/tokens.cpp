#include "parallelprogram/kernelfront/tokens.h"

#include "ostra/core/text_characters.h"

namespace ostra::kernelfront {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; }

class Reader {
 public:
  explicit Reader(std::string_view text) : _text(text) {}

  std::vector<Token> Read() {
    while (_at < _text.size()) Step();
    return std::move(_tokens);
  }

 private:
  char Peek(std::size_t ahead = 0) const { return _at + ahead < _text.size() ? _text[_at + ahead] : '\0'; }

  void Step() {
    const char c = _text[_at];
    if (c == '\n') {
      EndLine(false);
    } else if (IsBlank(c)) {
      ++_at;
    } else if (c == '\\' && EndsLine(_at + 1)) {
      _at = _text.find('\n', _at);
      EndLine(true);
    } else if (c == '/' && Peek(1) == '/') {
      _at = std::min(_text.find('\n', _at), _text.size());
    } else if (c == '/' && Peek(1) == '*') {
      SkipComment();
    } else {
      ReadToken(c);
    }
  }

  void EndLine(bool isContinued) {
    ++_at;
    ++_line;
    if (isContinued) return;
    _isLineStart = true;
    _isInDirective = false;
  }

  // Whether only blanks stand between `position` and the end of the line.
  bool EndsLine(std::size_t position) const {
    while (position < _text.size() && IsBlank(_text[position])) ++position;
    return position < _text.size() && _text[position] == '\n';
  }

  void SkipComment() {
    const std::size_t close = _text.find("*/", _at + 2);
    const std::size_t end = close == std::string_view::npos ? _text.size() : close + 2;
    for (; _at < end; ++_at) _line += _text[_at] == '\n';
  }

  void ReadToken(char c) {
    const std::size_t begin = _at;
    const int line = _line;
    if (c == '#' && _isLineStart) _isInDirective = true;
    Token::Kind kind = Token::Kind::kSign;
    if (IsWordStart(c)) {
      kind = Token::Kind::kWord;
      while (IsWordCharacter(Peek())) ++_at;
    } else if (IsDigit(c) || (c == '.' && IsDigit(Peek(1)))) {
      kind = Token::Kind::kNumber;
      ReadNumber();
    } else if (c == '"' || c == '\'') {
      kind = Token::Kind::kLiteral;
      ReadLiteral(c);
    } else {
      ++_at;
    }
    _tokens.push_back({kind, begin, _at, line, _isLineStart, _isInDirective});
    _isLineStart = false;
  }

  void ReadNumber() {
    while (IsWordCharacter(Peek()) || Peek() == '.' || Peek() == '\'') {
      const bool isExponent = Peek() == 'e' || Peek() == 'E' || Peek() == 'p' || Peek() == 'P';
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
  std::size_t _at = 0;
  int _line = 1;
  bool _isLineStart = true;
  bool _isInDirective = false;
  std::vector<Token> _tokens;
};

}  // namespace

std::vector<Token> ReadTokens(std::string_view text) { return Reader(text).Read(); }

}  // namespace ostra::kernelfront
