// ResolvedTree: what names and expressions of a syntax tree mean. Tables beside the tree, one entry per node.
//
// Conversions are explicit: an expression has the type `types[node]` by itself and is wanted as `converted[node]` where
// it stands. They differ where C++ converts without a word: "1 + x" with a float x has a literal of type int that is
// converted to float. A conversion is one of scalars, of a half float to others, or of vectors component by component.
#pragma once

#include <vector>

#include "parallelprogram/kernellanguage/syntax_tree.h"
#include "parallelprogram/kernellanguage/types.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernellanguage {

// What the name of a kName, kCall, kUniform, kBuffer, kLocalData or kMemberOf stands for.
enum class MeaningKind : UInt8 {
  kNone,
  kVariable,   // target: a kVariable, kFunctionParameter or kSharedArray
  kParameter,  // target: a kParameter of the kernel
  kFunction,   // target: a kFunction
  kWord,       // word; overload for functions
  kComponent,  // number: of a vector (0 to 3), or the column of a matrix; the offset of an affine matrix is 0, v1 is 1
  kMember,     // target: a kMember of a struct; number: its number
};

struct Meaning {
  MeaningKind kind = MeaningKind::kNone;
  WordId word = WordId::kNone;
  UInt16 overload = 0;  // number in GetOverloads(word)
  UInt32 number = 0;
  NodeIndex target = kNoNode;
};

struct ResolvedTree {
  TypeTable types;
  std::vector<TypeIndex> type;       // of expressions, variables, parameters, members and kType nodes
  std::vector<TypeIndex> converted;  // of expressions: what they are wanted as; `type` where nothing converts
  // Of kAssign with an operation, of kPostfix and of ++ and --: the type in which it is computed, before it is
  // converted back to that of the target. Of kBinary: that of both operands (of the left one for shifts); kUnknownType
  // elsewhere.
  std::vector<TypeIndex> computed;
  std::vector<Meaning> meaning;
  std::vector<Bool> isPlace;  // expressions that can be assigned to, were they not const

  // In the order in which they are declared.
  std::vector<NodeIndex> structs, functions, parameters;
  UInt32 groupSize[3] = {256, 1, 1};
  Int64 granularity = 16, singleThreadedThreshold = 0;
  Bool usesNoise = false, usesGradient = false, usesLinearInvocation = false, usesBarrier = false;
};

}  // namespace ostra::kernellanguage
