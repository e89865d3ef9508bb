// Vectors of one number, vec3(x), which not every language makes.
#include <algorithm>
#include <set>

#include "ostra/math/data_types.h"
#include "plans/lints/lints.h"
#include "plans/values/text.h"

namespace ostra::plans {

namespace {

// Functions of vectors that return numbers.
constexpr std::string_view kMeasures[] = {"dot", "length", "distance", "determinant"};

template <class List>
Bool Contains(const List& list, std::string_view name) {
  return std::find(std::begin(list), std::end(list), name) != std::end(list);
}

void SkipBlanks(std::string_view& text) {
  while (text.starts_with(' ')) text.remove_prefix(1);
}

std::string_view TakeName(std::string_view& text) {
  std::size_t size = 0;
  while (size < text.size() && IsWordCharacter(text[size])) ++size;
  const std::string_view name = text.substr(0, size);
  text.remove_prefix(size);
  return name;
}

// Takes "(...)" or "[...]" off; what is inside of it.
std::string_view TakeBrackets(std::string_view& text) {
  const char open = text.front(), close = open == '(' ? ')' : ']';
  Int depth = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == open) ++depth;
    if (text[at] != close || --depth > 0) continue;
    const std::string_view inner = text.substr(1, at - 1);
    text.remove_prefix(at + 1);
    return inner;
  }
  return std::exchange(text, {});
}

class SplatLinter {
 public:
  SplatLinter(const LintedFile& file, const ShaderParser& parser, Findings& findings)
      : _file(file), _parser(parser), _findings(findings) {}

  void Lint() {
    for (const SourceLine& line : _file.lines) CollectNumbers(line.code);
    for (const ShaderFunctionDefinition& function : _parser.GetFunctions())
      CollectNumbers(std::string_view(function.declaration));
    // A name that is a number here and something else there says nothing.
    for (const std::string& name : _others) _numbers.erase(name);
    for (const SourceLine& line : _file.lines)
      if (line.use != LineUse::CpuScope) LintLine(line);
  }

 private:
  // Names behind a type: variables, parameters and functions.
  void CollectNumbers(std::string_view code) {
    std::string_view type;
    ForEachName(code, [&](std::string_view name, std::size_t at) {
      if (!type.empty()) (IsNumberType(type) ? _numbers : _others).insert(std::string(name));
      const std::size_t end = at + name.size();
      const Bool isFollowedByName = end + 1 < code.size() && code[end] == ' ' && IsWordCharacter(code[end + 1]);
      type = isFollowedByName && name != "return" && name != "const" && name != "inline" ? name : std::string_view();
    });
  }

  void LintLine(const SourceLine& line) {
    ForEachName(line.code, [&](std::string_view name, std::size_t at) {
      std::string_view arguments;
      const std::size_t next = at + name.size();
      if (!IsVectorType(name) || next >= line.code.size() || line.code[next] != '(') return;
      if (!GetArguments(line.code, next, arguments) || !IsNumber(arguments)) return;
      _findings.Add({_file.name, line.number, Severity::Warning, MakeSplatText(name, arguments)});
    });
  }

  // Whether an expression without a comma is made of numbers alone. What is not known is taken for a vector.
  Bool IsNumber(std::string_view text) const {
    Bool isNumber = false;
    for (SkipBlanks(text); !text.empty(); SkipBlanks(text)) {
      if (IsWordCharacter(text.front())) {
        if (!TakesNumber(text)) return false;
        isNumber = true;
      } else if (text.front() == '(') {
        if (!IsNumber(TakeBrackets(text)) || text.starts_with('.') || text.starts_with('[')) return false;
        isNumber = true;
      } else if (std::string_view("+-*/%").find(text.front()) != std::string_view::npos) {
        text.remove_prefix(1);
      } else {
        return false;
      }
    }
    return isNumber;
  }

  // A name or number with what belongs to it.
  Bool TakesNumber(std::string_view& text) const {
    if (IsDigit(text.front())) {
      while (!text.empty() && (IsWordCharacter(text.front()) || text.front() == '.')) text.remove_prefix(1);
      return true;
    }
    const std::string_view name = TakeName(text);
    Bool isNumber = false;
    if (text.starts_with('(')) {
      const std::string_view arguments = TakeBrackets(text);
      if (name == "UNIFORM" || name == "UNIFORM_BUFFER")
        isNumber = IsNumberParameter(arguments);
      else
        isNumber = Contains(kMeasures, name) || IsNumberType(name) || _numbers.contains(std::string(name)) ||
                   (!IsVectorType(name) && !_others.contains(std::string(name)) && AreNumbers(arguments));
    } else {
      isNumber = _numbers.contains(std::string(name));
    }
    while (text.starts_with('[')) TakeBrackets(text);
    while (text.starts_with('.')) {
      text.remove_prefix(1);
      const std::string_view member = TakeName(text);
      isNumber = member.size() == 1 && std::string_view("xyzw").find(member) != std::string_view::npos;
      while (text.starts_with('[')) TakeBrackets(text);
    }
    return isNumber;
  }

  // Most functions return what they are given.
  Bool AreNumbers(std::string_view arguments) const {
    Int depth = 0;
    for (std::size_t begin = 0, at = 0; at <= arguments.size(); ++at) {
      const char c = at < arguments.size() ? arguments[at] : ',';
      if (c == '(' || c == '[') ++depth;
      if (c == ')' || c == ']') --depth;
      if (c != ',' || depth > 0) continue;
      if (!IsNumber(arguments.substr(begin, at - begin))) return false;
      begin = at + 1;
    }
    return true;
  }

  Bool IsNumberParameter(std::string_view name) const {
    for (const ShaderInputEntry& input : _parser.GetInputEntries()) {
      if (!(input.name == name)) continue;
      const DataType type =
          input.dataType.IsPopulated() ? input.dataType : DataTypeFromTypeName(input.typeName.GetView());
      return type == GetDataType<Float32>() || type == GetDataType<HalfFloat>() || type == GetDataType<Int32>() ||
             type == GetDataType<UInt32>();
    }
    return false;
  }

  const LintedFile& _file;
  const ShaderParser& _parser;
  Findings& _findings;
  std::set<std::string> _numbers, _others;
};

}  // namespace

void LintSplats(const LintedFile& file, const ShaderParser& parser, Findings& findings) {
  SplatLinter(file, parser, findings).Lint();
}

}  // namespace ostra::plans
