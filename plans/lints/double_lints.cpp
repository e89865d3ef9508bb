// Functions of 64-bit floats: HLSL has them for 32 bits alone and narrows the arguments implicitly.
#include <algorithm>
#include <string>
#include <vector>

#include "parallelprogram/kernellanguage/words.h"
#include "plans/lints/lints.h"

namespace ostra::plans {

using namespace kernellanguage;

namespace {

// Whether the word is a function of floats that every language has in a form of its own.
Bool IsFloatFunction(std::string_view name) {
  const Word* word = FindWord(name);
  if (!word || word->kind != WordKind::kFunction || word->isExtension) return false;
  const auto overloads = GetOverloads(word->id);
  return std::any_of(overloads.begin(), overloads.end(),
                     [](const Overload& overload) { return overload.parameters[0] == kFloatType; });
}

Bool IsDouble(std::string_view type) { return type == "Float64" || type == "double"; }

class DoubleLinter {
 public:
  DoubleLinter(const LintedFile& file, const ShaderParser& parser, Findings& findings)
      : _file(file), _findings(findings) {
    for (const ShaderInputEntry& input : parser.GetInputEntries())
      if (IsDouble(input.typeName.GetView())) _names.emplace_back(input.name.GetView());
  }

  void Lint() {
    for (const SourceLine& line : _file.lines) {
      if (line.use == LineUse::CpuScope || line.block == BlockKind::InputDefine) continue;
      CollectNames(line.code);
      ForEachName(line.code, [&](std::string_view name, std::size_t at) {
        std::string_view arguments;
        if (!IsFloatFunction(name)) return;
        const std::size_t next = at + name.size();
        if (next >= line.code.size() || line.code[next] != '(' || !GetArguments(line.code, next, arguments)) return;
        if (HasDouble(arguments))
          _findings.Add({_file.name, line.number, Severity::Warning,
                         Quote(name) + " of 64-bit floats is computed with 32 bits in HLSL"});
      });
    }
  }

 private:
  void CollectNames(std::string_view code) {
    Bool isType = false;
    ForEachName(code, [&](std::string_view name, std::size_t) {
      if (isType) _names.emplace_back(name);
      isType = IsDouble(name);
    });
  }
  Bool HasDouble(std::string_view arguments) const {
    Bool found = false;
    ForEachName(arguments, [&](std::string_view name, std::size_t) {
      found = found || IsDouble(name) || std::find(_names.begin(), _names.end(), name) != _names.end();
    });
    return found;
  }

  const LintedFile& _file;
  Findings& _findings;
  std::vector<std::string> _names;  // of variables and buffers
};

}  // namespace

void LintDoubles(const LintedFile& file, const ShaderParser& parser, Findings& findings) {
  DoubleLinter(file, parser, findings).Lint();
}

}  // namespace ostra::plans
