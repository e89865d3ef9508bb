#include "parallelprogram/kernellanguage/report_text.h"

#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {

std::string FindReportTextMistake(std::string_view text, std::string_view word, std::size_t count) {
  if (text.empty()) return "";
  if (text.size() < 2 || text.front() != '"' || text.back() != '"')
    return Join({"the text of ", word, " stands in double quotes, on one line"});
  std::size_t values = 0;
  for (std::size_t at = text.find('%'); at != std::string_view::npos; at = text.find('%', at + 2)) {
    if (text[at + 1] == 'v') ++values;
    if (text[at + 1] == 'v' || text[at + 1] == '%') continue;
    return Join({"\"%", text[at + 1] == '"' ? "" : text.substr(at + 1, 1),
                 "\" in a text: every value is %v, and %% a percent sign"});
  }
  if (values == count) return "";
  const auto say = [](std::size_t number) {
    return Join({std::to_string(number), number == 1 ? " value" : " values"});
  };
  return Join(
      {"the text of ", word, " shows ", say(values), " (%v), and there ", count == 1 ? "is " : "are ", say(count)});
}

}  // namespace ostra::kernellanguage
