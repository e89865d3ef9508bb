// The text of the group form that is being written, and the first thing that has none.
#pragma once

#include <optional>
#include <string>

#include "parallelprogram/kernellanguage/diagnostic.h"
#include "parallelprogram/kernellanguage/syntax_tree.h"

namespace ostra::kernellanguage {

class GroupOutput {
 public:
  GroupOutput(const SyntaxTree& tree, const SourceMap& sources) : _tree(tree), _sources(sources) {}

  // C++ of one invocation, for the piece.
  void Line(std::initializer_list<std::string_view> parts);
  void MarkLine(NodeIndex node) { _piece += GetLineMark(node); }
  // The piece so far, which begins anew.
  std::string TakePiece();

  // C++ of the group: what stands between pieces, and pieces with the loops around them.
  void Write(std::initializer_list<std::string_view> parts);
  // What stands before all pieces.
  void AddConstant(std::initializer_list<std::string_view> parts);
  const std::string& GetText() const { return _text; }
  const std::string& GetConstants() const { return _constants; }

  // The text that says that the next line comes from a node.
  std::string GetLineMark(NodeIndex node) const;

  // What a node does not have, or the first of several.
  void Refuse(NodeIndex node, std::string reason);
  const std::optional<NotUnderstood>& GetRefusal() const { return _refusal; }

 private:
  const SyntaxTree& _tree;
  const SourceMap& _sources;
  std::string _text, _piece, _constants;
  std::optional<NotUnderstood> _refusal;
};

}  // namespace ostra::kernellanguage
