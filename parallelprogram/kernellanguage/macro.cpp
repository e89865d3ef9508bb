#include "parallelprogram/kernellanguage/macro.h"
#include "parallelprogram/kernellanguage/join.h"

#include <algorithm>

namespace ostra::kernellanguage {

void MacroTable::Define(const std::vector<Token>& tokens, std::size_t at, std::size_t end, Bool isOfKernelFile) {
  Macro macro;
  macro.offset = tokens[at].offset;
  const std::string_view name = tokens[at++].text;
  if (at < end && tokens[at].Is("(") && !tokens[at].isAfterSpace) {
    macro.isFunction = true;
    for (++at; at < end && !tokens[at].Is(")"); ++at) {
      if (tokens[at].kind == TokenKind::kWord)
        macro.parameters.push_back(tokens[at].text);
      else if (!tokens[at].Is(","))
        macro.unsupported = "a macro with a variable number of arguments";
    }
    if (at < end) ++at;
  }
  for (; at < end; ++at) {
    if (tokens[at].text.starts_with('#') && tokens[at].kind == TokenKind::kSign)
      macro.unsupported = "a macro with # or ##";
    macro.body.push_back(tokens[at]);
  }
  macro.isCpuOnly = isOfKernelFile || macro.isFunction;
  _undefined.erase(name);
  _macros[name] = std::move(macro);
}

void MacroTable::Undefine(std::string_view name) {
  _macros.erase(name);
  _undefined.insert(name);
}

const Macro* MacroTable::Find(std::string_view name) const {
  const auto found = _macros.find(name);
  return found == _macros.end() ? nullptr : &found->second;
}

// One list of tokens on its way through the macros. What a macro stands for is put in front of what is left.
class Expander {
 public:
  Expander(MacroTable& table, std::vector<Token> tokens, std::optional<NotUnderstood>& notUnderstood, Int depth)
      : _table(table), _notUnderstood(notUnderstood), _depth(depth) {
    _frames.push_back({std::move(tokens), 0, {}});
  }

  std::vector<Token> Run() {
    std::vector<Token> result;
    while (!_notUnderstood && Peek()) {
      Token token = Take();
      if (token.kind == TokenKind::kWord && !token.isFinal && TryExpand(token)) continue;
      result.push_back(token);
    }
    return result;
  }

 private:
  struct Frame {
    std::vector<Token> tokens;
    std::size_t at = 0;
    std::string_view macro;  // being expanded while its tokens last
  };

  const Token* Peek() {
    while (!_frames.empty() && _frames.back().at == _frames.back().tokens.size()) _frames.pop_back();
    return _frames.empty() ? nullptr : &_frames.back().tokens[_frames.back().at];
  }
  Token Take() {
    Frame& frame = _frames.back();
    return frame.tokens[frame.at++];
  }
  void Fail(SourceOffset offset, std::string reason) { _notUnderstood = NotUnderstood{offset, std::move(reason)}; }

  Bool IsOpen(std::string_view name) const {
    return std::any_of(_frames.begin(), _frames.end(), [&](const Frame& frame) { return frame.macro == name; });
  }

  Bool TryExpand(Token& token) {
    const Macro* macro = _table.Find(token.text);
    if (!macro) return false;
    if (IsOpen(token.text)) {
      token.isFinal = true;
      return false;
    }
    if (macro->isFunction) {
      const Token* next = Peek();
      if (!next || !next->Is("(")) return false;
    }
    if (!macro->unsupported.empty()) {
      Fail(token.offset, std::string(macro->unsupported));
      return true;
    }
    if (++_table._expansionCount > kMaxExpansions) {
      Fail(token.offset, Join({"more than ", std::to_string(kMaxExpansions), " expansions of macros"}));
      return true;
    }
    if (static_cast<Int>(_frames.size()) + _depth > kMaxMacroDepth) {
      Fail(token.offset, Join({"macros nested deeper than ", std::to_string(kMaxMacroDepth)}));
      return true;
    }
    std::vector<std::vector<Token>> arguments;
    if (macro->isFunction && !ReadArguments(token, *macro, arguments)) return true;
    _table._hasCpuOnlyExpansion = _table._hasCpuOnlyExpansion || macro->isCpuOnly;
    Push(token, *macro, arguments);
    return true;
  }

  // From "(" to the ")" that belongs to it.
  Bool ReadArguments(const Token& name, const Macro& macro, std::vector<std::vector<Token>>& arguments) {
    Take();
    Int depth = 0;
    arguments.emplace_back();
    for (;;) {
      if (!Peek()) {
        Fail(name.offset, Join({"the arguments of the macro \"", name.text, "\" do not end"}));
        return false;
      }
      const Token token = Take();
      if (depth == 0 && token.Is(")")) break;
      if (token.Is("(")) ++depth;
      if (token.Is(")")) --depth;
      if (depth == 0 && token.Is(","))
        arguments.emplace_back();
      else
        arguments.back().push_back(token);
    }
    if (macro.parameters.empty() && arguments.size() == 1 && arguments[0].empty()) arguments.clear();
    if (arguments.size() == macro.parameters.size()) return true;
    Fail(name.offset, Join({"the macro \"", name.text, "\" has another number of arguments"}));
    return false;
  }

  void Push(const Token& use, const Macro& macro, const std::vector<std::vector<Token>>& arguments) {
    std::vector<std::vector<Token>> expanded;
    for (const std::vector<Token>& argument : arguments) {
      expanded.push_back(Expander(_table, argument, _notUnderstood, _depth + static_cast<Int>(_frames.size())).Run());
      if (_notUnderstood) return;
    }
    std::vector<Token> tokens;
    for (const Token& token : macro.body) {
      const auto parameter = std::find(macro.parameters.begin(), macro.parameters.end(), token.text);
      const Bool isParameter = token.kind == TokenKind::kWord && parameter != macro.parameters.end();
      const std::size_t added =
          isParameter ? expanded[static_cast<std::size_t>(parameter - macro.parameters.begin())].size() : 1;
      if ((_table._tokenCount += added) > kMaxTokens)
        return Fail(use.offset, Join({"macros expand to more than ", std::to_string(kMaxTokens), " tokens"}));
      if (isParameter) {
        const auto& argument = expanded[static_cast<std::size_t>(parameter - macro.parameters.begin())];
        tokens.insert(tokens.end(), argument.begin(), argument.end());
      } else {
        tokens.push_back(token);
        tokens.back().offset = _table._sources.AddExpansion(use.offset, token.offset);
      }
    }
    _frames.push_back({std::move(tokens), 0, use.text});
  }

  MacroTable& _table;
  std::optional<NotUnderstood>& _notUnderstood;
  Int _depth;
  std::vector<Frame> _frames;
};

std::vector<Token> MacroTable::Expand(std::vector<Token> tokens, std::optional<NotUnderstood>& notUnderstood) {
  return Expander(*this, std::move(tokens), notUnderstood, 0).Run();
}

Bool MacroTable::MayBeOfHost(std::string_view name) {
  constexpr std::string_view kHostNames[] = {"NDEBUG", "DEBUG", "linux", "unix"};
  return name.starts_with("_") || name.starts_with("OSTRA") || name.starts_with("FP_") || name.starts_with("CPU_") ||
         std::find(std::begin(kHostNames), std::end(kHostNames), name) != std::end(kHostNames);
}

}  // namespace ostra::kernellanguage
