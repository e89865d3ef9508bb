// The kernel whose wide form is printed, and questions about its nodes that need nothing else; read-only.
#pragma once

#include "parallelprogram/kernellanguage/front_end.h"
#include "parallelprogram/kernellanguage/lane_names.h"
#include "parallelprogram/kernellanguage/lane_value.h"

namespace ostra::kernellanguage {

class LaneKernel {
 public:
  // `groupNames` are those of variables outside of pieces, if the kernel is printed piece by piece; null otherwise. All
  // must outlive it.
  LaneKernel(const AnalyzedKernel& kernel, const UniformityTable& uniformityTable, const GroupNames* groupNames)
      : tree(kernel.tree),
        resolved(kernel.resolved),
        types(kernel.resolved.types),
        uniformity(uniformityTable),
        sources(kernel.sources),
        exchangesValues(kernel.groups.isNeeded),
        names(kernel.tree, kernel.resolved, groupNames) {}
  LaneKernel(const LaneKernel&) = delete;
  LaneKernel& operator=(const LaneKernel&) = delete;

  LaneForm FormOf(NodeIndex node) const;
  // Whether the name of a variable stands for the number of turns that all lanes of a loop share.
  Bool IsCount(NodeIndex name) const;
  // Whether an expression may be computed in lanes that are off: it touches no memory, traps nowhere, calls no function
  // of the file and changes nothing.
  Bool IsHarmless(NodeIndex expression) const;
  // Whether a node is a number of 32 bits other than 0 as it is written.
  Bool IsDivisor(NodeIndex node) const;
  Bool ChangesArguments(NodeIndex call) const;
  Bool HasChangingCall(NodeIndex expression) const;
  // The name of a member; a component of a vector has up to three.
  std::string_view PartName(NodeIndex member) const;
  // The variable, array or buffer of which a place is a part.
  NodeIndex FindRoot(NodeIndex place) const;
  // The element of a buffer or of group memory of which `place` is a part, and the way from it to there; kNoNode for
  // other places.
  NodeIndex FindElement(NodeIndex place, std::string& path) const;

  const SyntaxTree& tree;
  const ResolvedTree& resolved;
  const TypeTable& types;
  const UniformityTable& uniformity;
  const SourceMap& sources;
  const Bool exchangesValues;
  const LaneNames names;
};

// What reads a LaneKernel.
class LaneQuery {
 public:
  LaneQuery(const LaneQuery&) = delete;
  LaneQuery& operator=(const LaneQuery&) = delete;

 protected:
  explicit LaneQuery(const LaneKernel& kernel)
      : _kernel(kernel),
        _tree(kernel.tree),
        _resolved(kernel.resolved),
        _types(kernel.types),
        _uniformity(kernel.uniformity),
        _names(kernel.names) {}
  ~LaneQuery() = default;

  std::string_view NameOf(NodeIndex node) const { return _tree.GetName(node); }
  NodeIndex Child(NodeIndex node, std::size_t index) const { return _tree.GetChild(node, index); }
  NodeKind KindOf(NodeIndex node) const { return _tree.nodes[node].kind; }
  Operation OperationOf(NodeIndex node) const { return _tree.nodes[node].operation; }
  TypeIndex TypeOf(NodeIndex node) const { return _resolved.type[node]; }
  LaneForm FormOf(NodeIndex node) const { return _kernel.FormOf(node); }
  Bool IsAggregate(TypeIndex type) const {  // a struct or a matrix
    const TypeKind kind = _types[type].kind;
    return kind == TypeKind::kStruct || kind == TypeKind::kMatrix || kind == TypeKind::kAffineMatrix;
  }

  const LaneKernel& _kernel;
  const SyntaxTree& _tree;
  const ResolvedTree& _resolved;
  const TypeTable& _types;
  const UniformityTable& _uniformity;
  const LaneNames& _names;
};

}  // namespace ostra::kernellanguage
