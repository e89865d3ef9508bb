// The kernel that is printed in the plain form, and questions about its nodes and types that several parts of the
// printer ask. Read-only once it is made; the analyzed kernel and the options must outlive it.
#pragma once

#include <optional>
#include <set>
#include <vector>

#include "parallelprogram/kernellanguage/evaluation_order.h"
#include "parallelprogram/kernellanguage/plain_form.h"

namespace ostra::kernellanguage {

// The structs that lie in buffers, as elements or inside of such.
std::set<NodeIndex> FindStoredStructs(const SyntaxTree& tree, const ResolvedTree& resolved);

// Whether the node is == or != of two vectors.
Bool IsComparisonOfVectors(const SyntaxTree& tree, const ResolvedTree& resolved, NodeIndex node);
// Whether a call is trunc of a 64-bit float, which GPUs get in other words.
Bool IsTruncOfDouble(const ResolvedTree& resolved, NodeIndex node);

struct PlainKernel {
  PlainKernel(const AnalyzedKernel& kernel, const PlainOptions& options);

  const SourceMap& sources;
  const SyntaxTree& tree;
  const ResolvedTree& resolved;
  const TypeTable& types;
  const PlainOptions& options;
  const EvaluationOrder order;
  const std::set<NodeIndex> openRemainders;  // of kernels for GPUs: % as C++ computes it is a function there
  const std::set<NodeIndex> storedStructs;
  const std::set<NodeIndex> fileConstants;  // variables outside of functions
  const std::vector<Bool> isUsed;           // functions, structs and constants that the kernel needs

  NodeIndex GetChild(NodeIndex node, std::size_t index) const { return tree.GetChild(node, index); }
  NodeKind GetKind(NodeIndex node) const { return tree.nodes[node].kind; }

  Bool IsMatrix(TypeIndex type) const { return types[type].kind == TypeKind::kMatrix; }
  Bool IsBoolVector(TypeIndex type) const { return types.IsVector(type) && types[type].scalar == Scalar::kBool; }
  // An integer of 8 or 16 bits for a GPU, which is an int there.
  Bool IsSmall(TypeIndex type) const;

  // Whether the place is a number of a buffer, or of a struct that lies in one, which has its own size there.
  Bool IsStoredSmall(NodeIndex place) const;
  // Whether the place is a component of a vector of bools, which is an int.
  Bool IsBoolComponent(NodeIndex place) const;
  // Whether C++ computes the value of the assignment before its place, and the difference shows.
  Bool IsValueFirst(NodeIndex assignment) const { return order.valueFirst.contains(assignment); }
  // Whether the node makes a struct of values with an array among them, which no function takes by value.
  Bool IsStructOfArrays(NodeIndex node) const;
  Bool IsOpenRemainder(NodeIndex node) const { return openRemainders.contains(node); }
  // The value of an integer as it is written.
  std::optional<UInt32> FindNumber(NodeIndex node) const;

  // Whether the node divides whole numbers by one that is not visibly another than 0.
  Bool IsDivision(NodeIndex node) const;
  // Whether the quotient of the least number and -1 may be asked for, which no integer holds.
  Bool MayOverflow(NodeIndex division) const;
  // The type that the dividend has when it meets the divisor.
  TypeIndex GetDividendType(NodeIndex division) const;

  // The variable or parameter that a place is a part of.
  NodeIndex FindRoot(NodeIndex place) const;
  // The variables and buffers that are named at or below the node.
  void CollectNames(NodeIndex node, std::set<NodeIndex>& names) const;
};

}  // namespace ostra::kernellanguage
