// Shifts by as many bits as the number has, or more: processors, compilers and GPUs each make something else of them.
#include <algorithm>
#include <limits>
#include <map>
#include <optional>

#include "plans/lints/lints.h"
#include "plans/values/text.h"

namespace ostra::plans {

namespace {

constexpr Int kUnbounded = Int{1} << 40;

// The least and the greatest value that an amount may have. Nothing is known to be negative.
struct Range {
  Int low = 0, high = kUnbounded;
  Bool IsNumber() const { return low == high; }
};

using KnownNames = std::map<std::string, Range, std::less<>>;

// Evaluates what can be known of an expression of + - * & %, min, max, clamp and conversions; anything else may be
// anything.
class AmountReader {
 public:
  AmountReader(std::string_view text, const KnownNames& known) : _text(text), _known(known) {}

  Range Read() {
    const Range range = ReadAnd();
    Skip();
    return _isLost || !_text.empty() ? Range() : range;
  }

 private:
  void Skip() {
    while (_text.starts_with(' ') || _text.starts_with('\t')) _text.remove_prefix(1);
  }
  Bool Take(char c) {
    Skip();
    const Bool isThere = _text.starts_with(c) && !(_text.size() > 1 && _text[1] == c);
    if (isThere) _text.remove_prefix(1);
    return isThere;
  }

  Range ReadAnd() {
    Range left = ReadSum();
    while (Take('&')) {
      const Range right = ReadSum();
      left = {0, std::min(std::max<Int>(left.high, 0), std::max<Int>(right.high, 0))};
    }
    return left;
  }
  Range ReadSum() {
    Range left = ReadProduct();
    for (;;) {
      if (Take('+')) {
        const Range right = ReadProduct();
        left = {left.low + right.low, left.high + right.high};
      } else if (Take('-')) {
        const Range right = ReadProduct();
        left = {left.low - right.high, left.high - right.low};
      } else {
        return left;
      }
    }
  }
  Range ReadProduct() {
    Range left = ReadOperand();
    for (;;) {
      if (Take('*')) {
        const Range right = ReadOperand();
        const Bool isKnown = left.low >= 0 && right.low >= 0 && left.high < kUnbounded && right.high < kUnbounded;
        left = isKnown ? Range{left.low * right.low, left.high * right.high} : Range();
      } else if (Take('%')) {
        const Range right = ReadOperand();
        left = right.low > 0 ? Range{0, std::min(left.high, right.high - 1)} : Range();
      } else {
        return left;
      }
    }
  }

  Range ReadOperand() {
    Skip();
    if (_text.empty() || ++_depth > 64) return Lose();
    if (IsDigit(_text.front())) return ReadNumber();
    if (Take('(')) {
      const Range inner = ReadAnd();
      return Take(')') ? inner : Lose();
    }
    if (!IsWordCharacter(_text.front())) return Lose();
    std::size_t size = 0;
    while (size < _text.size() && IsWordCharacter(_text[size])) ++size;
    const std::string_view name = _text.substr(0, size);
    _text.remove_prefix(size);
    if (Take('(')) return ReadCall(name);
    SkipPlace();
    const auto found = _known.find(name);
    return found == _known.end() ? Range() : found->second;
  }

  // Members and elements: a.x, b[i].
  void SkipPlace() {
    while (_text.starts_with('.') || _text.starts_with('[')) {
      std::size_t end = 1;
      if (_text.front() == '[') {
        for (Int depth = 1; end < _text.size() && depth > 0; ++end) depth += (_text[end] == '[') - (_text[end] == ']');
      } else {
        while (end < _text.size() && IsWordCharacter(_text[end])) ++end;
      }
      _text.remove_prefix(end);
    }
  }

