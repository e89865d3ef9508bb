#include "ostra/shadercompiler/inlining.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <unordered_map>
#include <vector>

#include "ostra/core/catch_out_of_memory.h"
#include "ostra/shadercompiler/shader_size.h"
#include "ostra/shadercompiler/spirv_words.h"

OSTRA_UNIT("shader_compiler");

namespace ostra::shadercompiler {

namespace {

using namespace spirv;

struct Function {
  std::size_t controlWord = 0;  // where the flags are
  UInt64 size = 0;              // words of its own
  UInt64 inlinedSize = 0;       // with the bodies of all functions that are copied into it; 0 before it is known
  Bool isKept = false;          // stays a function
  Bool isVisited = false;       // by the walk that computes inlinedSize
  std::vector<UInt32> calls;
};

using Functions = std::unordered_map<UInt32, Function>;

Functions FindFunctions(std::span<const UInt32> words) {
  const SpirvInstructions instructions(words);
  if (!instructions.AreWhole()) return {};
  Functions functions;
  Function* current = nullptr;
  for (const auto& instruction : instructions) {
    if (instruction.Is(kOpFunction, 5)) {
      current = &functions[instruction.words[2]];
      current->controlWord = instruction.place + 3;
    } else if (instruction.Is(kOpFunctionEnd, 1)) {
      current = nullptr;
    }
    if (current) current->size += instruction.words.size();
    if (current && instruction.Is(kOpFunctionCall, 4)) current->calls.push_back(instruction.words[3]);
  }
  return functions;
}

std::vector<UInt32> FindEntryPoints(std::span<const UInt32> words) {
  std::vector<UInt32> ids;
  for (const auto& instruction : SpirvInstructions(words))
    if (instruction.Is(kOpEntryPoint, 4)) ids.push_back(instruction.words[2]);
  return ids;
}

// Chains of calls may be long: no recursion. Words in which functions call themselves are not valid; the walk ends.
UInt64 GetInlinedSize(Functions& functions, UInt32 first) {
  constexpr UInt64 kFar = UInt64{1} << 40;  // beyond every limit, and far from overflow
  std::vector<UInt32> open = {first};
  while (!open.empty()) {
    Function& function = functions[open.back()];
    if (!function.isVisited) {
      function.isVisited = true;
      for (const UInt32 call : function.calls)
        if (!functions[call].isVisited) open.push_back(call);
      continue;
    }
    open.pop_back();
    if (function.inlinedSize != 0) continue;
    function.inlinedSize = std::max<UInt64>(function.size, 1);
    for (const UInt32 call : function.calls) {
      const Function& called = functions[call];
      if (!called.isKept) function.inlinedSize = std::min(function.inlinedSize + called.inlinedSize, kFar);
    }
  }
  return functions[first].inlinedSize;
}

// Of the whole program: its entry points and what stays a function. What is never called goes anyway.
UInt64 GetProgramSize(Functions& functions, const std::vector<UInt32>& entryPoints) {
  for (auto& [id, function] : functions) {
    function.inlinedSize = 0;
    function.isVisited = false;
  }
  UInt64 size = 0;
  for (const UInt32 id : entryPoints) size += GetInlinedSize(functions, id);
  for (const auto& [id, function] : functions)
    if (function.isKept) size += function.inlinedSize;
  return size;
}

}  // namespace

void LimitInlining(std::vector<UInt32>& words) {
  Functions functions = FindFunctions(words);
  const std::vector<UInt32> entryPoints = FindEntryPoints(words);
  for (UInt64 limit = kMaxCopiedWords; GetProgramSize(functions, entryPoints) > kMaxInlinedWords; limit /= 2) {
    for (auto& [id, function] : functions)
      function.isKept = function.isKept || (function.controlWord != 0 && function.inlinedSize > limit);
    if (limit == 0) break;
  }
  for (const auto& [id, function] : functions)
    if (function.isKept) words[function.controlWord] |= kFunctionDontInline;
}

}  // namespace ostra::shadercompiler

namespace ostra {

Result<ShaderSize> CountShaderWords(Block<const UInt32> words) {
  const std::span<const UInt32> all(words.GetFirst(), static_cast<std::size_t>(words.GetCount()));
  return CatchOutOfMemory(kOstraUnit, __LINE__, [&]() -> Result<ShaderSize> {
    auto functions = shadercompiler::FindFunctions(all);
    const std::vector<UInt32> entryPoints = shadercompiler::FindEntryPoints(all);
    return ShaderSize{all.size(), shadercompiler::GetProgramSize(functions, entryPoints)};
  });
}

}  // namespace ostra
