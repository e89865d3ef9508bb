// The translator drops the #define lines of kernel and stage files, of which the CPU knows: on the GPU there are those
// of the header alone.
#include <algorithm>

#include "plans/lints/lints.h"

namespace ostra::plans {

namespace {

constexpr std::string_view kDefine = "#define";

// The name that a line defines; empty when it defines none.
std::string_view GetDefinedName(std::string_view line) {
  if (!line.starts_with(kDefine) || line.size() == kDefine.size() || IsWordCharacter(line[kDefine.size()])) return {};
  line.remove_prefix(std::min(line.find_first_not_of(" \t", kDefine.size()), line.size()));
  std::size_t end = 0;
  while (end < line.size() && IsWordCharacter(line[end])) ++end;
  return line.substr(0, end);
}

Bool IsUsed(const LintedFile& file, std::string_view name) {
  return std::any_of(file.lines.begin(), file.lines.end(), [name](const SourceLine& line) {
    const Bool isDeclaration = IsParameter(line.use) || line.use == LineUse::NoParameter;
    const Bool reachesGpu = IsTranslatedCode(line) || isDeclaration || line.use == LineUse::BlockStart;
    return reachesGpu && HasName(line.code, name);
  });
}

Bool IsInHeader(const ShaderParser& parser, std::string_view name) {
  for (const String& define : parser.GetDefines())
    if (GetDefinedName(define.GetView()) == name) return true;
  return false;
}

// The name of the file that the translator takes for the header of `file`.
std::string GetHeaderName(const std::string& file) {
  const std::string name = file.substr(file.rfind('/') + 1);
  const std::string suffix = name.substr(std::min(name.rfind('.'), name.size()));
  const Bool isGraphics = suffix == ".vert" || suffix == ".frag";
  return name.substr(0, name.size() - suffix.size()) + (isGraphics ? ".inc" : ".h");
}

std::string MakeDroppedDefineText(const LintedFile& file, std::string_view name) {
  return "this line does not reach the GPU: " + Quote(name) + " counts only in the header, " + GetHeaderName(file.name);
}

}  // namespace

std::optional<Finding> FindDroppedPatchDefine(const LintedFile& file, const ShaderParser& parser) {
  for (const SourceLine& line : file.lines)
    if (line.use == LineUse::Dropped && GetDefinedName(line.code).starts_with("PATCH_") &&
        !IsInHeader(parser, GetDefinedName(line.code)))
      return Finding{file.name, line.number, Severity::Error, MakeDroppedDefineText(file, GetDefinedName(line.code))};
  return {};
}

void LintDefines(const LintedFile& file, const ShaderParser& parser, Findings& findings) {
  for (const SourceLine& line : file.lines) {
    if (line.use != LineUse::Dropped) continue;
    const std::string_view name = GetDefinedName(line.code);
    const Bool isMeant = name.starts_with("PATCH_") || IsUsed(file, name);
    if (!name.empty() && isMeant && !IsInHeader(parser, name))
      findings.Add({file.name, line.number, Severity::Warning, MakeDroppedDefineText(file, name)});
  }
}

}  // namespace ostra::plans