  Range ReadCall(std::string_view name) {
    // The parenthesis that opens the arguments has been taken.
    std::size_t end = 0;
    for (Int open = 1; end < _text.size(); ++end) {
      open += (_text[end] == '(') - (_text[end] == ')');
      if (open == 0) break;
    }
    if (end == _text.size()) return Lose();
    const std::string_view inside = _text.substr(0, end);
    _text.remove_prefix(end + 1);
    SkipPlace();
    std::vector<Range> arguments;
    std::size_t begin = 0;
    Int depth = 0;
    for (std::size_t at = 0; at <= inside.size(); ++at) {
      if (at < inside.size()) depth += (inside[at] == '(') - (inside[at] == ')');
      if (at != inside.size() && (inside[at] != ',' || depth != 0)) continue;
      arguments.push_back(AmountReader(inside.substr(begin, at - begin), _known).Read());
      begin = at + 1;
    }
    if (arguments.size() == 1 && (name == "uint" || name == "int" || name == "UInt32" || name == "Int32"))
      return arguments[0];
    if (arguments.size() == 2 && name == "min")
      return {std::min(arguments[0].low, arguments[1].low), std::min(arguments[0].high, arguments[1].high)};
    if (arguments.size() == 2 && name == "max")
      return {std::max(arguments[0].low, arguments[1].low), std::max(arguments[0].high, arguments[1].high)};
    if (arguments.size() == 3 && name == "clamp") return {arguments[1].low, arguments[2].high};
    return {};
  }

  Range ReadNumber() {
    const Bool isHex = _text.starts_with("0x") || _text.starts_with("0X");
    if (isHex) _text.remove_prefix(2);
    Int value = 0;
    std::size_t count = 0;
    for (; !_text.empty(); _text.remove_prefix(1), ++count) {
      const char c = _text.front();
      const Int digit = IsDigit(c)                      ? c - '0'
                        : isHex && c >= 'a' && c <= 'f' ? c - 'a' + 10
                        : isHex && c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                        : -1;
      if (digit < 0) break;
      value = std::min(value * (isHex ? 16 : 10) + digit, kUnbounded);
    }
    while (_text.starts_with('u') || _text.starts_with('U') || _text.starts_with('l') || _text.starts_with('L'))
      _text.remove_prefix(1);
    return {value, value};
  }

  Range Lose() {
    _isLost = true;
    return {};
  }

  std::string_view _text;
  const KnownNames& _known;
  Bool _isLost = false;
  Int _depth = 0;
};

// Where the amount of a shift ends: at an operator that binds less, or at the end of what encloses it. An assignment
// takes everything.
std::string_view TakeAmount(std::string_view code, Bool isAssignment) {
  Int depth = 0;
  for (std::size_t at = 0; at < code.size(); ++at) {
    const char c = code[at];
    if (c == '(' || c == '[') ++depth;
    if ((c == ')' || c == ']') && --depth < 0) return code.substr(0, at);
    const std::string_view ends = isAssignment ? ";,{}" : ";,{}<>=&|^?:!\\";
    if (depth == 0 && ends.find(c) != std::string_view::npos) return code.substr(0, at);
  }
  return code;
}

// "Vec4<Block<float>>(" and the like: the angles close templates.
Bool ClosesTemplates(std::string_view code, std::size_t at) {
  Int depth = 0;
  for (std::size_t i = at; i > 0; --i) {
    const char c = code[i - 1];
    if (c == '>') ++depth;
    if (c == '<' && depth-- == 0) return i >= 2 && IsWordCharacter(code[i - 2]);
    if (!IsWordCharacter(c) && std::string_view(" ,:<>").find(c) == std::string_view::npos) return false;
  }
  return false;
}

class ShiftLinter {
 public:
  ShiftLinter(const LintedFile& file, const ShaderParser& parser, Findings& findings)
      : _file(file), _findings(findings) {
    for (const String& define : parser.GetDefines()) CollectConstant(define.GetView());
    for (const SourceLine& line : file.lines) {
      if (line.use != LineUse::CpuScope) CollectConstant(line.code);
      for (const std::string_view word : {"UInt64", "Int64", "uint64_t", "int64_t"})
        if (HasName(line.code, word)) _bits = 64;
    }
  }

