// Lints of textures: types that there are not, and functions that no language has for them.
#include <algorithm>
#include <string>
#include <vector>

#include "parallelprogram/kernellanguage/words.h"
#include "plans/lints/lints.h"
#include "plans/names/nearest_name.h"

namespace ostra::plans {

using kernellanguage::FindWord;
using kernellanguage::GetWords;
using kernellanguage::Word;
using kernellanguage::WordKind;

namespace {

constexpr std::string_view kTypePrefix = "TextureSampler_";

const std::vector<std::string>& ListTextureTypes() {
  static const std::vector<std::string> types = [] {
    std::vector<std::string> names;
    for (const char* dimensions : {"1D", "2D", "3D"})
      for (const char* channels : {"R", "RG", "RGB", "RGBA"})
        for (const char* element : {"F32", "F16", "U8", "U16", "U32", "S32", "I32"})
          for (const char* filter : {"LINEAR", "POINT"})
            names.push_back(std::string(kTypePrefix) + dimensions + "_" + channels + "_" + element + "_" + filter);
    return names;
  }();
  return types;
}

// Words that take a texture.
const std::vector<std::string>& ListTextureWords() {
  static const std::vector<std::string> words = [] {
    std::vector<std::string> names;
    for (const Word& word : GetWords())
      if (word.kind == WordKind::kTexture) names.emplace_back(word.name);
    names.insert(names.end(), {"PassTexture", "PassMultisampledTexture"});
    return names;
  }();
  return words;
}

// A word with parentheses that is no function.
Bool IsOtherWord(std::string_view name) {
  const Word* word = FindWord(name);
  return word && word->kind != WordKind::kFunction && word->kind != WordKind::kType;
}

Bool Contains(const std::vector<std::string>& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

std::string DescribeWrongType(std::string_view type) {
  if (Contains(ListTextureTypes(), type)) return {};
  std::string text = "there is no texture type " + Quote(type);
  const std::string_view dimensions = type.substr(kTypePrefix.size()).substr(0, 4);
  if (dimensions == "Cube" || dimensions == "CUBE" || dimensions == "cube")
    return text + ": textures have 1, 2 or 3 dimensions, and there are no cubes";
  const std::string_view nearest = FindNearestName(type, ListTextureTypes());
  if (!nearest.empty()) return text + "; did you mean " + Quote(nearest) + "?";
  return text + ": these are TextureSampler_<1D|2D|3D>_<R|RG|RGB|RGBA>_<F32|F16|U8|U16|U32|S32>_<LINEAR|POINT>";
}

Bool IsTexture(const ShaderParser& parser, std::string_view name) {
  for (const ShaderTextureEntry& texture : parser.GetTextureEntries())
    if (texture.name == name) return true;
  return false;
}

// A function or macro of the file or of its headers.
Bool IsDefined(const LintedFile& file, const ShaderParser& parser, std::string_view name) {
  for (const ShaderFunctionDefinition& function : parser.GetFunctions())
    if (HasName(function.declaration.GetView(), name)) return true;
  for (const String& define : parser.GetDefines())
    if (HasName(define.GetView(), name)) return true;
  for (const SourceLine& line : file.lines)
    if (line.code.starts_with('#') && HasName(line.code, name)) return true;
  return false;
}

}  // namespace

void LintTextureTypes(const LintedFile& file, Findings& findings) {
  for (const SourceLine& line : file.lines) {
    if (line.use == LineUse::CpuScope) continue;
    ForEachName(line.code, [&](std::string_view name, std::size_t) {
      if (!name.starts_with(kTypePrefix) || name.find("TYPE") != std::string_view::npos) return;
      if (Contains(ListTextureTypes(), name) && name.find("_I32_") != std::string_view::npos)
        findings.Add({file.name, line.number, Severity::Error,
                      Quote(name) + " is known on the CPU alone: write S32, which both sides know"});
      if (std::string text = DescribeWrongType(name); !text.empty())
        findings.Add({file.name, line.number, Severity::Error, std::move(text)});
    });
  }
}

void LintTextureCalls(const LintedFile& file, const ShaderParser& parser, Findings& findings) {
  for (const SourceLine& line : file.lines) {
    if (line.use == LineUse::CpuScope || line.code.starts_with('#')) continue;
    ForEachName(line.code, [&](std::string_view name, std::size_t at) {
      std::string_view arguments;
      const std::size_t next = at + name.size();
      if (next >= line.code.size() || line.code[next] != '(' || !GetArguments(line.code, next, arguments)) return;
      if (IsOtherWord(name)) return;
      if (!IsTexture(parser, GetTextureName(arguments)) || IsDefined(file, parser, name)) return;
      findings.Add({file.name, line.number, Severity::Error,
                    "there is no function " + Quote(name) + " of textures" + SuggestName(name, ListTextureWords())});
    });
  }
}

}  // namespace ostra::plans
