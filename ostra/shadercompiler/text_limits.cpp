#include "ostra/shadercompiler/text_limits.h"

#include <algorithm>
#include <unordered_map>
#include <utility>
#include <vector>

#include "ostra/core/text_characters.h"

namespace ostra::shadercompiler {

namespace {

struct Token {
  std::string_view text;
  Int line = 0;
  Bool isDirectiveStart = false;  // the "#" of a directive
  Bool isDirectiveEnd = false;    // the last token of its line, continued ones included
  Bool isAfterBlank = false;
};

using Tokens = std::vector<Token>;

// Names, numbers and single characters, without comments.
class Lexer {
 public:
  explicit Lexer(std::string_view text) : _text(text) {}

  Tokens Read() {
    while (_at < _text.size()) Step();
    EndLine();
    return std::move(_tokens);
  }

 private:
  char Peek(std::size_t ahead = 0) const { return _at + ahead < _text.size() ? _text[_at + ahead] : '\0'; }

  void Step() {
    const char c = Peek();
    if (c == '\n') {
      EndLine();
      ++_line;
      ++_at;
    } else if (c == '\\' && (Peek(1) == '\n' || (Peek(1) == '\r' && Peek(2) == '\n'))) {
      _at = _text.find('\n', _at) + 1;
      ++_line;
    } else if (c == '/' && Peek(1) == '/') {
      _at = std::min(_text.find('\n', _at), _text.size());
    } else if (c == '/' && Peek(1) == '*') {
      const std::size_t end = std::min(_text.find("*/", _at + 2), _text.size());
      _line += std::count(_text.begin() + static_cast<std::ptrdiff_t>(_at),
                          _text.begin() + static_cast<std::ptrdiff_t>(end), '\n');
      _at = std::min(end + 2, _text.size());
      _isAfterBlank = true;
    } else if (c == ' ' || (c >= '\t' && c <= '\r')) {
      ++_at;
      _isAfterBlank = true;
    } else {
      ReadToken();
    }
  }

  void ReadToken() {
    const std::size_t begin = _at;
    if (IsWordCharacter(Peek())) {
      while (IsWordCharacter(Peek())) ++_at;
    } else if (Peek() == '"') {
      ++_at;
      while (_at < _text.size() && Peek() != '"' && Peek() != '\n') _at += Peek() == '\\' && Peek(1) != '\n' ? 2 : 1;
      _at = std::min(_at + (Peek() == '"' ? 1 : 0), _text.size());
    } else {
      ++_at;
    }
    const Bool isFirst = _isLineStart;
    _isLineStart = false;
    _isInDirective = _isInDirective || (isFirst && _text[begin] == '#');
    _tokens.push_back({_text.substr(begin, _at - begin), _line, isFirst && _isInDirective, false, _isAfterBlank});
    _isAfterBlank = false;
  }

  void EndLine() {
    if (_isInDirective) _tokens.back().isDirectiveEnd = true;
    _isInDirective = false;
    _isLineStart = true;
    _isAfterBlank = true;
  }

  std::string_view _text;
  std::size_t _at = 0;
  Int _line = 1;
  Bool _isLineStart = true, _isInDirective = false, _isAfterBlank = true;
  Tokens _tokens;
};

// A part of the text, with the arguments that its parameters stand for.
struct Range {
  const Token* begin = nullptr;
  const Token* end = nullptr;
  const struct Call* call = nullptr;  // null outside of macros
};

struct Macro {
  Bool isFunction = false;
  std::vector<std::string_view> parameters;
  const Token* begin = nullptr;
  const Token* end = nullptr;
};

// A macro in use.
struct Call {
  std::string_view name;
  const Macro* macro = nullptr;
  std::vector<Range> arguments;
  const Call* outer = nullptr;
};

// How deep the syntax tree of what has been read can be.
class DepthMeter {
 public:
  DepthMeter() { Reset(); }

  void Reset() { _levels.assign(1, Level()); }

