#include "tests/shaderparser/reference_translator.h"

#include <functional>

namespace ostra::test {
namespace {

using Lines = std::vector<std::string>;
constexpr std::size_t kNowhere = std::string::npos;

struct Failure {
  std::string message;
};

Lines Split(const std::string& text, const std::string& separator) {
  Lines pieces;
  std::size_t start = 0;
  for (std::size_t end = text.find(separator); end != kNowhere; end = text.find(separator, start)) {
    pieces.push_back(text.substr(start, end - start));
    start = end + separator.size();
  }
  pieces.push_back(text.substr(start));
  return pieces;
}

std::string Join(const Lines& lines) {
  std::string text;
  for (std::size_t i = 0; i < lines.size(); ++i) text.append(i == 0 ? "" : "\n").append(lines[i]);
  return text;
}

struct Rule {
  std::string keyword;
  std::function<void(std::string& line, std::size_t at)> handle;
};

Rule Replace(const std::string& keyword, const std::string& replacement) {
  return {keyword, [=](std::string& line, std::size_t at) { line.replace(at, keyword.size(), replacement); }};
}

Rule Unwrap(const std::string& keyword) {
  return {keyword, [=](std::string& line, std::size_t at) {
            line.erase(at, keyword.size() + 1);
            const std::size_t close = line.find(')', at);
            if (close != kNowhere) line.erase(close, 1);
          }};
}

// The arguments from `start` to the first ")" after the keyword.
Lines ReadArguments(const std::string& line, std::size_t at, std::size_t start, const std::string& name,
                    const std::string& count) {
  const std::size_t close = line.find(')', at);
  if (close == kNowhere) throw Failure{name + " missing )"};
  const Lines arguments = Split(close < start ? "" : line.substr(start, close - start), ", ");
  if (arguments.size() != 3) throw Failure{name + " macro needs " + count + " parameters"};
  return arguments;
}

class Translator {
 public:
  Translator(std::string_view target, const std::string& templateArgument, int multisampling) : _target(target) {
    const bool hasSamples = multisampling >= 2;
    _declarationRules = {Unwrap("CPU_CONSTREF"),
                         Replace("INOUT", "inout"),
                         {"Block<", [this](std::string& line, std::size_t at) { RewriteBlock(line, at); }}};
    if (!templateArgument.empty()) _codeRules.push_back(Replace("TYPE", templateArgument));
    for (const Rule& rule : {Unwrap("CPU_CONSTREF"), Unwrap("CPU_PASS_BUFFER"), Replace("GetAtomicCounter", ""),
                             Replace("Sqrt", "sqrt"), Replace("sqmat", "mat3"), Rule{"MAKELOCAL", MakeLocal},
                             Replace("ONLY_USE_FIRST_MSAA_SAMPLE", hasSamples ? "if (InSampleID > 0) discard;" : "")})
      _codeRules.push_back(rule);
    if (multisampling >= 0)
      _codeRules.push_back(
          {" GetFramebufferTexel(", [=](std::string& line, std::size_t at) { ReadTexel(line, at, hasSamples); }});
    _codeRules.push_back({"LOCALDATA", LocalData});
    _codeRules.push_back({"ATOMIC", [this](std::string& line, std::size_t at) {
                            const std::size_t blank = line.find(' ', at);
                            if (blank != kNowhere)
                              line.replace(at, blank + 1 - at, _target == "METAL" ? "atomic_" : "");
                          }});
    _codeRules.push_back({"GROUPSHAREDMEM", [this](std::string& line, std::size_t at) {
                            const Lines a = ReadArguments(line, at, at + 15, "GROUPSHAREDMEM", "two");
                            _result.groupShared.push_back("groupSharedMemory " + a[0] + " " + a[1] + "[" + a[2] +
                                                          "]; \n");
                            line.clear();
                          }});
    _codeRules.push_back({"matoff", MatrixOffset});
  }

  ReferenceResult Translate(std::string_view text) {
    try {
      TranslateLines(Split(std::string(text), "\n"));
    } catch (const Failure& failure) {
      _result.error = failure.message;
    }
    return _result;
  }

