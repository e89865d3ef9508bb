#include <algorithm>
#include <vector>

#include "apps/ostra/check/lints.h"
#include "apps/ostra/values/text.h"

namespace ostra::tool {

namespace {

Bool HasParameter(const ShaderParser& parser, std::string_view name) {
  for (const ShaderInputEntry& input : parser.GetInputEntries())
    if (input.name == name) return true;
  for (const ShaderTextureEntry& texture : parser.GetTextureEntries())
    if (texture.name == name) return true;
  return false;
}

// The name that a declaration ends with; what stands before it in `before`.
std::string_view TakeName(std::string_view declaration, std::string_view& before) {
  while (!declaration.empty() && !IsNameCharacter(declaration.back())) declaration.remove_suffix(1);
  std::size_t begin = declaration.size();
  while (begin > 0 && IsNameCharacter(declaration[begin - 1])) --begin;
  before = declaration.substr(0, begin);
  return declaration.substr(begin);
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
                    "the letters \"" + std::string(word) + "\" in \"" + std::string(first) + "\" make \"" +
                        std::string(name) + "\" an " + (word == "out" ? "output" : std::string(word)) +
                        " on the GPU: rename the type"});
  }
  if (name.empty() || HasParameter(parser, name)) {
    const std::size_t inner = line.code.find('<');
    if (inner != std::string::npos && line.code.find('<', inner + 1) != std::string::npos &&
        line.code.find("Block<") != std::string::npos)
      findings.Add({file.name, line.number, Severity::Error,
                    "the elements of \"" + std::string(name) +
                        "\" have a type in angle brackets, of which only the first word is translated: write uint3, "
                        "int4, half2 and the like"});
    return;
  }
  std::string text = "the declaration of \"" + std::string(name) + "\" makes no parameter on the GPU";
  if (before.find("const") != std::string_view::npos) text += ": only buffers and textures can be const";
  findings.Add({file.name, line.number, Severity::Warning, std::move(text)});
}

}  // namespace

void LintDeclarations(const LintedFile& file, const ShaderParser& parser, Findings& findings) {
  enum class Block { None, Define, Struct } block = Block::None;
  for (const SourceLine& line : file.lines) {
    if (block == Block::None) {
      if (line.text.starts_with("#define KERNELINPUTS")) block = Block::Define;
      if (line.text.starts_with("struct KernelInput")) block = Block::Struct;
      continue;
    }
    const Bool isEnd = block == Block::Define ? line.text.empty() || line.text.starts_with("OSTRA_PARALLEL_KERNEL") ||
                                                    line.text.starts_with("FP_KERNEL")
                                              : line.text.starts_with("}");
    if (isEnd)
      block = Block::None;
    else
      LintDeclaration(file, line, parser, findings);
  }
}

}  // namespace ostra::tool
