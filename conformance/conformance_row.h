// What a part of the conformance suite has found out.
#pragma once

#include <string>
#include <vector>

#include "ostra/core/types.h"

namespace ostra::conformance {

struct ConformanceRow {
  std::string group;     // "arithmetic"
  std::string what;      // "x * y + z"
  std::string promised;  // "the same bits"
  std::string reached;   // in the words of the promise; what went wrong when there is nothing to be measured
  Bool isHeld = false;
};

inline constexpr const char* kSameBits = "the same bits";

}  // namespace ostra::conformance
