// How the wide form holds a value, and its C++.
#pragma once

#include <string>

#include "parallelprogram/kernellanguage/types.h"

namespace ostra::kernellanguage {

// One scalar for all lanes; the scalar of the first lane, from which it grows by a stride; lanes; lanes of a number
// that grows by 1 and is kept within bounds; lanes of vectors as they lie in memory.
enum class LaneForm { kShared, kLinear, kLanes, kClamped, kRows };

struct LaneValue {
  std::string text;
  LaneForm form = LaneForm::kShared;
  TypeIndex type = kUnknownType;
  Int32 stride = 0;
  Bool isDivisor = false;  // a constant to divide by
};

}  // namespace ostra::kernellanguage