 private:
  enum class State { None, Kernel, Function };

  static void MakeLocal(std::string& line, std::size_t at) {
    const Lines a = ReadArguments(line, at, at + 10, "MAKELOCAL", "three");
    line =
        "uint groupIndex = InLocalInvocationID.z * InWorkGroupSize.x * InWorkGroupSize.y + InLocalInvocationID.y * "
        "InWorkGroupSize.x + InLocalInvocationID.x; \n\tif (groupIndex < " +
        a[1] + ") \n\t{\n\t" + a[0] + "[groupIndex] =  UNIFORM_BUFFER(" + a[0] + ")[" + a[2] +
        "(InGlobalInvocationID, groupIndex)]; \n } \n\tgroupSharedBarrier;";
  }

  static void LocalData(std::string& line, std::size_t at) {
    const Lines a = ReadArguments(line, at, at + 10, "LOCALDATA", "three");
    line.replace(at, line.find(')', at) + 1 - at, a[0] + "[" + a[1] + "]");
  }

  static void MatrixOffset(std::string& line, std::size_t at) {
    std::string collected;
    int depth = 0;
    for (; at < line.size(); ++at) {
      if (line[at] == '(') ++depth;
      if (line[at] == ')') --depth;
      if (depth > 0 && line[at] != ')') collected += line[at];
    }
    line = "vec3(" + collected + ".v0.w, " + collected + ".v1.w, " + collected + ".v2.w)";
  }

  static void ReadTexel(std::string& line, std::size_t at, bool hasSamples) {
    const std::size_t close = line.rfind(')');
    if (close == kNowhere) throw Failure{"GetFramebufferTexel missing )"};
    const Lines a = Split(close < at + 21 ? "" : line.substr(at + 21, close - at - 21), ", ");
    const bool hasSample = a.size() == 3 && a[2] == "InSampleID";
    if (a.size() != 2 && !hasSample)
      throw Failure{"GetFramebufferTexel function needs two parameters or three with the last being InSampleID"};
    if (hasSamples && !hasSample) line.insert(close, ", InSampleID");
    if (!hasSamples && hasSample) line.erase(close - 12, 12);
    line.erase(at, 1);
  }

  void RewriteBlock(std::string& line, std::size_t at) const {
    const std::size_t close = line.find('>', at);
    if (close == kNowhere) return;
    const std::string type = line.substr(at + 6, close - at - 6);
    if (_target == "METAL") {
      line.replace(at, close + 1 - at, type + "*");
    } else if (_target == "HLSL") {
      const std::size_t from = at < 7 ? 0 : at - 7;
      const bool isConstant = line.substr(from, close - from).find("const") != kNowhere;
      const std::size_t start = !isConstant ? at : at < 6 ? 0 : at - 6;
      line.replace(start, close + 1 - start, (isConstant ? "StructuredBuffer<" : "RWStructuredBuffer<") + type + ">");
    } else {
      line.erase(0, close + 1);
    }
  }

  static void Apply(const std::vector<Rule>& rules, std::string& line) {
    for (const Rule& rule : rules) {
      int steps = 0;
      std::size_t at = 0;
      while (at <= line.size() && (at = line.find(rule.keyword, at)) != kNowhere) {
        rule.handle(line, at);
        if (++steps > 2000 || line.size() > 2000000) throw Failure{"endless"};
      }
    }
  }

  static std::string Trim(const std::string& line) {
    const std::size_t start = line.find_first_not_of(" \t\r\n\v\f");
    return start == kNowhere ? "" : line.substr(start);
  }

  static int ReadNumber(std::string word) {
    if (!word.empty()) word.pop_back();
    std::size_t used = 0;
    try {
      const int number = std::stoi(word, &used);
      if (used == word.size() && std::string("+-0123456789").find(word[0]) != kNowhere) return number;
    } catch (const std::exception&) {
    }
    throw Failure{"\"" + word + "\" is not an integer."};
  }

