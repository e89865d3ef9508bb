// What somebody who wrote a wrong name may have meant.
#pragma once

#include <string_view>

namespace ostra::kernelfront {

// Keeps the one of the words it is shown that is nearest to `word`, if it takes fewer than `limit` letters to insert,
// remove or replace; upper and lower case are the same. Of equally near ones the first.
class NearestWord {
 public:
  NearestWord(std::string_view word, std::size_t limit) : _word(word), _best(limit) {}
  void Try(std::string_view candidate);
  // Empty when none is near.
  std::string_view Get() const { return _nearest; }

 private:
  std::string_view _word, _nearest;
  std::size_t _best;
};

}  // namespace ostra::kernelfront
