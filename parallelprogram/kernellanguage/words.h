// The words of the kernel language: one table of all of them, with the overloads of the functions and what they mean.
// Parser, resolver, documentation and editors read it; a new word is a row of it.
#pragma once

#include <span>
#include <string_view>

#include "parallelprogram/kernellanguage/types.h"

namespace ostra::kernellanguage {

enum class WordKind : UInt8 {
  kType,       // names a type
  kFunction,   // has overloads
  kValue,      // InGlobalInvocationID and its relatives: uint3
  kParameter,  // UNIFORM, UNIFORM_BUFFER, ...: its argument is the name of a parameter
  kTexture,    // its first argument is the name of a texture parameter
  kAtomic,     // AtomicAdd(place, value, old) and its relatives
  kCall,       // another word with arguments
  kStatement,  // a statement or directive
  kQualifier,  // stands before types
  kStage,      // graphics stages only
  kKeyword,    // of C++, as the language has it
  kReserved,   // of C++, which the language does not have
};

// Of words that a pass treats in a way of their own, and of all functions.
enum class WordId : UInt16 {
  kNone,
  kOther,
  // the parts of a kernel file
  kGroupSize,
  kGranularity,
  kSingleThreadedThreshold,
  kKernelInputs,
  kKernelStart,
  kKernelEnd,
  kKernelMethod,
  kCpuScopeStart,
  kCpuScopeEnd,
  kNoiseMark,
  kGradientData,
  // values
  kGlobalInvocation,
  kLocalInvocation,
  kWorkGroup,
  kWorkGroupSize,
  kLinearInvocation,
  // parameters
  kUniform,
  kUniformBuffer,
  kPassBuffer,
  kAtomicCounter,
  kLocalData,
  // reports
  kPrint,
  kAssert,
  // textures, noises, gradients
  kSampleTexture,
  kSampleTextureLayer,
  kFetchTexture,
  kFetchTextureLayer,
  kTextureSize,
  kStoreImage,
  kRenderNoise,
  kSampleGradient,
  // atomics
  kAtomicAdd,
  kAtomicSub,
  kAtomicMin,
  kAtomicMax,
  kAtomicAnd,
  kAtomicOr,
  kAtomicXor,
  kAtomicExchange,
  kAtomicCompareExchange,
  // functions
  kAbs,
  kSign,
  kFloor,
  kCeil,
  kTrunc,
  kFract,
  kMod,
  kMin,
  kMax,
  kClamp,
  kMix,
  kStep,
  kSmoothstep,
  kSqrt,
  kInverseSqrt,
  kPow,
  kExp,
  kExp2,
  kLog,
  kLog2,
  kSin,
  kCos,
  kTan,
  kAsin,
  kAcos,
  kAtan,
  kRadians,
  kDegrees,
  kIsNan,
  kIsInf,
  kFloatBitsToUint,
  kFloatBitsToInt,
  kUintBitsToFloat,
  kIntBitsToFloat,
  kDot,
  kCross,
  kLength,
  kDistance,
  kNormalize,
  kReflect,
  kMul,
  kTranspose,
  kMatrixOffset,
  kDeterminant,
  kInverse,
  // functions of vectors of bools
  kLessThan,
  kLessThanEqual,
  kGreaterThan,
  kGreaterThanEqual,
  kEqual,
  kNotEqual,
  kAny,
  kAll,
  kNot,
  // functions that are written in the language itself (library_words.h)
  kRound,
  kRoundEven,
  kSaturate,
  kLerp,
  kAtan2,
  kRcp,
  kRsqrt,
  kFmod,
  kLdexp,
  kCopysign,
  kIsFinite,
  kSelect,
  kRefract,
  kFaceforward,
  kOuterProduct,
  kMatrixCompMult,
  kBitCount,
  kFindMsb,
  kFindLsb,
  kClz,
  kCtz,
  kBitfieldExtract,
  kBitfieldInsert,
  kBitfieldReverse,
  kRotate,
  kPackHalf2x16,
  kUnpackHalf2x16,
  kPackUnorm4x8,
  kUnpackUnorm4x8,
  kPackSnorm4x8,
  kUnpackSnorm4x8,
  kPackUnorm2x16,
  kUnpackUnorm2x16,
  kPackSnorm2x16,
  kUnpackSnorm2x16,
  kExpm1,
  kExp10,
  kLog1p,
  kLog10,
  kSinh,
  kCosh,
  kTanh,
  kAsinh,
  kAcosh,
  kAtanh,
  kErf,
  kCbrt,
  kHypot,
  kFma,
  kMad,
  kModf,
  kFrexp,
  kSincos,
  kFabs,
  kFmin,
  kFmax,
  kRint,
  kFrac,
  kMulHi,
  kUmulExtended,
  kUaddCarry,
  kUsubBorrow,
  kAsFloat,
  kAsInt,
  kAsUint,
  // functions of a work group
  kGroupReduceAdd,
  kGroupReduceMin,
  kGroupReduceMax,
  kGroupReduceAnd,
  kGroupReduceOr,
  kGroupReduceXor,
  kGroupScanInclusiveAdd,
  kGroupScanExclusiveAdd,
  kGroupBroadcast,
  kGroupAny,
  kGroupAll,
  kGroupCount,
  kGroupBallot,
  kCount
};

inline constexpr WordId kFirstLibraryWord = WordId::kRound;
inline constexpr WordId kFirstGroupWord = WordId::kGroupReduceAdd;

struct Word {
  std::string_view name;
  WordKind kind;
  WordId id;
  // Of functions: their overloads, as result(arguments) with one letter a type: f i u b d scalars; l and m Int64 and
  // UInt64; F I U B vectors of the first four, all of one width; 2 3 4 vectors of floats; K M N A mat2, mat3, mat4 and
  // affine matrix; v nothing. A & stands behind an argument that the function sets.
  std::string_view forms;
  std::string_view meaning;  // one line
  Bool isExtension = false;  // not of the plain form: no compiler knows it
};

struct Overload {
  TypeIndex result = kUnknownType;
  UInt8 count = 0;
  TypeIndex parameters[4] = {};
  UInt8 changed = 0;  // bit i: the function sets its argument i
  Bool Changes(std::size_t argument) const { return (changed >> argument) & 1; }
};

std::span<const Word> GetWords();
// Null for a name that is no word of the language.
const Word* FindWord(std::string_view name);
// kNone for a name that is no word of the language.
WordId FindWordId(std::string_view name);
// The first word with the ID.
const Word& GetWord(WordId id);
// The overload that one of Word::forms stands for, with vectors of `width` components.
Overload ReadForm(std::string_view form, UInt32 width);
// In the order of Word::forms, those of vectors for two, three, four components.
std::span<const Overload> GetOverloads(WordId id);
// Those of 64-bit floats, in the same order: one 64-bit float among the arguments makes all of them 64-bit floats.
std::span<const Overload> GetDoubleOverloads(WordId id);
// Those of 64-bit integers: min, max, clamp, abs and sign have some, which the plain form calls as library words.
std::span<const Overload> GetLongOverloads(WordId id);

// How the names of arrays begin that these functions use in the plain form. What is read of them behind a barrier, at a
// number that is the same in the group, is the same.
inline constexpr std::string_view kGroupArrayPrefix = "ostraGroup_";
// Functions that the invocations of a group compute together, as they come to a groupSharedBarrier.
inline Bool IsGroupWord(WordId id) { return id >= kFirstGroupWord && id < WordId::kCount; }

// Words that the CPU form takes out of their place, whatever condition of the preprocessor they stand under.
inline Bool IsOfFile(WordId id) {
  const Bool isPart = id >= WordId::kGroupSize && id <= WordId::kGradientData;
  return (isPart && id != WordId::kKernelEnd && id != WordId::kCpuScopeEnd) || id == WordId::kLinearInvocation;
}
// Powers, logarithms and functions of angles.
inline Bool IsElementary(WordId id) { return id >= WordId::kPow && id <= WordId::kAtan; }
inline Bool IsAtomic(WordId id) { return id >= WordId::kAtomicAdd && id <= WordId::kAtomicCompareExchange; }

}  // namespace ostra::kernellanguage
