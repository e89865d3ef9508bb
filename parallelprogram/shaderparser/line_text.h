// One line while rules rewrite it.
//
// The memory has a gap where the last change was made. Rules work through a line from left to right, so that even
// thousands of changes to a line of a megabyte move each of its bytes a few times only.
#pragma once

#include "ostra/core/result.h"
#include "ostra/core/string.h"

namespace ostra {

class LineText {
 public:
  LineText() = default;
  LineText(const LineText&) = delete;
  LineText& operator=(const LineText&) = delete;
  ~LineText();

  // `line` must not be a part of this. Error: out of memory; the text is then as before.
  Result<void> Assign(std::string_view line);

  Int GetCount() const { return _gap + _capacity - _gapEnd; }
  // How many bytes were looked at or moved so far: what a line has cost.
  Int GetWork() const { return _work; }
  // The text from byte `position` on. Valid until the next call of any other function.
  std::string_view ViewFrom(Int position);
  std::string_view GetView() { return ViewFrom(0); }

  // Byte position of the first `part` at or after byte `start`; NOT_FOUND when there is none, or no byte `start`.
  Int Find(std::string_view part, Int start);
  Int FindLast(std::string_view part);

  // Puts `text`, which must not be a part of this, in the place of `count` bytes; what stands beyond the end is not
  // counted. Error: out of memory; the text is then as before.
  Result<void> Replace(Int position, Int count, std::string_view text);
  Result<void> Erase(Int position, Int count) { return Replace(position, count, {}); }

 private:
  void MoveGap(Int position);
  Result<void> WidenGap(Int count);

  char* _memory = nullptr;
  Int _capacity = 0;
  Int _gap = 0;     // bytes before the gap
  Int _gapEnd = 0;  // the rest of the text is from here to the end of the memory
  Int _work = 0;
};

}  // namespace ostra
