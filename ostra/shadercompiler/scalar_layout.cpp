#include "ostra/shadercompiler/scalar_layout.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <span>

#include "ostra/shadercompiler/spirv_words.h"

namespace ostra::shadercompiler {

namespace {

using namespace spirv;

struct Layout {
  UInt32 size = 0;
  UInt32 alignment = 1;
};

constexpr UInt32 AlignUp(UInt32 offset, UInt32 alignment) { return (offset + alignment - 1) / alignment * alignment; }

// The types of a module, and the places of the numbers that lay them out.
class Module {
 public:
  explicit Module(std::vector<UInt32>& words) : _words(words) {}

  // False when the words are no SPIR-V.
  Bool Read() {
    const SpirvInstructions instructions{std::span(_words)};
    if (!instructions.AreWhole()) return false;
    for (const auto& instruction : instructions) ReadInstruction(instruction);
    return true;
  }

  void PackBuffers() {
    for (const UInt32 block : _blocks) Pack(block);
  }

 private:
  void ReadInstruction(const Instruction<UInt32>& instruction) {
    const std::span<UInt32> words = instruction.words;
    const UInt32 opcode = instruction.GetOpcode();
    if (opcode >= kOpTypeInt && opcode <= kOpTypeStruct && words.size() > 1) _types[words[1]] = words;
    if (instruction.Is(kOpConstant, 4)) _constants[words[2]] = words[3];
    if (instruction.Is(kOpDecorate, 3) && words[2] == kDecorationBufferBlock) _blocks.push_back(words[1]);
    if (instruction.Is(kOpDecorate, 4) && words[2] == kDecorationArrayStride) _arrayStrides[words[1]] = &words[3];
    if (instruction.Is(kOpMemberDecorate, 5) && (words[3] == kDecorationOffset || words[3] == kDecorationMatrixStride))
      _members[{words[1], words[2], words[3]}] = &words[4];
  }

  // Lays out a type and what it is made of.
  Layout Pack(UInt32 id) {
    const auto found = _types.find(id);
    if (found == _types.end()) return {};
    const std::span<UInt32> type = found->second;
    switch (type[0] & 0xFFFFu) {
      case kOpTypeInt:
      case kOpTypeFloat:
        return {type[2] / 8, type[2] / 8};
      case kOpTypeVector:
      case kOpTypeMatrix: {
        const Layout part = Pack(type[2]);
        return {part.size * type[3], part.alignment};
      }
      case kOpTypeArray:
      case kOpTypeRuntimeArray: {
        const Layout element = Pack(type[2]);
        const UInt32 stride = AlignUp(element.size, element.alignment);
        if (const auto place = _arrayStrides.find(id); place != _arrayStrides.end()) *place->second = stride;
        const UInt32 count = type.size() > 3 ? _constants[type[3]] : 1;
        return {stride * count, element.alignment};
      }
      case kOpTypeStruct:
        return PackStruct(id, type.subspan(2));
      default:
        return {};
    }
  }

  Layout PackStruct(UInt32 id, std::span<const UInt32> members) {
    Layout all;
    for (UInt32 i = 0; i < members.size(); ++i) {
      const Layout member = Pack(members[i]);
      all.size = AlignUp(all.size, member.alignment);
      if (const auto place = _members.find({id, i, kDecorationOffset}); place != _members.end())
        *place->second = all.size;
      if (const auto place = _members.find({id, i, kDecorationMatrixStride}); place != _members.end())
        *place->second = GetColumnSize(members[i]);
      all.size += member.size;
      all.alignment = std::max(all.alignment, member.alignment);
    }
    all.size = AlignUp(all.size, all.alignment);
    return all;
  }

  // Of a matrix, or of the matrices of an array.
  UInt32 GetColumnSize(UInt32 id) {
    std::span<UInt32> type = _types[id];
    while ((type[0] & 0xFFFFu) == kOpTypeArray || (type[0] & 0xFFFFu) == kOpTypeRuntimeArray) type = _types[type[2]];
    return Pack(type[2]).size;
  }

  struct Member {
    UInt32 type, index, decoration;
    friend auto operator<=>(const Member&, const Member&) = default;
  };

  std::vector<UInt32>& _words;
  std::map<UInt32, std::span<UInt32>> _types;
  std::map<UInt32, UInt32> _constants;
  std::map<UInt32, UInt32*> _arrayStrides;
  std::map<Member, UInt32*> _members;
  std::vector<UInt32> _blocks;
};

}  // namespace

void PackStructuredBuffers(std::vector<UInt32>& words) {
  Module module(words);
  if (module.Read()) module.PackBuffers();
}

}  // namespace ostra::shadercompiler
