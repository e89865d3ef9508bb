// The kernel whose group form is printed, and what its declarations are called in C++; read-only.
#pragma once

#include "parallelprogram/kernellanguage/front_end.h"

namespace ostra::kernellanguage {

class GroupKernel {
 public:
  // `kernel` must outlive it.
  explicit GroupKernel(const AnalyzedKernel& kernel);
  GroupKernel(const GroupKernel&) = delete;
  GroupKernel& operator=(const GroupKernel&) = delete;

  // "Vec3<Float32>" and "[4]" of an array of them; empty for types that cannot be named.
  std::string GetTypeName(TypeIndex type) const;
  std::string GetArraySizes(TypeIndex type) const;
  // Of what is known outside of pieces.
  std::string GetUniqueName(NodeIndex variable) const;

  const AnalyzedKernel& analyzed;
  const SyntaxTree& tree;
  const ResolvedTree& resolved;
  const TypeTable& types;
  const std::vector<Bool>& isCut;
  const NodeIndex body;
  const NodeIndex earlyReturn;  // see FindEarlyReturn
};

// What reads a GroupKernel.
class GroupQuery {
 public:
  GroupQuery(const GroupQuery&) = delete;
  GroupQuery& operator=(const GroupQuery&) = delete;

 protected:
  explicit GroupQuery(const GroupKernel& kernel)
      : _kernel(kernel), _tree(kernel.tree), _resolved(kernel.resolved), _types(kernel.types) {}
  ~GroupQuery() = default;

  NodeIndex Child(NodeIndex node, std::size_t index) const { return _tree.GetChild(node, index); }
  NodeKind KindOf(NodeIndex node) const { return _tree.nodes[node].kind; }
  std::string_view NameOf(NodeIndex node) const { return _tree.GetName(node); }
  TypeIndex TypeOf(NodeIndex node) const { return _resolved.type[node]; }
  const Meaning& MeaningOf(NodeIndex node) const { return _resolved.meaning[node]; }

  const GroupKernel& _kernel;
  const SyntaxTree& _tree;
  const ResolvedTree& _resolved;
  const TypeTable& _types;
};

}  // namespace ostra::kernellanguage