  void Lint() {
    for (const SourceLine& line : _file.lines) {
      const Bool isDeclaration = line.block == BlockKind::InputDefine || line.block == BlockKind::InputStruct;
      if (line.use == LineUse::CpuScope || isDeclaration || line.code.starts_with("#include")) continue;
      CollectLoop(line.code);
      for (std::size_t at = 0; at + 1 < line.code.size(); ++at) {
        const char c = line.code[at];
        if ((c != '<' && c != '>') || line.code[at + 1] != c) continue;
        if (c == '<' || !ClosesTemplates(line.code, at)) LintShift(line, at);
        ++at;
      }
    }
  }

 private:
  // const uint kBits = 5u;   #define BITS 5
  void CollectConstant(std::string_view code) {
    constexpr std::string_view kDefine = "#define ";
    std::string_view name, value;
    if (code.starts_with(kDefine)) {
      code = TrimText(code.substr(kDefine.size()));
      name = code.substr(0, code.find(' '));
      value = code.substr(name.size());
    } else if (const std::size_t mark = code.find('=');
               code.find("const ") != std::string_view::npos && mark != std::string_view::npos) {
      name = TrimText(code.substr(0, mark));
      name = name.substr(name.rfind(' ') + 1);
      value = code.substr(mark + 1, code.find(';') - mark - 1);
    }
    if (name.empty() || name.find('(') != std::string_view::npos) return;
    const Range range = AmountReader(value, _known).Read();
    if (range.high < kUnbounded) _known[std::string(name)] = range;
  }

  // for (uint i = 0u; i < 32u; ...): i stays below the bound inside.
  void CollectLoop(std::string_view code) {
    if (!HasName(code, "for")) return;
    const std::size_t first = code.find(';');
    const std::size_t second = first == std::string_view::npos ? first : code.find(';', first + 1);
    if (second == std::string_view::npos) return;
    const std::string_view condition = TrimText(code.substr(first + 1, second - first - 1));
    const std::size_t mark = condition.find('<');
    if (mark == std::string_view::npos) return;
    const Bool isInclusive = condition.substr(mark + 1).starts_with('=');
    const Range bound = AmountReader(condition.substr(mark + (isInclusive ? 2 : 1)), _known).Read();
    if (bound.high < kUnbounded)
      _known[std::string(TrimText(condition.substr(0, mark)))] = {0, bound.high - (isInclusive ? 0 : 1)};
  }

  void LintShift(const SourceLine& line, std::size_t at) {
    const Bool isAssignment = at + 2 < line.code.size() && line.code[at + 2] == '=';
    const std::string_view behind = std::string_view(line.code).substr(at + (isAssignment ? 3 : 2));
    const std::string_view amount = TrimText(TakeAmount(behind, isAssignment));
    const Range range = AmountReader(amount, _known).Read();
    if (amount.empty() || (range.low >= 0 && range.high < _bits)) return;
    const std::string bits = std::to_string(_bits);
    if (range.IsNumber())
      _findings.Add({_file.name, line.number, Severity::Error,
                     "a shift by " + std::to_string(range.low) + " has no defined result: numbers have " + bits +
                         " bits, and the amount must be below"});
    else
      _findings.Add({_file.name, line.number, Severity::Warning,
                     "the amount " + Quote(amount) + " of this shift may be " + bits +
                         " or more, and processors and GPUs disagree about the result: limit it, as in (n & " +
                         std::to_string(_bits - 1) + "u)"});
  }

  const LintedFile& _file;
  Findings& _findings;
  KnownNames _known;
  Int _bits = 32;
};

}  // namespace

void LintShifts(const LintedFile& file, const ShaderParser& parser, Findings& findings) {
  ShiftLinter(file, parser, findings).Lint();
}

}  // namespace ostra::plans
