#include "ostra/drawport/shading/sections.h"

#include "ostra/core/format.h"
#include "ostra/drawport/enumerations.h"
#include "ostra/drawport/shading/support_text.h"

OSTRA_UNIT("shader_assembly");

namespace ostra::shading {

namespace {

constexpr std::string_view kSectionMark = "//@ ";

}  // namespace

std::string_view TakeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
  return line;
}

Result<Sections> Sections::Open(const Id& language) {
  Sections sections;
  if (language == kShadingLanguageGlsl)
    OSTRA_RETURN_IF_ERROR(sections.Add(kGlsl));
  else if (language == kShadingLanguageHlsl)
    OSTRA_RETURN_IF_ERROR(sections.Add(kHlsl));
  else if (language == kShadingLanguageMetal)
    OSTRA_RETURN_IF_ERROR(sections.Add(kMetal));
  else
    return OSTRA_ILLEGAL_ARGUMENT("There is no support code for the shading language \"@\".", language);
  OSTRA_RETURN_IF_ERROR(sections.Add(kCommon));
  return sections;
}

Result<void> Sections::Add(std::string_view file) {
  const char* begin = nullptr;
  std::string_view name;
  while (!file.empty()) {
    const char* const lineBegin = file.data();
    const std::string_view line = TakeLine(file);
    if (!line.starts_with(kSectionMark)) continue;
    if (begin) {
      // The empty line before the next section belongs to neither.
      std::string_view text(begin, static_cast<std::size_t>(lineBegin - begin));
      if (text.ends_with("\n\n")) text.remove_suffix(1);
      OSTRA_RETURN_IF_ERROR(_sections.Append(Section{name, text}));
      if (name == "names") _names = text;
    }
    name = line.substr(kSectionMark.size());
    begin = file.data();
  }
  return OK;
}

const std::string_view* Sections::Find(std::string_view name) const {
  for (const Section& section : _sections)
    if (section.name == name) return &section.text;
  return nullptr;
}

std::string_view Sections::GetName(std::string_view key, std::string_view part) const {
  std::string_view rest = _names;
  while (!rest.empty()) {
    std::string_view line = TakeLine(rest);
    if (!line.starts_with(key)) continue;
    line.remove_prefix(key.size());
    if (!part.empty()) {
      if (!line.starts_with('.') || !line.substr(1).starts_with(part)) continue;
      line.remove_prefix(1 + part.size());
    }
    if (line.starts_with(" = ")) return line.substr(3);
  }
  return {};
}

}  // namespace ostra::shading
