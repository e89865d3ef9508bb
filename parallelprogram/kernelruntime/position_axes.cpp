#include "parallelprogram/kernelruntime/position_axes.h"

#include <algorithm>

#include "parallelprogram/kernelfront/tokens.h"

namespace ostra::kernelruntime {

namespace {

Int GetAxisCount(std::string_view member) {
  if (member.find_first_of("zb") != std::string_view::npos) return 3;
  return member.find_first_of("yg") != std::string_view::npos ? 2 : 1;
}

}  // namespace

std::optional<Int> CountPositionAxes(std::string_view text) {
  const auto tokens = kernelfront::ReadTokens(text);
  const auto getText = [&](std::size_t i) {
    return i < tokens.size() ? text.substr(tokens[i].begin, tokens[i].end - tokens[i].begin) : std::string_view();
  };
  Int count = 1;
  Bool isWhole = false;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    const std::string_view word = getText(i);
    if (word == "InGlobalInvocationID" || word == "InLocalInvocationID" || word == "InWorkGroupID") {
      // Of the form that runs whole groups: "const Vec3<UInt32>& InWorkGroupID",
      // "ForEachInvocation<...>(InWorkGroupID".
      const Bool isDeclared = i > 1 && getText(i - 1) == "&" && getText(i - 2) == ">";
      const Bool isLoop =
          i > 4 && getText(i - 1) == "(" && (getText(i - 5) == "ForEachInvocation" || getText(i - 5) == "ForEachRow");
      if (isDeclared || isLoop) continue;
      if (getText(i + 1) == ".")
        count = std::max(count, GetAxisCount(getText(i + 2)));
      else
        isWhole = true;
    }
    if (word == "GROUPSIZE" && getText(i + 1) == "(" && getText(i + 3) == "," && getText(i + 5) == ",") {
      if (getText(i + 4) != "1") count = std::max<Int>(count, 2);
      if (getText(i + 6) != "1") count = 3;
    }
  }
  // What is handed on whole may ask for any of them; more than three there are not.
  return isWhole && count < 3 ? std::nullopt : std::optional(count);
}

}  // namespace ostra::kernelruntime
