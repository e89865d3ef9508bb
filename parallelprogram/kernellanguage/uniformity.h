// Which values of a kernel differ between the invocations of a dispatch, and why.
//
//   const UniformityTable table = AnalyzeUniformity(tree, resolved);
//   table.Get(condition).variance == Variance::kVarying
//   Explain(tree, table, condition)     // "count" gets its value here; here; InGlobalInvocationID.x grows along x
//
// Lanes are invocations that follow each other along x. A variable has one answer for its whole life: what all its
// assignments give together. An assignment below a condition that differs makes a variable differ that was declared
// above the condition, and so does one in a loop that lanes leave at different times. Lanes that have returned do not
// count. Elements of buffers that the kernel may write differ, whatever their index is.
//
// Functions compute with nothing but their arguments. So a call whose arguments are the same in all lanes has one
// result for all of them: the function as it is. All other calls of a function are taken together: its parameters,
// variables and result have one answer for those.
#pragma once

#include <string>
#include <vector>

#include "parallelprogram/kernellanguage/resolved_tree.h"

namespace ostra::kernellanguage {

enum class Variance : UInt8 {
  kUniform,  // the same in all invocations of a dispatch
  kRow,      // the same in all invocations of a row: depends on y and z only
  kLinear,   // of one of 32-bit integers: grows by `stride` from lane to lane, modulo 2^32
  kVarying,
};

struct Uniformity {
  Variance variance = Variance::kUniform;
  Int32 stride = 0;  // of kLinear, never 0
  friend Bool operator==(const Uniformity&, const Uniformity&) = default;
  // Whether all lanes have the same value.
  Bool IsSame() const { return variance <= Variance::kRow; }
};

// One step from a value to what makes it differ.
struct UniformityReason {
  NodeIndex node = kNoNode;
  std::string text;
};

struct UniformityTable {
  // Of expressions: the value, after its conversion where it is wanted as another type. Of kVariable and
  // kFunctionParameter: of all its values. Of kFunction: the result. Of statements: the control flow that leads to
  // them, kVarying where some lanes may not come there.
  std::vector<Uniformity> nodes;
  // Loops and switches that some lanes leave before others, by break or by a condition that differs.
  std::vector<Bool> isLeftApart;
  // Variables that differ, but count the turns of a loop (loop_counters.h) by steps that are the same in all lanes:
  // their names are not kVarying in that loop.
  std::vector<Bool> isCounter;
  // kFunctions that are called with arguments of which not all are the same in all lanes.
  std::vector<Bool> isCalledWide;
  // What made a node differ: the node to look at next; kNoNode at a source.
  std::vector<NodeIndex> causes;

  const Uniformity& Get(NodeIndex node) const { return nodes[node]; }
};

// Between which invocations values are compared.
enum class UniformityScope : UInt8 {
  kRow,         // those that follow each other along x
  kGroup,       // those of a work group: values are kUniform or kVarying then
  kRowOfGroup,  // those of a work group that follow each other along x
};

// For a tree that was resolved without errors. Never fails otherwise than with std::bad_alloc.
UniformityTable AnalyzeUniformity(const SyntaxTree& tree, const ResolvedTree& resolved,
                                  UniformityScope scope = UniformityScope::kRow);

// The way from a node that differs to a source, at most kMaxReasons steps; empty for one that is the same in all lanes.
inline constexpr std::size_t kMaxReasons = 16;
std::vector<UniformityReason> Explain(const SyntaxTree& tree, const ResolvedTree& resolved,
                                      const UniformityTable& table, NodeIndex node);

}  // namespace ostra::kernellanguage
