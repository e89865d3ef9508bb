// ResolvedTree: what names and expressions of a syntax tree mean. Tables beside the tree, one entry per node.
//
// Conversions are explicit: an expression has the type `types[node]` by itself and is wanted as `converted[node]` where
// it stands. They differ where C++ converts implicitly: "1 + x" with a float x has a literal of type int that is
// converted to float. A conversion is one of scalars, of a half float to others, or of vectors component by component.
//
// The language takes more than its plain form, which the C++ compiler and the translation for GPUs read as it stands.
// The nodes that are more are the extensions; the tables say what each of them is in plain terms:
//   v.xy                    kSwizzle; v.r is a kComponent like v.x
//   vec3(x), mat3(m), ...   kConstruct. All arguments are converted to the scalar of the result. A vector or matrix of
//                           one scalar has it in all components or on the diagonal; a vector of a longer one is cut; a
//                           matrix of a matrix has its corner, and that of the identity; others take the components in
//                           order, those of a matrix column by column. A struct has one argument a member.
//   m * v, v * m, m * m     kBinary or kAssign whose meaning is the word mul with its overload
//   m + n, 2 * m, m / 2     computed: the matrix; a scalar is converted to float, and meets every component
//   v * 2, u + f            computed: the vector; both operands are converted to its scalar
//   m[i], m[i][j]           kIndex of a matrix: a column; the index is converted to int
//   vec3 v = 1.0, max(v, 0) a scalar that is wanted as a vector is that in all components
//   vec2 a = v              a vector that is wanted as a shorter one is its first components
//   max(f, 0)               converted to what the overload takes
//   min(l, 0)               of 64-bit integers: a function of the library
//   int k = u, if (k & 1)   a conversion of numbers that GLSL does not make by itself
//   UInt8 k = f             by way of an int, which is cut
//   half h = 1.0            a float or integer wanted as a half is rounded
//   { } for vectors         as a kConstruct; the kInitializerList has the type
//   f(1) of f(x, y = 2)     fewer arguments than parameters: the rest are the third children of the parameters
//   ivec2, bvec3, mat2      kType
//   (vec3)x                 kCast that means vec3(x)
//   (vec3)(1, 2, 3)         kConstruct with kIsExtended
//   float[2](1, 2)          kInitializerList with kIsExtended
//   float x{1}, float[2] a  kVariable with kIsExtended, like others
//   half = 1.0, sample++    kVariable and what else has the name of a type or a word of a shading language
//   typedef struct { } S;   kStruct with kIsCppOnly; a kType with it is written "struct S"
//   typedef float4 Colour;  kPrototype; a kType with it has the type itself
//   [unroll] for (...)      a statement with kIsExtended
//   PRINT("%v", x), ASSERT(x > 0)    kPrint, kAssert: reports (plain_reports.h)
//   const float k = 1.0;    kDeclaration outside of functions
//   float F(float x) {      kFunction with kIsCppOnly: not inline, or the brace on the same line
//   float F(float x);       kPrototype, which says nothing that its kFunction does not
//   #define K 1, #if        kFile: a macro of the kernel file itself or with arguments, a condition, other headers
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
  kSwizzle,    // number: components of a vector, 2 bits each from the first on, and their count << 8
};

struct Meaning {
  MeaningKind kind = MeaningKind::kNone;
  WordId word = WordId::kNone;
  UInt16 overload = 0;  // number in GetOverloads(word), or in those of 64 bits
  UInt32 number = 0;
  NodeIndex target = kNoNode;
};

// Of the values of one PRINT together.
inline constexpr std::size_t kMaxPrintedNumbers = 60;

// Of the number of a kSwizzle.
constexpr UInt32 GetSwizzleCount(UInt32 number) { return number >> 8; }
constexpr UInt32 GetSwizzleComponent(UInt32 number, UInt32 index) { return (number >> (2 * index)) & 3; }

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

  // Nodes that are not of the plain form, in the order in which they are found; none: the file is plain.
  std::vector<NodeIndex> extensions;
  // The first of them that the C++ forms of this folder do not know, either; kNoNode: those are for GPUs only.
  NodeIndex firstUnprintable = kNoNode;
  // Notes such a node; `isPrintable`: the C++ forms know it all the same.
  void Extend(NodeIndex node, Bool isPrintable = false) {
    extensions.push_back(node);
    if (!isPrintable && firstUnprintable == kNoNode) firstUnprintable = node;
  }

  Bool usesNoise = false, usesGradient = false, usesLinearInvocation = false, usesBarrier = false;
};

}  // namespace ostra::kernellanguage
