#include "parallelprogram/kernellanguage/plain_marks.h"

#include <charconv>

#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {

std::string MakeMark(SourceOffset offset) {
  return Join({std::string_view(&kMarkBegin, 1), std::to_string(offset), std::string_view(&kMarkEnd, 1)});
}

void TakeMarks(std::string_view marked, PlainForm& form) {
  while (true) {
    const std::size_t begin = marked.find(kMarkBegin);
    form.text += marked.substr(0, begin);
    if (begin == std::string_view::npos) return;
    const std::size_t end = marked.find(kMarkEnd, begin);
    TextMark mark{.position = static_cast<UInt32>(form.text.size())};
    std::from_chars(marked.data() + begin + 1, marked.data() + end, mark.source);
    if (!form.marks.empty() && form.marks.back().position == mark.position)
      form.marks.back() = mark;
    else
      form.marks.push_back(mark);
    marked.remove_prefix(end + 1);
  }
}

}  // namespace ostra::kernellanguage
