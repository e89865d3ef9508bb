#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "parallelprogram/shaderassembly/element_types.h"
#include "parallelprogram/shaderassembly/stage_rules.h"
#include "parallelprogram/shaderparser/kernel_words.h"
#include "plans/lints/lints.h"
#include "plans/names/nearest_name.h"
#include "plans/values/text.h"

namespace ostra::plans {

namespace {

Bool HasParameter(const ShaderParser& parser, std::string_view name) {
  const auto isNamed = [&](const CString& found) { return found == name; };
  for (const ShaderInputEntry& input : parser.GetInputEntries())
    if (isNamed(input.name)) return true;
  for (const ShaderTextureEntry& texture : parser.GetTextureEntries())
    if (isNamed(texture.name)) return true;
  return false;
}

// The name that a declaration ends with; what stands before it in `before`.
std::string_view TakeName(std::string_view declaration, std::string_view& before) {
  while (!declaration.empty() && !IsWordCharacter(declaration.back())) declaration.remove_suffix(1);
  std::size_t begin = declaration.size();
  while (begin > 0 && IsWordCharacter(declaration[begin - 1])) --begin;
  before = declaration.substr(0, begin);
  return declaration.substr(begin);
}

// The type in what stands before a name, without parentheses and const.
std::string_view TakeType(std::string_view before) {
  constexpr std::string_view kConst = "const ";
  while (!before.empty() && (before.front() == '(' || before.front() == ' ')) before.remove_prefix(1);
  while (!before.empty() && (before.back() == ')' || before.back() == ' ')) before.remove_suffix(1);
  if (before.starts_with(kConst)) before.remove_prefix(kConst.size());
  return before;
}

std::vector<std::string> ListTypeNames() {
  std::vector<std::string> names;
  for (Int i = 0; !GetTypeName(i).empty(); ++i) names.emplace_back(GetTypeName(i));
  return names;
}

// Of one buffer after the other; the assembly of a program ends at the first.
void LintElementType(const LintedFile& file, const SourceLine& line, const ShaderParser& parser, std::string_view name,
                     Findings& findings) {
  for (const ShaderInputEntry& input : parser.GetInputEntries()) {
    const std::string_view type = input.typeName.GetView();
    if (input.name != name || IsDefinedElementType(parser, type)) continue;
    const std::string_view obstacle = FindElementTypeObstacle(type, kTargetGlsl);
    if (!obstacle.empty())
      findings.Add({file.name, line.number, Severity::Error,
                    "the elements of " + Quote(name) + " are " + std::string(type) + ": " + std::string(obstacle)});
  }
}

void LintDeclaration(const LintedFile& file, const SourceLine& line, const ShaderParser& parser, Findings& findings) {
  if (line.code.empty() || line.code == "{" || line.code == "}" || line.code == "};") return;
  std::string_view before;
  const std::string_view name = TakeName(line.code, before);
  const std::string_view first = std::string_view(line.code).substr(0, line.code.find(' '));
  if (first.find("IGNORE_VARIABLE_GPU") != std::string_view::npos) return;
  for (const std::string_view word : {"out", "varying", "attribute"}) {
    // The translator looks for the letters, not for the word.
    const Bool isWord = first.size() > word.size() && first.substr(1) == word;
    if (!isWord && first.find(word) != std::string_view::npos && first.starts_with("("))
      findings.Add({file.name, line.number, Severity::Warning,
                    "the letters \"" + std::string(word) + "\" in \"" + std::string(first) + "\" make " + Quote(name) +
                        (word == "out"       ? " an output"
                         : word == "varying" ? " a varying"
                                             : " an attribute") +
                        " on the GPU: rename the type"});
    else
      continue;
    return;
  }
  if (name.empty()) return;
  if (HasParameter(parser, name)) return LintElementType(file, line, parser, name, findings);
  std::string text = "the declaration of \"" + std::string(name) + "\" makes no parameter on the GPU";
  const std::string_view type = TakeType(before);
  if (DataTypeFromTypeName(type).IsPopulated()) {
    if (before.find("const") != std::string_view::npos) text += ": only buffers and textures can be const";
  } else if (!type.empty() && type.find_first_of("<> ") == std::string_view::npos && type != "TYPE" &&
             !type.starts_with("TextureSampler")) {
    const std::string_view obstacle = FindValueTypeObstacle(type);
    const std::vector<std::string> names = ListTypeNames();
    const std::string_view nearest = obstacle.empty() ? FindNearestName(type, names) : std::string_view();
    text += obstacle.empty() ? ": the type " + Quote(type) + " is not known" : ": " + std::string(obstacle);
    if (!nearest.empty()) text += "; did you mean " + Quote(nearest) + "?";
  }
  findings.Add(
      {file.name, line.number, Severity::Warning, std::move(text), FindingKind::LostDeclaration, std::string(name)});
}

// A block of declarations that the translator does not see as one.
void LintLostBlock(const LintedFile& file, const SourceLine& line, Findings& findings) {
  const Bool isLost = line.use != LineUse::BlockStart && line.use != LineUse::CpuScope;
  if (!isLost || (!IsInputDefine(line.code) && !IsInputStruct(line.code))) return;
  const std::string reason = line.use == LineUse::Swallowed
                                 ? "the translator drops this line together with the one before it"
                                 : "the block before this line is still open";
  findings.Add({file.name, line.number, Severity::Warning,
                "the declarations from here on make no parameters on the GPU: " + reason,
                FindingKind::LostDeclaration});
}

std::optional<Finding> MakeStageFinding(const ShaderParser& parser, const ShaderTextOrigin& origin, std::string text) {
  const Bool isKnown = origin.file >= 0 && origin.file < parser.GetFiles().GetCount();
  return Finding{TextOf(parser.GetFiles()[isKnown ? origin.file : 0].GetView()), isKnown ? origin.line : 0,
                 Severity::Error, std::move(text)};
}

}  // namespace

Result<std::optional<Finding>> FindStageFinding(const ShaderParser& parser, DrawportStage stage) {
  if (stage == DrawportStage::Compute) return std::optional<Finding>();
  for (const ShaderInputEntry& input : parser.GetInputEntries()) {
    const char* what = nullptr;
    if ((input.kind & kShaderInputAttribute) != 0 && stage != DrawportStage::Vertex)
      what = "an attribute, which only vertex stages have";
    if ((input.kind & kShaderInputOut) != 0 && stage != DrawportStage::Fragment)
      what = "an output, which only fragment stages have";
    if (what)
      return MakeStageFinding(parser, input.origin,
                              "the parameter " + Quote(input.name.GetString().GetView()) + " is " + what);
  }
  OSTRA_ASSIGN_OR_RETURN(const std::optional<StageMistake> found, FindStageMistake(parser, stage));
  if (!found) return std::optional<Finding>();
  if (parser.GetNoiseCallCount() > 0 && found->origin.line == 0)
    return MakeStageFinding(parser, found->origin,
                            "graphics programs have no noises: let a kernel write them into a buffer");
  return MakeStageFinding(parser, found->origin, TextOf(found->text));
}

void LintDeclarations(const LintedFile& file, const ShaderParser& parser, Findings& findings) {
  std::map<std::string_view, Int> known;  // names and their lines
  for (const SourceLine& line : file.lines) {
    if (line.use == LineUse::BlockStart) known.clear();
    LintLostBlock(file, line, findings);
    if (!IsParameter(line.use) && line.use != LineUse::NoParameter) continue;
    LintDeclaration(file, line, parser, findings);
    std::string_view before;
    const std::string_view name = TakeName(line.code, before);
    if (name.empty() || before.find_first_not_of(" (") == std::string_view::npos) continue;
    const auto [first, isNew] = known.try_emplace(name, line.number);
    if (!isNew)
      findings.Add(
          {file.name, line.number, Severity::Error,
           "the parameter " + Quote(name) + " is declared twice: before in line " + std::to_string(first->second)});
  }
}

}  // namespace ostra::plans
