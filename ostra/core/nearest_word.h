// The word that a misspelt name is most like.
//
//   NearestWord nearest("reslut", 3);
//   for (std::string_view name : names) nearest.Try(name);
//   if (!nearest.Get().empty()) ... "did you mean \"result\"?"
//
// Allocates nothing. Upper and lower case count as the same letter.
#pragma once

#include <string_view>

#include "ostra/core/export.h"
#include "ostra/core/types.h"

namespace ostra {

// How many letters have to be inserted, removed, replaced or exchanged with their neighbour to get from `a` to `b`.
// Only the first 128 letters of a word are looked at.
OSTRA_API Int GetEditDistance(std::string_view a, std::string_view b);

// Keeps the one of the words it is shown that is nearest to `word`, if their distance is below `limit`. Of equally near
// ones the first. Holds views of what it is given.
class NearestWord {
 public:
  NearestWord(std::string_view word, Int limit) : _word(word), _best(limit) {}

  void Try(std::string_view candidate) {
    const Int distance = GetEditDistance(_word, candidate);
    if (distance >= _best) return;
    _best = distance;
    _nearest = candidate;
  }
  // Empty when none is near.
  std::string_view Get() const { return _nearest; }

 private:
  std::string_view _word, _nearest;
  Int _best;
};

}  // namespace ostra
