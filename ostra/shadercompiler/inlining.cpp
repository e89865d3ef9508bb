#include "ostra/shadercompiler/inlining.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <span>
#include <unordered_map>
#include <vector>

#include "ostra/shadercompiler/shader_size.h"

OSTRA_UNIT("shader_compiler");

namespace ostra::shadercompiler {

namespace {

constexpr std::size_t kHeaderSize = 5;
constexpr UInt32 kOpEntryPoint = 15;
constexpr UInt32 kOpFunction = 54;
constexpr UInt32 kOpFunctionEnd = 56;
constexpr UInt32 kOpFunctionCall = 57;
constexpr UInt32 kDontInline = 2;

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
  Functions functions;
  Function* current = nullptr;
  for (std::size_t at = kHeaderSize; at < words.size();) {
    const UInt32 opcode = words[at] & 0xFFFFu;
    const std::size_t size = words[at] >> 16;
    if (size == 0 || at + size > words.size()) return {};
    if (opcode == kOpFunction && size == 5) {
      current = &functions[words[at + 2]];
      current->controlWord = at + 3;
    } else if (opcode == kOpFunctionEnd) {
      current = nullptr;
    }
    if (current) current->size += size;
    if (current && opcode == kOpFunctionCall && size > 3) current->calls.push_back(words[at + 3]);
    at += size;
  }
  return functions;
}

std::vector<UInt32> FindEntryPoints(std::span<const UInt32> words) {
  std::vector<UInt32> ids;
  for (std::size_t at = kHeaderSize; at < words.size();) {
    const std::size_t size = words[at] >> 16;
    if (size == 0 || at + size > words.size()) break;
    if ((words[at] & 0xFFFFu) == kOpEntryPoint && size > 3) ids.push_back(words[at + 2]);
    at += size;
  }
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
    if (function.isKept) words[function.controlWord] |= kDontInline;
}

}  // namespace ostra::shadercompiler

namespace ostra {

Result<ShaderSize> CountShaderWords(Block<const UInt32> words) {
  const std::span<const UInt32> all(words.GetFirst(), static_cast<std::size_t>(words.GetCount()));
  try {
    auto functions = shadercompiler::FindFunctions(all);
    const std::vector<UInt32> entryPoints = shadercompiler::FindEntryPoints(all);
    return ShaderSize{all.size(), shadercompiler::GetProgramSize(functions, entryPoints)};
  } catch (const std::bad_alloc&) {
    return OSTRA_OUT_OF_MEMORY();
  }
}

}  // namespace ostra