  void TranslateLines(const Lines& lines) {
    for (std::size_t i = 0; i < lines.size(); ++i) {
      std::string line = Trim(lines[i]);
      if (line.empty()) continue;
      const Lines words = Split(line, " ");
      const State before = _state;
      if (_state == State::None) {
        if (!ReadOutside(line, words, i)) continue;
      } else {
        if (words[0] == "CPU_SCOPE_START") {
          for (++i; i < lines.size() && Split(Trim(lines[i]), " ")[0] != "CPU_SCOPE_END";) ++i;
          continue;
        }
        if (line.rfind("OSTRA_PARALLEL_KERNEL_END", 0) == 0 || line.rfind("FP_KERNEL_END", 0) == 0) {
          StoreKernel();
          continue;
        }
        Apply(_codeRules, line);
        _blockLines.push_back(line);
      }
      if (_state != before && !_outsideLines.empty()) {
        _result.globalCode.push_back(Join(_outsideLines) + "\n");
        _outsideLines.clear();
      }
      if (_state != State::None) CountBraces(line);
    }
  }

  // False when the line is done with.
  bool ReadOutside(std::string& line, const Lines& words, std::size_t& i) {
    const auto startsWith = [&](const char* word) { return line.rfind(word, 0) == 0; };
    const bool isMacro = startsWith("OSTRA_PARALLEL_KERNEL") || startsWith("FP_KERNEL");
    const bool isMethod = words.size() >= 3 && words[0] == "OSTRA_METHOD" && words[1] == "Result<void>" &&
                          words[2].rfind("Kernel", 0) == 0;
    if (isMacro || isMethod) {
      if (_kernelSeen) throw Failure{"second"};
      _state = State::Kernel;
      _blockLines.clear();
      _closing = isMacro ? _depth - 1 : _depth++;
      if (isMethod) ++i;
      return true;
    }
    if (words[0] == "inline") {
      _declaration = line.size() < 7 ? "" : line.substr(7);
      Apply(_declarationRules, _declaration);
      _state = State::Function;
      _closing = _depth;
      return true;
    }
    if (startsWith("GROUPSIZE")) {
      if (words.size() != 3) throw Failure{"GROUPSIZE used wrong, please used the format GROUPSIZE(x, y, z) only"};
      ReadNumber(words[0].size() < 10 ? "" : words[0].substr(10));
      ReadNumber(words[1]);
      ReadNumber(words[2]);
      ++i;
    } else if (startsWith("CPU_GRANULARITY") || startsWith("CPU_SINGLETHREADEDTHRESHOLD") || words[0] == "namespace") {
      ++i;
    } else if (words[0] != "ADDNOISECALL" && line[0] != '#' && line[0] != '}') {
      Apply(_codeRules, line);
      _outsideLines.push_back(line);
    }
    return false;
  }

  void CountBraces(const std::string& line) {
    for (const char c : line) {
      if (c == '{') ++_depth;
      if (c != '}') continue;
      if (--_depth != _closing) continue;
      if (_state == State::Function) {
        _result.functions.emplace_back(_declaration, Join(_blockLines));
        _blockLines.clear();
        _state = State::None;
      } else {
        if (!_blockLines.empty()) _blockLines.pop_back();
        StoreKernel();
      }
      return;
    }
  }

  void StoreKernel() {
    _result.kernel = Join(_blockLines);
    _blockLines.clear();
    _kernelSeen = true;
    _state = State::None;
  }

  std::string _target;
  std::vector<Rule> _declarationRules, _codeRules;
  ReferenceResult _result;
  State _state = State::None;
  int _depth = 0, _closing = 0;
  bool _kernelSeen = false;
  Lines _blockLines, _outsideLines;
  std::string _declaration;
};

}  // namespace

ReferenceResult TranslatePlainly(std::string_view text, std::string_view target, const std::string& templateArgument,
                                 int multisampling) {
  return Translator(target, templateArgument, multisampling).Translate(text);
}

}  // namespace ostra::test
