// Which values of a kernel differ between the invocations of a dispatch, and why.
//
//   OSTRA_ASSIGN_OR_RETURN(UniformityTable table, AnalyzeUniformity(tree, resolved));
//   table.Get(condition).variance == Variance::kVarying
//   table.Explain(tree, condition)      // "x" is assigned here / InGlobalInvocationID.x differs along x
//
// Lanes are invocations that follow each other along x. A variable has one answer for its whole life: what all its
// assignments give together. An assignment below a condition that differs makes the variable differ, and so does one in
// a loop that lanes leave at different times. Lanes that have returned do not count.
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

// What is known of a function, whoever calls it.
struct FunctionSummary {
  NodeIndex function = kNoNode;
  Uniformity result;                  // called with uniform arguments
  std::vector<Bool> resultDependsOn;  // per parameter: a varying argument makes the result varying
  std::vector<Bool> outVaries;        // per parameter: out and INOUT ones that are varying with uniform arguments
  std::vector<std::vector<Bool>> outDependsOn;  // [out parameter][parameter]
  Bool hasSideEffects = false;                  // writes buffers, counters
};

struct UniformityTable {
  // Of expressions: the value. Of kVariable and kFunctionParameter: of all its values; in functions with all calls of
  // the file taken together. Of statements: the control flow that leads to them, kVarying where lanes may differ in
  // whether they come there.
  std::vector<Uniformity> nodes;
  // Loops and switches that some lanes leave by break or a varying condition before others.
  std::vector<Bool> isLeftApart;
  std::vector<FunctionSummary> functions;  // in the order of ResolvedTree::functions
  std::vector<NodeIndex> causes;           // per node: the node that made it differ; kNoNode at a source

  const Uniformity& Get(NodeIndex node) const { return nodes[node]; }
};

}  // namespace ostra::kernellanguage
