#include "ostra/drawport_vulkan/spirv.h"

#include <algorithm>

#include "ostra/core/hash_map.h"
#include "ostra/shadercompiler/spirv_words.h"

namespace ostra::vulkan {
namespace {

using namespace spirv;
using Instruction = spirv::Instruction<const UInt32>;

SpirvInstructions<const UInt32> GetInstructions(Block<const UInt32> words) {
  return SpirvInstructions(std::span<const UInt32>(words.GetFirst(), static_cast<std::size_t>(words.GetCount())));
}

// Whether `matches` holds for some instruction.
template <class Matches>
Bool HasInstruction(Block<const UInt32> words, Matches&& matches) {
  for (const Instruction& instruction : GetInstructions(words))
    if (matches(instruction)) return true;
  return false;
}

Bool HasMode(Block<const UInt32> words, UInt32 mode) {
  return HasInstruction(words, [&](const Instruction& instruction) {
    return instruction.Is(kOpExecutionMode, 3) && instruction.words[2] == mode;
  });
}

// Sizes of types and numbers of constants, by their ids. Everything is declared before it is named.
class Sizes {
 public:
  Result<void> Add(const Instruction& instruction) {
    const auto& words = instruction.words;
    switch (instruction.GetOpcode()) {
      case kOpTypeBool:
        return words.size() > 1 ? Set(words[1], sizeof(UInt32)) : Result<void>(OK);
      case kOpTypeInt:
      case kOpTypeFloat:
        return words.size() > 2 ? Set(words[1], words[2] / 8) : Result<void>(OK);
      case kOpTypeVector:
      case kOpTypeMatrix:
        return words.size() > 3 ? Set(words[1], Multiply(Get(words[2]), words[3])) : Result<void>(OK);
      case kOpTypeArray:
        return words.size() > 3 ? Set(words[1], Multiply(Get(words[2]), Get(words[3]))) : Result<void>(OK);
      case kOpTypeStruct:
        return words.size() > 1 ? Set(words[1], AddUp(words.subspan(2))) : Result<void>(OK);
      case kOpTypePointer:
        return words.size() > 3 ? Set(words[1], Get(words[3])) : Result<void>(OK);
      case kOpConstant:
      case kOpSpecConstant:
        return words.size() > 3 ? Set(words[2], words[3]) : Result<void>(OK);
      default:
        return OK;
    }
  }
  // 0 for what has no size.
  UInt64 Get(UInt32 id) const {
    const UInt64* size = _sizes.Find(id);
    return size ? *size : 0;
  }

 private:
  static constexpr UInt64 kFar = UInt64(1) << 40;  // beyond every device, and far from overflow

  static UInt64 Multiply(UInt64 a, UInt64 b) { return b != 0 && a > kFar / b ? kFar : a * b; }
  UInt64 AddUp(std::span<const UInt32> members) const {
    UInt64 sum = 0;
    for (const UInt32 member : members) sum = std::min(sum + Get(member), kFar);
    return sum;
  }
  Result<void> Set(UInt32 id, UInt64 size) {
    OSTRA_ASSIGN_OR_RETURN(const auto entry, _sizes.Insert(id, size));
    *entry.value = size;
    return OK;
  }

  HashMap<UInt32, UInt64> _sizes;
};

}  // namespace

Result<BaseArray<UInt32>> FindBindings(Block<const UInt32> spirv) {
  BaseArray<UInt32> numbers;
  for (const Instruction& instruction : GetInstructions(spirv))
    if (instruction.Is(kOpDecorate, 4) && instruction.words[2] == kDecorationBinding)
      OSTRA_RETURN_IF_ERROR(numbers.Append(instruction.words[3]));
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

Result<BaseArray<UInt32>> FindLocations(Block<const UInt32> spirv, Bool ofInputs) {
  struct Location {
    UInt32 variable;
    UInt32 number;
  };
  BaseArray<Location> decorations;
  BaseArray<UInt32> locations;
  // Decorations stand in front of the variables.
  for (const Instruction& instruction : GetInstructions(spirv)) {
    const auto& words = instruction.words;
    if (instruction.Is(kOpDecorate, 4) && words[2] == kDecorationLocation)
      OSTRA_RETURN_IF_ERROR(decorations.Append(Location{words[1], words[3]}));
    if (!instruction.Is(kOpVariable, 4) || words[3] != (ofInputs ? kStorageInput : kStorageOutput)) continue;
    for (const Location& decoration : decorations)
      if (decoration.variable == words[2]) OSTRA_RETURN_IF_ERROR(locations.Append(decoration.number));
  }
  std::sort(locations.begin(), locations.end());
  return locations;
}

Result<BaseArray<UInt32>> FindCapabilities(Block<const UInt32> spirv) {
  BaseArray<UInt32> capabilities;
  for (const Instruction& instruction : GetInstructions(spirv))
    if (instruction.Is(kOpCapability, 2)) OSTRA_RETURN_IF_ERROR(capabilities.Append(instruction.words[1]));
  return capabilities;
}

Result<UInt64> CountSharedBytes(Block<const UInt32> spirv) {
  const auto isShared = [](const Instruction& instruction) {
    return instruction.Is(kOpVariable, 4) && instruction.words[3] == kStorageWorkgroup;
  };
  if (!HasInstruction(spirv, isShared)) return UInt64(0);
  Sizes sizes;
  UInt64 shared = 0;
  for (const Instruction& instruction : GetInstructions(spirv)) {
    if (isShared(instruction)) shared += sizes.Get(instruction.words[1]);
    OSTRA_RETURN_IF_ERROR(sizes.Add(instruction));
  }
  return shared;
}

Bool WritesDepth(Block<const UInt32> spirv) { return HasMode(spirv, kModeDepthReplacing); }
Bool MakesIsolines(Block<const UInt32> spirv) { return HasMode(spirv, kModeIsolines); }

Bool RunsForSamples(Block<const UInt32> spirv) {
  return HasInstruction(spirv, [](const Instruction& instruction) {
    return instruction.Is(kOpCapability, 2) && instruction.words[1] == kCapabilitySampleRateShading;
  });
}

}  // namespace ostra::vulkan
