// The text of the wide form that is being written, and the first thing that has none.
#pragma once

#include <optional>
#include <string>

#include "parallelprogram/kernellanguage/lane_code.h"

namespace ostra::kernellanguage {

class LaneOutput {
 public:
  explicit LaneOutput(const SyntaxTree& tree, const SourceMap& sources) : _tree(tree), _sources(sources) {}

  void Line(std::initializer_list<std::string_view> parts);
  // The next line comes from a node.
  void MarkLine(NodeIndex node);
  // A name that the kernel does not have, and that is given once.
  std::string NewName(std::string_view stem);
  // What a statement does not have, or the first of several.
  void Refuse(NodeIndex node, std::string reason);
  Bool HasRefused() const { return _refusal.has_value(); }
  // The text so far, none of it if something was refused; afterwards there is neither.
  LaneCode Take();

 private:
  const SyntaxTree& _tree;
  const SourceMap& _sources;
  std::string _text;
  std::optional<NotUnderstood> _refusal;
  int _nameCount = 0;
};

}  // namespace ostra::kernellanguage
