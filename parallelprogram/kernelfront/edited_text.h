// A text with changes that are noted first and made at the end. Line ends in a replaced part are kept, so that every
// line stays where it is.
#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <string_view>

#include "parallelprogram/kernelfront/tokens.h"
#include "parallelprogram/kernellanguage/diagnostic.h"

namespace ostra::kernelfront {

using kernellanguage::SourceText;

class EditedText {
 public:
  explicit EditedText(const SourceText& source) : _source(source), _text(source.text), _tokens(ReadTokens(_text)) {}

  // The text before all changes.
  const SourceText& GetSource() const { return _source; }

  const std::vector<Token>& GetTokens() const { return _tokens; }
  std::string_view GetText(const Token& token) const { return _text.substr(token.begin, token.end - token.begin); }
  std::string_view GetText(std::size_t begin, std::size_t end) const { return _text.substr(begin, end - begin); }
  // That of the token number `index`; empty where there is none.
  std::string_view GetText(std::size_t index) const {
    return index < _tokens.size() ? GetText(_tokens[index]) : std::string_view();
  }
  std::size_t GetSize() const { return _text.size(); }

  // True when there is a token `index` and it reads `text`.
  bool Is(std::size_t index, std::string_view text) const {
    return index < _tokens.size() && GetText(_tokens[index]) == text;
  }
  bool IsWord(std::size_t index) const { return index < _tokens.size() && _tokens[index].kind == Token::Kind::kWord; }
  // The token after the bracket that closes the one at `open`; 0 when it is not closed.
  std::size_t FindAfterClosing(std::size_t open) const;

  // The token after the preprocessor directive that begins with the token `start`.
  std::size_t FindAfterDirective(std::size_t start) const {
    std::size_t i = start + 1;
    while (i < _tokens.size() && _tokens[i].isInDirective && !_tokens[i].isFirstInLine) ++i;
    return i;
  }
  // The end of the line that `position` is in.
  std::size_t FindEndOfLine(std::size_t position) const { return std::min(_text.find('\n', position), _text.size()); }
  // The line after that, without its end; nothing after the last line.
  std::string_view GetLineAfter(std::size_t position) const;
  // Where that line begins, behind its blanks.
  std::size_t FindLineAfter(std::size_t position) const;

  // Puts `replacement` in the place of [begin, end). A later change replaces those inside its place.
  void Replace(std::size_t begin, std::size_t end, std::string replacement);
  void Insert(std::size_t position, std::string text) { Replace(position, position, std::move(text)); }

  // The part [begin, end) with its changes.
  std::string Take(std::size_t begin, std::size_t end) const;

 private:
  struct Change {
    std::size_t end;
    std::string replacement;
  };
  const SourceText _source;
  std::string_view _text;
  std::vector<Token> _tokens;
  std::map<std::size_t, Change> _changes;
};

}  // namespace ostra::kernelfront
