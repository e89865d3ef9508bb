#include <algorithm>

#include "parallelprogram/kernellanguage/types.h"
#include "plans/lints/lints.h"

namespace ostra::plans {

using kernellanguage::Scalar;
using kernellanguage::Type;
using kernellanguage::TypeKind;

namespace {

// The translator replaces these words wherever their letters stand. TYPE is one only with a template argument: names
// that hold it are looked at when there is one, or when the file uses the word itself and so will be given one.
constexpr std::string_view kRuleWords[] = {
    "CPU_CONSTREF", "CPU_PASS_BUFFER", "INOUT",  "GetAtomicCounter", "Sqrt",   "sqmat",
    "MAKELOCAL",    "LOCALDATA",       "ATOMIC", "GROUPSHAREDMEM",   "matoff", "ONLY_USE_FIRST_MSAA_SAMPLE",
};

class LineLinter {
 public:
  LineLinter(const LintedFile& file, Findings& findings) : _file(file), _findings(findings) {}

  void Lint() {
    _usesType = _file.hasTemplateArgument;
    for (const SourceLine& line : _file.lines) _usesType = _usesType || HasName(line.code, "TYPE");
    for (const SourceLine& line : _file.lines) {
      if (line.code.empty()) continue;
      if (!_file.isStage) LintSwizzles(line);
      if (line.use == LineUse::CpuScope) continue;
      LintRuleWords(line);
      LintArguments(line);
      LintConstructors(line);
      LintWords(line);
    }
  }

 private:
  void Warn(const SourceLine& line, std::string text) {
    _findings.Add({_file.name, line.number, Severity::Warning, std::move(text)});
  }
  void Fail(const SourceLine& line, std::string text) {
    _findings.Add({_file.name, line.number, Severity::Error, std::move(text)});
  }

  void LintRuleWords(const SourceLine& line) {
    ForEachName(line.code, [&](std::string_view name, std::size_t) {
      for (const std::string_view word : kRuleWords) LintRuleWord(line, name, word);
      if (_usesType) LintRuleWord(line, name, "TYPE");
    });
  }
  void LintRuleWord(const SourceLine& line, std::string_view name, std::string_view word) {
    if (name != word && name.find(word) != std::string_view::npos)
      Warn(line, "the translator replaces \"" + std::string(word) + "\" inside the name \"" + std::string(name) + "\"");
  }

  // Macros whose arguments end at the first parenthesis.
  void LintArguments(const SourceLine& line) {
    for (const std::string_view word : {"LOCALDATA", "MAKELOCAL", "GROUPSHAREDMEM"}) {
      std::string_view arguments;
      if (!HasName(line.code, word) || !GetArguments(line.code, line.code.find(word), arguments)) continue;
      if (arguments.find('(') != std::string_view::npos)
        Fail(line, "the arguments of " + std::string(word) +
                       " end at the first \")\": they cannot hold parentheses; give the value a name before");
    }
  }

  void LintConstructors(const SourceLine& line) {
    ForEachName(line.code, [&](std::string_view name, std::size_t at) {
      if (!IsVectorType(name)) return;
      const std::size_t next = at + name.size();
      std::string_view arguments;
      if (next >= line.code.size() || line.code[next] != '(' || !GetArguments(line.code, next, arguments)) return;
      if (IsScalar(arguments)) Warn(line, MakeSplatText(name, arguments));
    });
  }
  // A number, or a component such as p.x.
  static Bool IsScalar(std::string_view text) {
    while (text.starts_with(' ') || text.starts_with('-')) text.remove_prefix(1);
    if (text.empty() || text.find(',') != std::string_view::npos) return false;
    if (text.front() >= '0' && text.front() <= '9')
      return text.find_first_not_of("0123456789.eEfuxX+-") == std::string_view::npos;
    const std::size_t dot = text.rfind('.');
    return dot != std::string_view::npos && dot + 2 == text.size() &&
           std::string_view("xyzw").find(text.back()) != std::string_view::npos &&
           std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(dot),
                       [](char c) { return IsWordCharacter(c) || c == '.'; });
  }

  void LintSwizzles(const SourceLine& line) {
    if (line.code.starts_with('#')) return;
    ForEachName(line.code, [&](std::string_view name, std::size_t at) {
      if (at == 0 || line.code[at - 1] != '.' || name.size() < 2 || name.size() > 4) return;
      if (name.find_first_not_of("xyzw") == std::string_view::npos)
        Fail(line, "\"." + std::string(name) + "\": vectors have no swizzles on the CPU; name the components");
    });
  }

  void LintWords(const SourceLine& line) {
    if (HasName(line.code, "matoff"))
      Warn(line, "matoff is translated as text, with an unbalanced parenthesis: write MatrixOffset");
    if (HasName(line.code, "CPU_PASS_BUFFER"))
      Warn(line,
           "buffers cannot be passed to functions on every GPU: read them in the kernel, or through a macro of the "
           "header");
    if (line.firstWord == "inline" && HasName(line.code, "ATOMIC"))
      Warn(line, "ATOMIC is not translated in declarations; functions take no counters");
    const Bool isDeclaration = HasName(line.code, "ATOMIC") && line.code.find("ATOMIC ") != std::string::npos;
    if (line.firstWord != "inline" && !line.code.starts_with('#') && isDeclaration)
      Warn(
          line,
          "ATOMIC makes an atomic_uint of the variable in Metal, which can neither be given a value in its declaration "
          "nor be assigned: declare a uint");
    constexpr std::string_view kTexel = "GetFramebufferTexel(";
    if (line.code.starts_with('#')) return;
    for (std::size_t at = line.code.find(kTexel); at != std::string::npos; at = line.code.find(kTexel, at + 1))
      if (at == 0 || line.code[at - 1] != ' ')
        Warn(line, "without a blank before it, GetFramebufferTexel is not translated for several samples per pixel");
  }

  const LintedFile& _file;
  Findings& _findings;
  Bool _usesType = false;
};

}  // namespace

Bool IsNumberType(std::string_view name) {
  const Type type = kernellanguage::GetWordType(name);
  return type.kind == TypeKind::kScalar && type.scalar != Scalar::kBool && GetSize(type.scalar) <= 4;
}

Bool IsVectorType(std::string_view name) { return kernellanguage::GetWordType(name).kind == TypeKind::kVector; }

std::string MakeSplatText(std::string_view name, std::string_view argument) {
  return "not every language makes a vector of one number: give " + std::string(name) +
         " all its components instead of " + Quote(argument);
}

void LintLines(const LintedFile& file, Findings& findings) {
  LineLinter(file, findings).Lint();
  LintTextureTypes(file, findings);
}

}  // namespace ostra::plans