  // False when a limit is exceeded, which `wrong` then names.
  Bool Add(std::string_view token, std::string& wrong) {
    Level& level = _levels.back();
    if (std::exchange(level.isAtEnd, false) && token != "else") level.chain = level.deepest = 0;
    const char c = token.size() == 1 ? token[0] : '\0';
    if (c == '(' || c == '[' || c == '{') {
      ++level.chain;
      if (static_cast<Int>(_levels.size()) > kMaxNestedBrackets) {
        wrong = "brackets are nested more than " + std::to_string(kMaxNestedBrackets) + " deep: give parts names";
        return false;
      }
      const Bool isList = c == '{' ? _previous == '=' || _previous == ',' || (level.isList && _previous == '{')
                                   : c == '[' || _previous == 'a' || _previous == ']';
      _levels.push_back({0, 0, 0, isList, false});
    } else if ((c == ')' || c == ']' || c == '}') && _levels.size() > 1) {
      const Int depth = std::max(level.longest, level.chain + level.deepest);
      _levels.pop_back();
      Level& outer = _levels.back();
      outer.deepest = std::max(outer.deepest, depth);
      ++outer.chain;
      outer.isAtEnd = c == '}';
    } else if (c == ';' || (c == ',' && level.isList)) {
      level.longest = std::max(level.longest, level.chain + level.deepest);
      level.isAtEnd = true;
    } else {
      const Bool isOperand = _previous == 'a' || _previous == ')' || _previous == ']';
      const Bool isPrefix = !isOperand && (c == '-' || c == '+' || c == '!' || c == '~');
      level.chain += isPrefix ? kPrefixWeight : 1;
    }
    _previous = IsStatementWord(token) ? ';' : c != '\0' && !IsWordCharacter(c) ? c : 'a';
    const Level& last = _levels.back();
    if (std::max(last.longest, last.chain + last.deepest) <= kMaxChainedWords) return true;
    wrong = "an expression or a chain of statements has more than " + std::to_string(kMaxChainedWords) +
            " words and operators: divide it";
    return false;
  }

 private:
  // What stands in front of a parenthesis without being the name of a function.
  static Bool IsStatementWord(std::string_view token) {
    for (const std::string_view word : {"if", "for", "while", "switch", "return", "case", "else"})
      if (token == word) return true;
    return false;
  }

  struct Level {
    Int chain = 0;         // words since its last part began
    Int deepest = 0;       // of the brackets in this part
    Int longest = 0;       // of the parts before
    Bool isList = false;   // commas divide it
    Bool isAtEnd = false;  // a part has ended
  };
  std::vector<Level> _levels;
  char _previous = ';';  // 'a' for words
};

class LimitFinder {
 public:
  explicit LimitFinder(std::string_view text) : _tokens(Lexer(text).Read()) {}

  std::optional<TextLimitError> Find() {
    const Token* const end = _tokens.data() + _tokens.size();
    for (const Token* token = _tokens.data(); token != end && _wrong.empty();) {
      _line = token->line;
      token = token->isDirectiveStart ? ReadDirective(token, end) : Walk({token, end, nullptr}, true);
    }
    if (_wrong.empty()) return std::nullopt;
    return TextLimitError{_line, std::move(_wrong)};
  }

 private:
  const Token* ReadDirective(const Token* token, const Token* end) {
    const Token* last = token;
    while (last + 1 != end && !last->isDirectiveEnd) ++last;
    const Token* const after = last + 1;
    const std::string_view word = token + 1 < after ? token[1].text : std::string_view();
    if (word == "define" && token + 2 < after)
      Define(token + 2, after);
    else if (word == "undef" && token + 2 < after)
      _macros.erase(token[2].text);
    else if (word == "if" || word == "elif")
      ReadCondition({token + 2, after, nullptr});
    return after;
  }

  // An expression of its own.
  void ReadCondition(const Range& range) {
    const DepthMeter outside = std::exchange(_depth, DepthMeter());
    Walk(range, false);
    _depth = outside;
  }

  void Define(const Token* name, const Token* end) {
    Macro macro;
    macro.begin = name + 1;
    macro.end = end;
    if (macro.begin != end && macro.begin->text == "(" && !macro.begin->isAfterBlank) {
      macro.isFunction = true;
      while (++macro.begin != end && macro.begin->text != ")")
        if (macro.begin->text != ",") macro.parameters.push_back(macro.begin->text);
      if (macro.begin != end) ++macro.begin;
    }
    _macros[name->text] = std::move(macro);
  }

