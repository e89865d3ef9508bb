#include "parallelprogram/kernelruntime/compiler_report.h"

#include <algorithm>

#include "ostra/core/text_characters.h"

namespace ostra::kernelruntime {

namespace {

// "file: In member function '...':" and the like. Followed by a message that has its own place.
Bool IsContext(std::string_view line) {
  constexpr std::string_view kContexts[] = {": In member function ",  ": In function ",        ": In lambda function",
                                            ": In instantiation of ", ": In substitution of ", ": At global scope:",
                                            ": In constructor ",      ": In destructor ",      ": At top level:"};
  if (line.starts_with("In file included from ") || line.starts_with("                 from ")) return true;
  return line.ends_with(':') &&
         std::any_of(std::begin(kContexts), std::end(kContexts),
                     [line](std::string_view context) { return line.find(context) != std::string_view::npos; });
}

constexpr std::string_view kParameter = "ostraParameter_";

// Names of the generated class and of the namespaces around it, which the kernel file does not contain.
constexpr std::string_view kGeneratedNames[] = {
    "ostra::kernel::{anonymous}::", "ostra::kernel::(anonymous namespace)::",
    "ostra::kernel::vocabulary::",  "ostra::vocabulary::",
    "ostra::elementary::",          "ostra::kernel::",
    "OstraKernelParameters::"};

// The generated name at the beginning of a text; empty without one.
std::string_view FindGeneratedName(std::string_view text) {
  for (const std::string_view name : kGeneratedNames)
    if (text.starts_with(name)) return name;
  return {};
}

// "ostraParameter_gain" becomes "UNIFORM(gain)", generated names go.
std::string CleanLine(std::string_view line) {
  // Names of the C++ library are not what was meant.
  const std::size_t suggestion = line.find("; did you mean \u2018std::");
  if (suggestion != std::string_view::npos) line = line.substr(0, suggestion);
  std::string text;
  while (!line.empty()) {
    if (const std::string_view name = FindGeneratedName(line); !name.empty()) {
      line.remove_prefix(name.size());
    } else if (line.starts_with(kParameter)) {
      std::size_t end = kParameter.size();
      while (end < line.size() && IsWordCharacter(line[end])) ++end;
      text.append("UNIFORM(").append(line.substr(kParameter.size(), end - kParameter.size())).append(")");
      line.remove_prefix(end);
    } else {
      text += line.front();
      line.remove_prefix(1);
    }
  }
  return text;
}

}  // namespace

std::string CleanCompilerReport(std::string_view report) {
  std::string result;
  while (!report.empty()) {
    const std::size_t end = report.find('\n');
    const std::string_view line = report.substr(0, end);
    report = end == std::string_view::npos ? std::string_view() : report.substr(end + 1);
    if (IsContext(line)) continue;
    result += CleanLine(line);
    result += '\n';
  }
  return result;
}

}  // namespace ostra::kernelruntime
