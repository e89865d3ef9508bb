#include "parallelprogram/kernellanguage/preprocessor_condition.h"

#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/literal.h"

namespace ostra::kernellanguage {
namespace {

constexpr Int kMaxDepth = 64;

// Precedence climbing over integers.
class Evaluator {
 public:
  Evaluator(const std::vector<Token>& tokens, SourceOffset offset, std::optional<NotUnderstood>& notUnderstood)
      : _tokens(tokens), _offset(offset), _notUnderstood(notUnderstood) {}

  Int64 Run() {
    const Int64 value = ReadBinary(0, 0);
    if (_at != _tokens.size()) Fail();
    return value;
  }

 private:
  void Fail() {
    if (_notUnderstood) return;
    _notUnderstood.emplace().offset = _offset;
    _notUnderstood->reason = "this condition of the preprocessor";
  }
  Bool Take(std::string_view sign) {
    if (_at == _tokens.size() || !_tokens[_at].Is(sign)) return false;
    ++_at;
    return true;
  }

  Int64 ReadUnary(Int depth) {
    if (depth > kMaxDepth || _at == _tokens.size() || _notUnderstood) {
      Fail();
      return 0;
    }
    if (Take("!")) return !ReadUnary(depth + 1);
    if (Take("-")) return static_cast<Int64>(-static_cast<UInt64>(ReadUnary(depth + 1)));
    if (Take("+")) return ReadUnary(depth + 1);
    if (Take("(")) {
      const Int64 value = ReadBinary(0, depth + 1);
      if (!Take(")")) Fail();
      return value;
    }
    LiteralValue value;
    const Token& token = _tokens[_at++];
    if (token.kind == TokenKind::kNumber && ParseLiteral(token.text, value)) {
      _hasUnsigned = _hasUnsigned || value.scalar == Scalar::kUInt32;
      if (value.scalar == Scalar::kInt32 || value.scalar == Scalar::kUInt32 || value.scalar == Scalar::kInt64)
        return static_cast<Int64>(value.integer);
    }
    Fail();
    return 0;
  }

  static Int GetPrecedence(std::string_view sign) {
    if (sign == "||") return 1;
    if (sign == "&&") return 2;
    if (sign == "==" || sign == "!=") return 3;
    if (sign == "<" || sign == "<=" || sign == ">" || sign == ">=") return 4;
    if (sign == "+" || sign == "-") return 5;
    if (sign == "*") return 6;
    return 0;
  }

  Int64 ReadBinary(Int lowest, Int depth) {
    Int64 left = ReadUnary(depth + 1);
    while (_at < _tokens.size() && !_notUnderstood) {
      const std::string_view sign = _tokens[_at].text;
      const Int precedence = GetPrecedence(sign);
      if (precedence == 0 || precedence <= lowest) break;
      ++_at;
      const Int64 right = ReadBinary(precedence, depth + 1);
      // In comparisons with unsigned numbers a negative one is large.
      if (_hasUnsigned && (left < 0 || right < 0)) Fail();
      left = Compute(sign, left, right);
    }
    return left;
  }

  static Int64 Compute(std::string_view sign, Int64 left, Int64 right) {
    if (sign == "||") return left || right;
    if (sign == "&&") return left && right;
    if (sign == "==") return left == right;
    if (sign == "!=") return left != right;
    if (sign == "<") return left < right;
    if (sign == "<=") return left <= right;
    if (sign == ">") return left > right;
    if (sign == ">=") return left >= right;
    const auto a = static_cast<UInt64>(left), b = static_cast<UInt64>(right);
    return static_cast<Int64>(sign == "+" ? a + b : sign == "-" ? a - b : a * b);
  }

  const std::vector<Token>& _tokens;
  SourceOffset _offset;
  std::optional<NotUnderstood>& _notUnderstood;
  std::size_t _at = 0;
  Bool _hasUnsigned = false;
};

// Replaces defined(NAME) by a number.
std::vector<Token> ReplaceDefined(const std::vector<Token>& tokens, MacroTable& macros,
                                  std::optional<NotUnderstood>& notUnderstood) {
  std::vector<Token> replaced;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    if (!tokens[i].Is("defined")) {
      replaced.push_back(tokens[i]);
      continue;
    }
    const Bool hasParenthesis = i + 1 < tokens.size() && tokens[i + 1].Is("(");
    const std::size_t name = i + (hasParenthesis ? 2 : 1), last = name + (hasParenthesis ? 1 : 0);
    if (last >= tokens.size() || tokens[name].kind != TokenKind::kWord || (hasParenthesis && !tokens[last].Is(")"))) {
      notUnderstood = NotUnderstood{tokens[i].offset, "this form of defined"};
      return {};
    }
    Token number = tokens[i];
    number.kind = TokenKind::kNumber;
    number.text = IsDefined(tokens[name], macros, notUnderstood) ? "1" : "0";
    replaced.push_back(number);
    i = last;
  }
  return replaced;
}

}  // namespace

Bool IsDefined(const Token& name, MacroTable& macros, std::optional<NotUnderstood>& notUnderstood) {
  if (macros.Find(name.text)) return true;
  if (macros.IsUndefined(name.text)) return false;
  macros.NoteAskedFor();
  if (MacroTable::MayBeOfHost(name.text) && !notUnderstood)
    notUnderstood = NotUnderstood{name.offset, Join({"whether the macro \"", name.text, "\" is defined"})};
  return false;
}

Bool EvaluateCondition(const std::vector<Token>& tokens, SourceOffset offset, MacroTable& macros,
                       std::optional<NotUnderstood>& notUnderstood) {
  std::vector<Token> expanded = macros.Expand(ReplaceDefined(tokens, macros, notUnderstood), notUnderstood);
  if (notUnderstood) return false;
  for (const Token& token : expanded) {
    if (token.kind == TokenKind::kWord && !token.Is("true") && !token.Is("false") && !notUnderstood)
      notUnderstood = NotUnderstood{token.offset, Join({"the value of \"", token.text, "\""})};
  }
  if (notUnderstood) return false;
  return Evaluator(expanded, offset, notUnderstood).Run() != 0;
}

}  // namespace ostra::kernellanguage