  // Counts the tokens of a range with everything that macros in it stand for; stops in front of directives of the text
  // itself. Returns where it has stopped.
  const Token* Walk(const Range& range, Bool isText) {
    const Token* token = range.begin;
    while (token != range.end && _wrong.empty() && !(isText && token->isDirectiveStart)) {
      if (isText) _line = token->line;
      token = Take(token, range, isText);
    }
    return token;
  }

  const Token* Take(const Token* token, const Range& range, Bool isText) {
    if (const Range* const argument = FindArgument(token->text, range.call)) {
      // An argument is read in the place where the macro is used.
      Nest([&] { Walk(*argument, false); });
      return token + 1;
    }
    const auto found = IsInUse(token->text, range.call) ? _macros.end() : _macros.find(token->text);
    if (found == _macros.end()) return Count(*token), token + 1;
    const auto& [name, macro] = Resolve(found);
    if (IsInUse(name, range.call)) return Count(*token), token + 1;
    Call call{name, &macro, {}, range.call};
    const Token* after = token + 1;
    if (call.macro->isFunction) {
      if (after == range.end || after->text != "(" || (isText && after->isDirectiveStart))
        return Count(*token), token + 1;
      after = ReadArguments(after, range, call);
    }
    Nest([&] { Walk({call.macro->begin, call.macro->end, &call}, false); });
    return after;
  }

  using Macros = std::unordered_map<std::string_view, Macro>;

  // Follows macros that are only another name of a macro.
  const Macros::value_type& Resolve(Macros::const_iterator found) const {
    for (Int i = 0; i < kMaxNestedMacros; ++i) {
      const Macro& macro = found->second;
      if (macro.isFunction || macro.end - macro.begin != 1) break;
      const auto next = _macros.find(macro.begin->text);
      if (next == _macros.end()) break;
      found = next;
    }
    return *found;
  }

  // Reads from the parenthesis at `token`; returns the token after its counterpart.
  static const Token* ReadArguments(const Token* token, const Range& range, Call& call) {
    Int depth = 0;
    const Token* begin = token + 1;
    for (; token != range.end; ++token) {
      if (token->text == "(") ++depth;
      const Bool isEnd = token->text == ")" && --depth == 0;
      if (isEnd || (token->text == "," && depth == 1)) {
        call.arguments.push_back({begin, token, range.call});
        begin = token + 1;
      }
      if (isEnd) return token + 1;
    }
    return token;
  }

  static const Range* FindArgument(std::string_view name, const Call* call) {
    if (!call) return nullptr;
    const auto& parameters = call->macro->parameters;
    const auto found = std::find(parameters.begin(), parameters.end(), name);
    const auto index = static_cast<std::size_t>(found - parameters.begin());
    return found != parameters.end() && index < call->arguments.size() ? &call->arguments[index] : nullptr;
  }

  // A macro is not expanded inside of itself.
  static Bool IsInUse(std::string_view name, const Call* call) {
    for (; call; call = call->outer)
      if (call->name == name) return true;
    return false;
  }

  template <class Function>
  void Nest(Function&& function) {
    if (++_nesting > kMaxNestedMacros)
      _wrong = "macros are nested more than " + std::to_string(kMaxNestedMacros) + " deep";
    else if (CountOne())
      function();
    --_nesting;
  }

  void Count(const Token& token) {
    if (CountOne()) _depth.Add(token.text, _wrong);
  }
  // Empty macros count, too: putting them in takes time.
  Bool CountOne() {
    if (++_count <= kMaxExpandedWords) return true;
    _wrong = "the text has more than " + std::to_string(kMaxExpandedWords) +
             " words and operators with what its macros stand for";
    return false;
  }

  const Tokens _tokens;
  Macros _macros;
  DepthMeter _depth;
  Int _count = 0, _nesting = 0, _line = 0;
  std::string _wrong;
};

}  // namespace

std::optional<TextLimitError> FindTextLimitError(std::string_view text) { return LimitFinder(text).Find(); }

}  // namespace ostra::shadercompiler
