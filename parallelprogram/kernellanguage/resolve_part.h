// What every part of the resolver has: the tree, the tables that it fills, and the messages. Parts get the others that
// they use when they are made.
//
// Functions that give a type give kUnknownType for an expression with a mistake, of which nothing more is said.
#pragma once

#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/resolve_messages.h"
#include "parallelprogram/kernellanguage/resolved_tree.h"

namespace ostra::kernellanguage {

using TypeList = std::vector<TypeIndex>;

struct ResolveBasis {
  const SyntaxTree& tree;
  ResolvedTree& resolved;
  ResolveMessages& messages;
};

class ResolvePart {
 public:
  ResolvePart(const ResolvePart&) = delete;
  ResolvePart& operator=(const ResolvePart&) = delete;

 protected:
  explicit ResolvePart(const ResolveBasis& basis)
      : _tree(basis.tree), _resolved(basis.resolved), _messages(basis.messages) {}
  ~ResolvePart() = default;

  Bool IsStopped() const { return _messages.IsStopped(); }
  TypeIndex Stop(NodeIndex node, std::string reason) {
    _messages.Stop(node, std::move(reason));
    return kUnknownType;
  }
  TypeIndex Fail(NodeIndex node, std::string text, std::vector<DiagnosticNote> notes = {}) {
    _messages.Fail(node, std::move(text), std::move(notes));
    return kUnknownType;
  }
  void Extend(NodeIndex node, Bool isPrintable = false) { _resolved.Extend(node, isPrintable); }

  // Whether a call has so many arguments; says how it is written.
  Bool CheckCount(NodeIndex call, std::size_t count, std::string_view form) {
    if (_tree.GetChildren(call).size() == count) return true;
    Fail(call, Join({NameOf(call), " has the form ", form}));
    return false;
  }

  NodeIndex Child(NodeIndex node, std::size_t index) const { return _tree.GetChild(node, index); }
  NodeKind KindOf(NodeIndex node) const { return _tree.nodes[node].kind; }
  Operation OperationOf(NodeIndex node) const { return _tree.nodes[node].operation; }
  SourceOffset GetOffset(NodeIndex node) const { return _tree.nodes[node].offset; }
  std::string_view NameOf(NodeIndex node) const { return _tree.GetName(node); }

  const Type& Get(TypeIndex type) const { return _resolved.types[type]; }
  std::string TypeName(TypeIndex type) const { return _resolved.types.GetName(type); }
  std::string ListTypes(std::span<const TypeIndex> types) const {
    std::string list;
    for (const TypeIndex type : types) list += Join({list.empty() ? "" : ", ", TypeName(type)});
    return list;
  }
  Bool IsScalar(TypeIndex type) const { return _resolved.types.IsScalar(type); }
  Bool IsVector(TypeIndex type) const { return _resolved.types.IsVector(type); }
  Bool IsMatrix(TypeIndex type) const {
    return Get(type).kind == TypeKind::kMatrix || Get(type).kind == TypeKind::kAffineMatrix;
  }

  // What `node` is by itself and, unless it is converted, as what it is wanted.
  void SetType(NodeIndex node, TypeIndex type) { _resolved.type[node] = _resolved.converted[node] = type; }
  void SetConverted(NodeIndex node, TypeIndex type) { _resolved.converted[node] = type; }
  void SetWord(NodeIndex node, WordId word, std::size_t overload = 0) {
    _resolved.meaning[node] = {.kind = MeaningKind::kWord, .word = word, .overload = static_cast<UInt16>(overload)};
  }
  void SetParameter(NodeIndex node, NodeIndex parameter) {
    _resolved.meaning[node] = {.kind = MeaningKind::kParameter, .target = parameter};
  }

  const SyntaxTree& _tree;
  ResolvedTree& _resolved;
  ResolveMessages& _messages;
};

}  // namespace ostra::kernellanguage
