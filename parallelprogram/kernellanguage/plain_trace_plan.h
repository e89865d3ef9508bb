// What traced kernels record: which places an expression changes, and whether they can be read behind it. Nothing in
// kernels that are not traced.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "parallelprogram/kernellanguage/plain_kernel.h"

namespace ostra::kernellanguage {

class TracePlan {
 public:
  // The kernel must outlive the plan.
  explicit TracePlan(const PlainKernel& kernel);

  Int CountTraceWords() const;
  // "@", then "@target" for the watched element of the buffer "target", each behind a tab.
  std::string MakeTraceNames() const;
  // Places that the expression changes, in the order in which they stand.
  void FindChanged(NodeIndex node, std::vector<NodeIndex>& places) const;
  // Atomic operations of counters within the expression.
  void FindCounted(NodeIndex node, std::vector<NodeIndex>& calls) const;
  // Whether the operation's value can be computed again behind its statement, which changes `changed`.
  Bool IsValueFixed(NodeIndex atomic, const std::vector<NodeIndex>& changed) const;
  // What changes from round to round: recorded where the body begins.
  std::vector<NodeIndex> ListLoopVariables(NodeIndex loop) const;
  // The variable or buffer that the place is a part of; kNoNode for another place.
  NodeIndex FindTracedRoot(NodeIndex place) const;
  // The whole vector or matrix of a component that is changed. Elements of buffers keep their components: others may be
  // changed by other invocations.
  NodeIndex WidenPlace(NodeIndex place) const;
  // Whether the place is the same behind the statement that changes `changed`.
  Bool AreIndicesFixed(NodeIndex place, const std::vector<NodeIndex>& changed) const;
  // Calls of functions of the file, which record too.
  std::size_t CountTracedCalls(NodeIndex node) const;
  // Whether the call records, and C++ says nothing about its order: as statements of their own such calls record in the
  // order in which they stand, on all devices.
  Bool IsUnorderedCall(NodeIndex call) const { return _unorderedCalls.contains(call); }

 private:
  struct ChangedNames {
    std::set<NodeIndex> variables;
    std::string_view buffer;
  };
  ChangedNames ListNames(const std::vector<NodeIndex>& changed) const;
  Bool IsAtomicCall(NodeIndex node) const;
  Bool IsRepeatable(NodeIndex node) const;
  Bool Mentions(NodeIndex node, const ChangedNames& names) const;
  void FindUnorderedCalls();
  void AddCalls(NodeIndex node);

  const PlainKernel& _kernel;
  std::set<NodeIndex> _unorderedCalls;
};

}  // namespace ostra::kernellanguage
