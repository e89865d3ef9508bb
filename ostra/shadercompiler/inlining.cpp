#include "ostra/shadercompiler/inlining.h"

#include <algorithm>
#include <cstddef>
#include <unordered_map>

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
  std::vector<UInt32> calls;
};

using Functions = std::unordered_map<UInt32, Function>;

Functions FindFunctions(const std::vector<UInt32>& words) {
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

std::vector<UInt32> FindEntryPoints(const std::vector<UInt32>& words) {
  std::vector<UInt32> ids;
  for (std::size_t at = kHeaderSize; at < words.size();) {
    const std::size_t size = words[at] >> 16;
    if (size == 0 || at + size > words.size()) break;
    if ((words[at] & 0xFFFFu) == kOpEntryPoint && size > 3) ids.push_back(words[at + 2]);
    at += size;
  }
  return ids;
}

// Shaders know no recursion, so this ends.
UInt64 GetInlinedSize(Functions& functions, UInt32 id) {
  constexpr UInt64 kFar = UInt64{1} << 40;  // beyond every limit, and far from overflow
  Function& function = functions[id];
  if (function.inlinedSize != 0) return function.inlinedSize;
  function.inlinedSize = std::max<UInt64>(function.size, 1);
  UInt64 size = function.inlinedSize;
  for (const UInt32 call : function.calls) {
    const UInt64 copied = GetInlinedSize(functions, call);
    if (!functions[call].isKept) size = std::min(size + copied, kFar);
  }
  return functions[id].inlinedSize = size;
}

// Of the whole program: its entry points and what stays a function. What is never called goes anyway.
UInt64 GetProgramSize(Functions& functions, const std::vector<UInt32>& entryPoints) {
  for (auto& [id, function] : functions) function.inlinedSize = 0;
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
