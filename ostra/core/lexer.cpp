#include "ostra/core/lexer.h"

#include <algorithm>
#include <charconv>

#include "ostra/core/format.h"
#include "ostra/core/text_characters.h"

OSTRA_UNIT("lexer");

namespace ostra {
namespace {

template <class Is>
std::size_t CountLeading(std::string_view text, Is is) {
  return static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), is) - text.begin());
}

LEXERSYMBOL ClassifyCharacter(char c) {
  switch (c) {
    case '(':
      return LEXERSYMBOL::PARENTHESE_OPEN;
    case ')':
      return LEXERSYMBOL::PARENTHESE_CLOSE;
    case '[':
      return LEXERSYMBOL::SQUAREBRACKET_OPEN;
    case ']':
      return LEXERSYMBOL::SQUAREBRACKET_CLOSE;
    case ',':
      return LEXERSYMBOL::COMMA;
    default:
      return LEXERSYMBOL::CHARACTER;
  }
}

// The symbol that `rest`, which is not empty, starts with.
LEXERSYMBOL Classify(std::string_view rest, std::size_t& size) {
  if (IsWordStart(rest[0])) {
    size = CountLeading(rest, IsWordCharacter);
    return LEXERSYMBOL::IDENTIFIER;
  }
  if (IsDigit(rest[0])) {
    size = CountLeading(rest, IsDigit);
    return LEXERSYMBOL::NUMBER;
  }
  size = 1;
  return ClassifyCharacter(rest[0]);
}

}  // namespace

std::string_view GetName(LEXERSYMBOL symbol) {
  switch (symbol) {
    case LEXERSYMBOL::NONE:
      return "NONE";
    case LEXERSYMBOL::IDENTIFIER:
      return "IDENTIFIER";
    case LEXERSYMBOL::NUMBER:
      return "NUMBER";
    case LEXERSYMBOL::PARENTHESE_OPEN:
      return "PARENTHESE_OPEN";
    case LEXERSYMBOL::PARENTHESE_CLOSE:
      return "PARENTHESE_CLOSE";
    case LEXERSYMBOL::SQUAREBRACKET_OPEN:
      return "SQUAREBRACKET_OPEN";
    case LEXERSYMBOL::SQUAREBRACKET_CLOSE:
      return "SQUAREBRACKET_CLOSE";
    case LEXERSYMBOL::COMMA:
      return "COMMA";
    case LEXERSYMBOL::CHARACTER:
      return "CHARACTER";
  }
  return "";
}

void Lexer::Init(String text) {
  _text = std::move(text);
  _position = 0;
  _symbol = LEXERSYMBOL::NONE;
  _symbolText = {};
}

Result<void> Lexer::ReadNextSymbol() {
  const std::string_view text = _text.GetView();
  _position = std::min(text.find_first_not_of(" \t\r\n\v\f", _position), text.size());
  _symbol = LEXERSYMBOL::NONE;
  _symbolText = {};
  if (_position == text.size()) return OSTRA_ILLEGAL_ARGUMENT("The text ends where a symbol is expected: \"@\".", text);
  std::size_t size = 0;
  _symbol = Classify(text.substr(_position), size);
  _symbolText = text.substr(_position, size);
  _position += size;
  return OK;
}

Result<void> Lexer::ReadNextSymbolExpected(LEXERSYMBOL expected) {
  OSTRA_RETURN_IF_ERROR(ReadNextSymbol());
  if (_symbol == expected) return OK;
  return OSTRA_ILLEGAL_ARGUMENT("Expected @, got @ at position @ of \"@\".", GetName(expected), GetName(_symbol),
                                _position - _symbolText.size(), _text);
}

Result<String> Lexer::GetIdent() const {
  if (_symbol != LEXERSYMBOL::IDENTIFIER)
    return OSTRA_ILLEGAL_STATE("The symbol @ is no IDENTIFIER.", GetName(_symbol));
  return _text.SubString(static_cast<Int>(_position - _symbolText.size()), static_cast<Int>(_symbolText.size()));
}

Result<Int32> Lexer::GetInt() const {
  if (_symbol != LEXERSYMBOL::NUMBER) return OSTRA_ILLEGAL_STATE("The symbol @ is no NUMBER.", GetName(_symbol));
  Int32 value = 0;
  const auto [end, failure] = std::from_chars(_symbolText.data(), _symbolText.data() + _symbolText.size(), value);
  if (failure != std::errc()) return OSTRA_ILLEGAL_ARGUMENT("The number @ is larger than @.", _symbolText, INT32_MAX);
  return value;
}

}  // namespace ostra
