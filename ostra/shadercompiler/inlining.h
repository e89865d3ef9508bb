// Which functions the optimiser may put into their callers.
#pragma once

#include <vector>

#include "ostra/core/types.h"

namespace ostra::shadercompiler {

// A program whose calls would all be replaced by the bodies of the functions could become thousands of times as long:
// the noises call each other in several layers, and generated programs call thousands of functions from one. When it
// would exceed kMaxInlinedWords, functions of more than kMaxCopiedWords words are marked to stay functions; when that
// is not enough, smaller ones, too. So the program never grows beyond kMaxInlinedWords and its own size. Words that are
// no SPIR-V stay as they are.
inline constexpr UInt64 kMaxInlinedWords = 50000;
inline constexpr UInt64 kMaxCopiedWords = 300;
void LimitInlining(std::vector<UInt32>& words);

}  // namespace ostra::shadercompiler
