#include "ostra/shadercompiler/contraction.h"

#include <algorithm>

namespace ostra::shadercompiler {

namespace {

constexpr std::size_t kHeaderSize = 5;
constexpr UInt32 kOpDecorate = 71;
constexpr UInt32 kOpTypeVoid = 19;  // the first of the types, which follow the decorations
constexpr UInt32 kOpTypeLast = 39;  // OpTypeForwardPointer
constexpr UInt32 kNoContraction = 42;

// Operations that may be contracted; all have their result as the second word after the opcode.
constexpr UInt32 kArithmetic[] = {
    127,  // OpFNegate
    129,  // OpFAdd
    131,  // OpFSub
    133,  // OpFMul
    136,  // OpFDiv
    140,  // OpFRem
    141,  // OpFMod
    142,  // OpVectorTimesScalar
    143,  // OpMatrixTimesScalar
    144,  // OpVectorTimesMatrix
    145,  // OpMatrixTimesVector
    146,  // OpMatrixTimesMatrix
    147,  // OpOuterProduct
    148,  // OpDot
};

}  // namespace

void ForbidContraction(std::vector<UInt32>& words) {
  std::vector<UInt32> marked, arithmetic;
  std::size_t types = 0;
  for (std::size_t at = kHeaderSize; at < words.size();) {
    const UInt32 opcode = words[at] & 0xFFFFu;
    const std::size_t size = words[at] >> 16;
    if (size == 0 || at + size > words.size()) return;
    if (types == 0 && opcode >= kOpTypeVoid && opcode <= kOpTypeLast) types = at;
    if (opcode == kOpDecorate && size == 3 && words[at + 2] == kNoContraction) marked.push_back(words[at + 1]);
    if (size > 2 && std::find(std::begin(kArithmetic), std::end(kArithmetic), opcode) != std::end(kArithmetic))
      arithmetic.push_back(words[at + 2]);
    at += size;
  }
  if (types == 0) return;
  std::sort(marked.begin(), marked.end());
  std::vector<UInt32> decorations;
  for (const UInt32 id : arithmetic)
    if (!std::binary_search(marked.begin(), marked.end(), id))
      decorations.insert(decorations.end(), {3u << 16 | kOpDecorate, id, kNoContraction});
  words.insert(words.begin() + static_cast<std::ptrdiff_t>(types), decorations.begin(), decorations.end());
}

}  // namespace ostra::shadercompiler
