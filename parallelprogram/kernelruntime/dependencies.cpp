#include "parallelprogram/kernelruntime/dependencies.h"

#include "ostra/core/split_text.h"

namespace ostra::kernelruntime {

std::vector<std::string> ParseDependencies(std::string_view text) {
  const std::size_t colon = text.find(": ");
  if (colon == std::string_view::npos) return {};
  std::vector<std::string> files;
  std::string file;
  const auto finish = [&] {
    if (!file.empty()) files.push_back(std::move(file));
    file.clear();
  };
  for (std::size_t i = colon + 2; i < text.size(); ++i) {
    const char next = i + 1 < text.size() ? text[i + 1] : '\n';
    if (text[i] == '\\' && next == '\n') continue;  // the rule goes on in the next line
    if ((text[i] == '\\' && (next == ' ' || next == '#' || next == '\\')) || (text[i] == '$' && next == '$'))
      file += text[++i];
    else if (text[i] == ' ' || text[i] == '\n' || text[i] == '\r')
      finish();
    else
      file += text[i];
  }
  finish();
  return files;
}

std::vector<std::string> SplitLines(std::string_view text) {
  std::vector<std::string> lines;
  for (const std::string_view line : SplitText(text, '\n'))
    if (!line.empty()) lines.emplace_back(line);
  return lines;
}

}  // namespace ostra::kernelruntime
