#include "ostra/shadercompiler/contraction.h"

#include <algorithm>
#include <iterator>

#include "ostra/shadercompiler/spirv_words.h"

namespace ostra::shadercompiler {

namespace {

using namespace spirv;

// Operations that may be contracted; all have their result as the second word after the opcode.
constexpr UInt32 kArithmetic[] = {kOpFNegate,
                                  kOpFAdd,
                                  kOpFSub,
                                  kOpFMul,
                                  kOpFDiv,
                                  kOpFRem,
                                  kOpFMod,
                                  kOpVectorTimesScalar,
                                  kOpMatrixTimesScalar,
                                  kOpVectorTimesMatrix,
                                  kOpMatrixTimesVector,
                                  kOpMatrixTimesMatrix,
                                  kOpOuterProduct,
                                  kOpDot};

Bool IsArithmetic(UInt32 opcode) {
  return std::find(std::begin(kArithmetic), std::end(kArithmetic), opcode) != std::end(kArithmetic);
}

}  // namespace

void ForbidContraction(std::vector<UInt32>& words) {
  std::vector<UInt32> marked, arithmetic;
  std::size_t types = 0;
  const SpirvInstructions instructions{std::span(words)};
  if (!instructions.AreWhole()) return;
  for (const auto& instruction : instructions) {
    const UInt32 opcode = instruction.GetOpcode();
    // Types follow the decorations.
    if (types == 0 && opcode >= kOpTypeVoid && opcode <= kOpTypeForwardPointer) types = instruction.place;
    if (instruction.Is(kOpDecorate, 3) && instruction.words[2] == kDecorationNoContraction)
      marked.push_back(instruction.words[1]);
    if (instruction.words.size() > 2 && IsArithmetic(opcode)) arithmetic.push_back(instruction.words[2]);
  }
  if (types == 0) return;
  std::sort(marked.begin(), marked.end());
  std::vector<UInt32> decorations;
  for (const UInt32 id : arithmetic)
    if (!std::binary_search(marked.begin(), marked.end(), id))
      decorations.insert(decorations.end(), {MakeFirstWord(kOpDecorate, 3), id, kDecorationNoContraction});
  words.insert(words.begin() + static_cast<std::ptrdiff_t>(types), decorations.begin(), decorations.end());
}

}  // namespace ostra::shadercompiler
