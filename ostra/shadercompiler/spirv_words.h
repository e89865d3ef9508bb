// The words of SPIR-V, instruction by instruction.
//
//   for (const auto& instruction : SpirvInstructions(std::span(words)))
//     if (instruction.Is(kOpDecorate, 4) && instruction.words[2] == kDecorationBinding) Use(instruction.words[3]);
//
// Numbers: SPIR-V 1.6 (The Khronos Group), sections 2.3 and 3.
#pragma once

#include <cstddef>
#include <iterator>
#include <span>

#include "ostra/core/types.h"

namespace ostra::spirv {

enum Opcode : UInt32 {
  kOpEntryPoint = 15,
  kOpExecutionMode = 16,
  kOpCapability = 17,
  kOpTypeVoid = 19,  // the first of the types
  kOpTypeBool = 20,
  kOpTypeInt = 21,
  kOpTypeFloat = 22,
  kOpTypeVector = 23,
  kOpTypeMatrix = 24,
  kOpTypeArray = 28,
  kOpTypeRuntimeArray = 29,
  kOpTypeStruct = 30,
  kOpTypePointer = 32,
  kOpTypeForwardPointer = 39,  // the last of the types
  kOpConstant = 43,
  kOpSpecConstant = 50,
  kOpFunction = 54,
  kOpFunctionEnd = 56,
  kOpFunctionCall = 57,
  kOpVariable = 59,
  kOpDecorate = 71,
  kOpMemberDecorate = 72,
  kOpFNegate = 127,
  kOpFAdd = 129,
  kOpFSub = 131,
  kOpFMul = 133,
  kOpFDiv = 136,
  kOpFRem = 140,
  kOpFMod = 141,
  kOpVectorTimesScalar = 142,
  kOpMatrixTimesScalar = 143,
  kOpVectorTimesMatrix = 144,
  kOpMatrixTimesVector = 145,
  kOpMatrixTimesMatrix = 146,
  kOpOuterProduct = 147,
  kOpDot = 148,
};

enum Decoration : UInt32 {
  kDecorationBufferBlock = 3,
  kDecorationArrayStride = 6,
  kDecorationMatrixStride = 7,
  kDecorationLocation = 30,
  kDecorationBinding = 33,
  kDecorationOffset = 35,
  kDecorationNoContraction = 42,
};

enum StorageClass : UInt32 { kStorageInput = 1, kStorageOutput = 3, kStorageWorkgroup = 4, kStorageBuffer = 12 };

inline constexpr UInt32 kModeDepthReplacing = 12;
inline constexpr UInt32 kModeIsolines = 25;
inline constexpr UInt32 kCapabilitySampleRateShading = 35;
inline constexpr UInt32 kFunctionDontInline = 2;

inline constexpr UInt32 kMagic = 0x07230203;
inline constexpr std::size_t kHeaderSize = 5;  // words in front of the first instruction

// The first word of an instruction of `size` words.
constexpr UInt32 MakeFirstWord(Opcode opcode, UInt32 size) { return size << 16 | opcode; }

// Word: UInt32, or const UInt32.
template <class Word>
struct Instruction {
  std::size_t place;      // of its first word
  std::span<Word> words;  // the first one too, so that they are counted as SPIR-V counts them

  UInt32 GetOpcode() const { return words[0] & 0xFFFFu; }
  // Whether it is this one, with so many words at least.
  Bool Is(Opcode opcode, std::size_t size) const { return GetOpcode() == opcode && words.size() >= size; }
};

// A range over the instructions. It ends at the first words that are none: at once for what is no SPIR-V.
template <class Word>
class SpirvInstructions {
 public:
  explicit SpirvInstructions(std::span<Word> words) : _words(words) {}

  class Iterator {
   public:
    Iterator(std::span<Word> words, std::size_t place) : _words(words), _place(place) { Measure(); }
    Instruction<Word> operator*() const { return {_place, _words.subspan(_place, _size)}; }
    Iterator& operator++() {
      _place += _size;
      Measure();
      return *this;
    }
    // At the end there are no words left, or none that are an instruction.
    friend Bool operator==(const Iterator& a, std::default_sentinel_t) { return a._size == 0; }
    std::size_t GetPlace() const { return _place; }

   private:
    void Measure() {
      _size = _place < _words.size() ? _words[_place] >> 16 : 0;
      if (_size > _words.size() - _place) _size = 0;
    }

    std::span<Word> _words;
    std::size_t _place, _size = 0;
  };

  Iterator begin() const {
    const Bool hasHeader = _words.size() >= kHeaderSize && _words[0] == kMagic;
    return Iterator(_words, hasHeader ? kHeaderSize : _words.size());
  }
  std::default_sentinel_t end() const { return {}; }

  // Whether all words are instructions.
  Bool AreWhole() const {
    if (_words.size() < kHeaderSize || _words[0] != kMagic) return false;
    Iterator at = begin();
    while (at != end()) ++at;
    return at.GetPlace() == _words.size();
  }

 private:
  const std::span<Word> _words;
};

}  // namespace ostra::spirv
