#include "ostra/drawport_vulkan/spirv.h"

#include <algorithm>

#include "ostra/core/hash_map.h"

namespace ostra::vulkan {
namespace {

constexpr UInt32 kMagic = 0x07230203;
constexpr Int kHeaderWords = 5;

enum Opcode : UInt32 {
  kOpExecutionMode = 16,
  kOpCapability = 17,
  kOpTypeBool = 20,
  kOpTypeInt = 21,
  kOpTypeFloat = 22,
  kOpTypeVector = 23,
  kOpTypeMatrix = 24,
  kOpTypeArray = 28,
  kOpTypeStruct = 30,
  kOpTypePointer = 32,
  kOpConstant = 43,
  kOpSpecConstant = 50,
  kOpVariable = 59,
  kOpDecorate = 71,
};
constexpr UInt32 kDecorationLocation = 30;
constexpr UInt32 kDecorationBinding = 33;
constexpr UInt32 kModeDepthReplacing = 12;
constexpr UInt32 kCapabilitySampleRateShading = 35;
constexpr UInt32 kStorageInput = 1;
constexpr UInt32 kStorageOutput = 3;
constexpr UInt32 kStorageWorkgroup = 4;

// Calls `use` (→ Result<void>) with the number of each instruction, its operands and their count.
template <class Use>
Result<void> ForEachInstruction(Block<const UInt32> spirv, Use&& use) {
  const UInt32* words = spirv.GetFirst();
  const Int count = spirv.GetCount();
  if (count < kHeaderWords || words[0] != kMagic) return OK;
  for (Int i = kHeaderWords; i < count;) {
    const Int length = words[i] >> 16;
    if (length == 0 || i + length > count) break;
    OSTRA_RETURN_IF_ERROR(use(words[i] & 0xFFFF, words + i + 1, length - 1));
    i += length;
  }
  return OK;
}

// Whether `matches` holds for some instruction.
template <class Matches>
Bool HasInstruction(Block<const UInt32> spirv, Matches&& matches) {
  Bool found = false;
  static_cast<void>(ForEachInstruction(spirv, [&](UInt32 instruction, const UInt32* operands, Int count) {
    found = found || matches(instruction, operands, count);
    return Result<void>(OK);
  }));
  return found;
}

// Sizes of types and numbers of constants, by their ids. Everything is declared before it is named.
class Sizes {
 public:
  Result<void> Add(UInt32 instruction, const UInt32* operands, Int count) {
    switch (instruction) {
      case kOpTypeBool:
        return count >= 1 ? Set(operands[0], sizeof(UInt32)) : Result<void>(OK);
      case kOpTypeInt:
      case kOpTypeFloat:
        return count >= 2 ? Set(operands[0], operands[1] / 8) : Result<void>(OK);
      case kOpTypeVector:
      case kOpTypeMatrix:
        return count >= 3 ? Set(operands[0], Multiply(Get(operands[1]), operands[2])) : Result<void>(OK);
      case kOpTypeArray:
        return count >= 3 ? Set(operands[0], Multiply(Get(operands[1]), Get(operands[2]))) : Result<void>(OK);
      case kOpTypeStruct:
        return count >= 1 ? Set(operands[0], AddUp(operands + 1, count - 1)) : Result<void>(OK);
      case kOpTypePointer:
        return count >= 3 ? Set(operands[0], Get(operands[2])) : Result<void>(OK);
      case kOpConstant:
      case kOpSpecConstant:
        return count >= 3 ? Set(operands[1], operands[2]) : Result<void>(OK);
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
  UInt64 AddUp(const UInt32* members, Int count) const {
    UInt64 sum = 0;
    for (Int i = 0; i < count; ++i) sum = std::min(sum + Get(members[i]), kFar);
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
  const auto add = [&numbers](UInt32 instruction, const UInt32* operands, Int count) -> Result<void> {
    if (instruction == kOpDecorate && count == 3 && operands[1] == kDecorationBinding)
      OSTRA_RETURN_IF_ERROR(numbers.Append(operands[2]));
    return OK;
  };
  OSTRA_RETURN_IF_ERROR(ForEachInstruction(spirv, add));
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

Result<BaseArray<UInt32>> FindLocations(Block<const UInt32> spirv, Bool ofInputs) {
  struct Decoration {
    UInt32 variable;
    UInt32 location;
  };
  BaseArray<Decoration> decorations;
  BaseArray<UInt32> locations;
  // Decorations stand in front of the variables.
  const auto add = [&](UInt32 instruction, const UInt32* operands, Int count) -> Result<void> {
    if (instruction == kOpDecorate && count == 3 && operands[1] == kDecorationLocation)
      OSTRA_RETURN_IF_ERROR(decorations.Append(Decoration{operands[0], operands[2]}));
    if (instruction != kOpVariable || count < 3 || operands[2] != (ofInputs ? kStorageInput : kStorageOutput))
      return OK;
    for (const Decoration& decoration : decorations)
      if (decoration.variable == operands[1]) OSTRA_RETURN_IF_ERROR(locations.Append(decoration.location));
    return OK;
  };
  OSTRA_RETURN_IF_ERROR(ForEachInstruction(spirv, add));
  std::sort(locations.begin(), locations.end());
  return locations;
}

Result<BaseArray<UInt32>> FindCapabilities(Block<const UInt32> spirv) {
  BaseArray<UInt32> capabilities;
  const auto add = [&](UInt32 instruction, const UInt32* operands, Int count) -> Result<void> {
    if (instruction == kOpCapability && count >= 1) OSTRA_RETURN_IF_ERROR(capabilities.Append(operands[0]));
    return OK;
  };
  OSTRA_RETURN_IF_ERROR(ForEachInstruction(spirv, add));
  return capabilities;
}

Result<UInt64> CountSharedBytes(Block<const UInt32> spirv) {
  const auto isShared = [](UInt32 instruction, const UInt32* operands, Int count) {
    return instruction == kOpVariable && count >= 3 && operands[2] == kStorageWorkgroup;
  };
  if (!HasInstruction(spirv, isShared)) return UInt64(0);
  Sizes sizes;
  UInt64 shared = 0;
  const auto add = [&](UInt32 instruction, const UInt32* operands, Int count) {
    if (isShared(instruction, operands, count)) shared += sizes.Get(operands[0]);
    return sizes.Add(instruction, operands, count);
  };
  OSTRA_RETURN_IF_ERROR(ForEachInstruction(spirv, add));
  return shared;
}

Bool WritesDepth(Block<const UInt32> spirv) {
  return HasInstruction(spirv, [](UInt32 instruction, const UInt32* operands, Int count) {
    return instruction == kOpExecutionMode && count >= 2 && operands[1] == kModeDepthReplacing;
  });
}

Bool RunsForSamples(Block<const UInt32> spirv) {
  return HasInstruction(spirv, [](UInt32 instruction, const UInt32* operands, Int count) {
    return instruction == kOpCapability && count >= 1 && operands[0] == kCapabilitySampleRateShading;
  });
}

}  // namespace ostra::vulkan
