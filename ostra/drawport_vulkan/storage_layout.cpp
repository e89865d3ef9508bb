#include "ostra/drawport_vulkan/storage_layout.h"

#include <algorithm>

#include "ostra/core/format.h"
#include "ostra/shadercompiler/spirv_words.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

using namespace spirv;
using Words = std::span<const UInt32>;

struct Layout {
  UInt32 size = 0;
  UInt32 alignment = 1;
};

constexpr UInt32 AlignUp(UInt32 offset, UInt32 alignment) { return (offset + alignment - 1) / alignment * alignment; }

// Vectors may lie at every multiple of a component, as long as they do not cross such a boundary.
constexpr UInt32 kVectorBoundary = 16;

Bool IsAcross(UInt32 offset, UInt32 size) {
  if (size > kVectorBoundary) return offset % kVectorBoundary != 0;
  return offset / kVectorBoundary != (offset + size - 1) / kVectorBoundary;
}

UInt32 GetOpcode(Words type) { return type.empty() ? 0 : type[0] & 0xFFFFu; }
Bool IsArray(Words type) { return GetOpcode(type) == kOpTypeArray || GetOpcode(type) == kOpTypeRuntimeArray; }
Bool IsComposite(Words type) {
  return IsArray(type) || GetOpcode(type) == kOpTypeMatrix || GetOpcode(type) == kOpTypeStruct;
}

// The types of a program. Few lie in buffers, so that each is looked for in the words.
class Types {
 public:
  explicit Types(Block<const UInt32> words)
      : _instructions(Words(words.GetFirst(), static_cast<std::size_t>(words.GetCount()))) {}

  // The innermost type of a storage buffer that GLSL's rules would lay out in another way; empty for none.
  Words FindPacked() const {
    for (const auto& instruction : _instructions) {
      if (!instruction.Is(kOpVariable, 4) || instruction.words[3] != kStorageBuffer) continue;
      const Words pointer = Find(instruction.words[1]);
      if (pointer.size() < 4) continue;
      if (const Words packed = FindPacked(Find(pointer[3])); !packed.empty()) return packed;
    }
    return {};
  }

  // "vec3", "mat3", "struct".
  Result<String> Describe(Words type) const {
    const UInt32 opcode = GetOpcode(type);
    const Words part = opcode == kOpTypeVector || opcode == kOpTypeMatrix ? Find(type[2], type) : Words();
    if (part.empty() || (opcode == kOpTypeMatrix && GetOpcode(part) != kOpTypeVector)) return "struct"_s;
    return opcode == kOpTypeVector ? Format("@vec@", GetPrefix(part), type[3]) : Format("mat@x@", type[3], part[3]);
  }

 private:
  // How many words the types below read; 0 for other types.
  static std::size_t GetLeastSize(UInt32 opcode) {
    switch (opcode) {
      case kOpTypeInt:
      case kOpTypeVector:
      case kOpTypeMatrix:
      case kOpTypeArray:
      case kOpTypePointer:
        return 4;
      case kOpTypeFloat:
      case kOpTypeRuntimeArray:
        return 3;
      case kOpTypeStruct:
        return 2;
      default:
        return 0;
    }
  }

  // A type with all words that it must have; with `before`, one that stands in front of that instruction, as parts of
  // a type do. Empty for others.
  Words Find(UInt32 id, Words before = {}) const {
    for (const auto& instruction : _instructions) {
      if (!before.empty() && instruction.words.data() == before.data()) return {};
      const std::size_t size = GetLeastSize(instruction.GetOpcode());
      if (size > 0 && instruction.words.size() >= size && instruction.words[1] == id) return instruction.words;
    }
    return {};
  }
  UInt32 FindConstant(UInt32 id) const {
    for (const auto& instruction : _instructions)
      if (instruction.Is(kOpConstant, 4) && instruction.words[2] == id) return instruction.words[3];
    return 0;
  }
  UInt32 FindStride(Words array) const {
    for (const auto& instruction : _instructions)
      if (instruction.Is(kOpDecorate, 4) && instruction.words[1] == array[1] &&
          instruction.words[2] == kDecorationArrayStride)
        return instruction.words[3];
    return 0;
  }
  UInt32 FindOfMember(Words structure, UInt32 index, Decoration decoration) const {
    for (const auto& instruction : _instructions)
      if (instruction.Is(kOpMemberDecorate, 5) && instruction.words[1] == structure[1] &&
          instruction.words[2] == index && instruction.words[3] == decoration)
        return instruction.words[4];
    return 0;
  }

