// What every part of the printer of the plain form has: the kernel, its names, the text that is being written and the
// functions that it needs beside. Parts get the others that they use when they are made.
#pragma once

#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/plain_helpers.h"
#include "parallelprogram/kernellanguage/plain_kernel.h"
#include "parallelprogram/kernellanguage/plain_marks.h"
#include "parallelprogram/kernellanguage/plain_names.h"
#include "parallelprogram/kernellanguage/plain_output.h"

namespace ostra::kernellanguage {

// How tightly an expression is bound; what is bound less tightly than its place needs gets parentheses.
enum class Binding : UInt8 { kComma, kAssignment, kConditional, kBinary, kUnary, kPostfix };

// A value and the type that it is taken as: its own, or the one that it is wanted as.
struct TypedNode {
  NodeIndex node = kNoNode;
  TypeIndex type = kUnknownType;
};

// "x" to "w".
inline std::string_view GetComponentName(UInt32 component) { return std::string_view("xyzw").substr(component, 1); }

struct PlainBasis {
  const PlainKernel& kernel;
  const PlainNames& names;
  PlainOutput& out;
  PlainHelpers& helpers;
};

class PlainPart {
 public:
  PlainPart(const PlainPart&) = delete;
  PlainPart& operator=(const PlainPart&) = delete;

 protected:
  explicit PlainPart(const PlainBasis& basis)
      : _kernel(basis.kernel),
        _tree(basis.kernel.tree),
        _resolved(basis.kernel.resolved),
        _types(basis.kernel.types),
        _options(basis.kernel.options),
        _names(basis.names),
        _out(basis.out),
        _helpers(basis.helpers) {}
  ~PlainPart() = default;

  NodeIndex Child(NodeIndex node, std::size_t index) const { return _tree.GetChild(node, index); }
  NodeKind KindOf(NodeIndex node) const { return _tree.nodes[node].kind; }
  std::string MarkOf(NodeIndex node) const { return MakeMark(_tree.nodes[node].offset); }
  std::string NameOf(NodeIndex declaration) const { return _names.NameOf(declaration); }
  std::string TypeName(TypeIndex type) const { return _names.TypeName(type); }
  std::string NewName(std::string_view what) { return _out.NewName(what); }
  void Line(std::initializer_list<std::string_view> parts) { _out.Line(parts); }
  void Refuse(NodeIndex node, std::string reason) { _out.Refuse(_tree.nodes[node].offset, std::move(reason)); }

  const PlainKernel& _kernel;
  const SyntaxTree& _tree;
  const ResolvedTree& _resolved;
  const TypeTable& _types;
  const PlainOptions& _options;
  const PlainNames& _names;
  PlainOutput& _out;
  PlainHelpers& _helpers;
};

}  // namespace ostra::kernellanguage
