#include "ostra/shadercompiler/scalar_layout.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <span>

namespace ostra::shadercompiler {

namespace {

constexpr std::size_t kHeaderSize = 5;

enum Opcode : UInt32 {
  kOpTypeInt = 21,
  kOpTypeFloat = 22,
  kOpTypeVector = 23,
  kOpTypeMatrix = 24,
  kOpTypeArray = 28,
  kOpTypeRuntimeArray = 29,
  kOpTypeStruct = 30,
  kOpConstant = 43,
  kOpDecorate = 71,
  kOpMemberDecorate = 72,
};
enum Decoration : UInt32 { kBufferBlock = 3, kArrayStride = 6, kMatrixStride = 7, kOffset = 35 };

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
    for (std::size_t at = kHeaderSize; at < _words.size();) {
      const std::size_t size = _words[at] >> 16;
      if (size == 0 || at + size > _words.size()) return false;
      ReadInstruction(std::span<UInt32>(_words).subspan(at, size));
      at += size;
    }
    return true;
  }

  void PackBuffers() {
    for (const UInt32 block : _blocks) Pack(block);
  }

 private:
  void ReadInstruction(std::span<UInt32> words) {
    const UInt32 opcode = words[0] & 0xFFFFu;
    if (opcode >= kOpTypeInt && opcode <= kOpTypeStruct && words.size() > 1) _types[words[1]] = words;
    if (opcode == kOpConstant && words.size() == 4) _constants[words[2]] = words[3];
    if (opcode == kOpDecorate && words.size() == 3 && words[2] == kBufferBlock) _blocks.push_back(words[1]);
    if (opcode == kOpDecorate && words.size() == 4 && words[2] == kArrayStride) _arrayStrides[words[1]] = &words[3];
    if (opcode == kOpMemberDecorate && words.size() == 5 && (words[3] == kOffset || words[3] == kMatrixStride))
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
      if (const auto place = _members.find({id, i, kOffset}); place != _members.end()) *place->second = all.size;
      if (const auto place = _members.find({id, i, kMatrixStride}); place != _members.end())
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