  static std::string_view GetPrefix(Words component) {
    if (GetOpcode(component) == kOpTypeFloat) return component[2] == 16 ? "f16" : component[2] == 64 ? "d" : "";
    if (component[2] != 32) return component[2] == 8 ? "i8" : component[2] == 16 ? "i16" : "i64";
    return component.size() > 3 && component[3] != 0 ? "i" : "u";
  }

  // Size and alignment by GLSL's rules, where the offsets are those of the program.
  Layout Measure(Words type) const {
    switch (GetOpcode(type)) {
      case kOpTypeInt:
      case kOpTypeFloat:
        return {type[2] / 8, std::max(1u, type[2] / 8)};
      case kOpTypeVector: {
        const UInt32 component = Measure(Find(type[2], type)).size;
        return {component * type[3], std::max(1u, component * (type[3] == 2 ? 2 : 4))};
      }
      case kOpTypeMatrix:
        return {Measure(Find(type[2], type)).size * type[3], Measure(Find(type[2], type)).alignment};
      case kOpTypeArray:
        return {FindStride(type) * FindConstant(type[3]), Measure(Find(type[2], type)).alignment};
      case kOpTypeRuntimeArray:
        return {0, Measure(Find(type[2], type)).alignment};
      case kOpTypeStruct:
        return MeasureStruct(type);
      default:
        return {};
    }
  }
  Layout MeasureStruct(Words type) const {
    Layout all;
    for (UInt32 i = 0; i + 2 < type.size(); ++i) {
      const Layout member = Measure(Find(type[i + 2], type));
      all.size = std::max(all.size, FindOfMember(type, i, kDecorationOffset) + member.size);
      all.alignment = std::max(all.alignment, member.alignment);
    }
    return all;
  }

  // What of `type` is packed; empty for nothing.
  Words FindPacked(Words type) const {
    if (IsArray(type)) {
      const Words element = Find(type[2], type);
      if (const Words packed = FindPacked(element); !packed.empty()) return packed;
      return FindStride(type) % Measure(element).alignment == 0 ? Words() : element;
    }
    return GetOpcode(type) == kOpTypeStruct ? FindPackedMember(type) : Words();
  }

  Words FindPackedMember(Words type) const {
    UInt32 begin = 0;  // where the next member may lie
    for (UInt32 i = 0; i + 2 < type.size(); ++i) {
      const Words member = Find(type[i + 2], type);
      const Layout layout = Measure(member);
      const UInt32 offset = FindOfMember(type, i, kDecorationOffset);
      if (const Words packed = FindPacked(member); !packed.empty()) return packed;
      if (const Words matrix = FindMatrix(member); !matrix.empty())
        if (FindOfMember(type, i, kDecorationMatrixStride) % Measure(matrix).alignment != 0) return matrix;
      const Bool isPacked =
          GetOpcode(member) == kOpTypeVector ? IsAcross(offset, layout.size) : offset % layout.alignment != 0;
      if (isPacked || offset < begin) return type;
      begin = offset + layout.size;
      if (IsComposite(member)) begin = AlignUp(begin, layout.alignment);
    }
    return {};
  }

  // The matrix that a member is, or has an array of.
  Words FindMatrix(Words type) const {
    while (IsArray(type)) type = Find(type[2], type);
    return GetOpcode(type) == kOpTypeMatrix ? type : Words();
  }

  SpirvInstructions<const UInt32> _instructions;
};

}  // namespace

Result<String> FindPackedElement(Block<const UInt32> spirv) {
  const Types types(spirv);
  const Words packed = types.FindPacked();
  if (packed.empty()) return String();
  return types.Describe(packed);
}

}  // namespace ostra::vulkan
