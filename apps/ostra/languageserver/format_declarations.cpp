#include <algorithm>

#include "apps/ostra/languageserver/features.h"
#include "plans/values/text.h"

namespace ostra::tool {

using namespace plans;

namespace {

// "(Type) name" with one blank between, "," and "\" where they stood; empty for a line of another form.
std::string FormatLine(std::string_view line) {
  std::string_view rest = TrimText(line);
  const Bool isContinued = rest.ends_with('\\');
  if (isContinued) rest = TrimText(rest.substr(0, rest.size() - 1));
  const Bool hasComma = rest.ends_with(',');
  if (hasComma) rest = TrimText(rest.substr(0, rest.size() - 1));
  const std::size_t close = rest.rfind(')');
  if (!rest.starts_with('(') || close == std::string_view::npos) return "";
  const std::string_view type = TrimText(rest.substr(1, close - 1)), name = TrimText(rest.substr(close + 1));
  const Bool isPlain = type.find_first_of("()/") == std::string_view::npos && !name.empty() &&
                       name.find_first_of(" \t()/,") == std::string_view::npos;
  if (!isPlain || type.empty()) return "";
  std::string formatted("(");
  formatted.append(type).append(") ").append(name);
  return formatted.append(hasComma ? "," : "").append(isContinued ? " \\" : "");
}

}  // namespace

std::vector<TextEdit> FormatDeclarations(std::string_view text) {
  std::vector<TextEdit> edits;
  Bool isInside = false;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    std::string_view line = text.substr(begin, end - begin);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (isInside) {
      const std::string formatted = FormatLine(line);
      if (!formatted.empty() && formatted != line)
        edits.push_back({{static_cast<UInt32>(begin), static_cast<UInt32>(begin + line.size())}, formatted});
      isInside = TrimText(line).ends_with('\\');
    } else {
      isInside = line.starts_with("#define KERNELINPUTS") && TrimText(line).ends_with('\\');
    }
    begin = end + 1;
  }
  return edits;
}

}  // namespace ostra::tool
