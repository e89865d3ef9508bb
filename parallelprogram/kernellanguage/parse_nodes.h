// The nodes that the parser has read, within the limits of a tree: how high it is, and how deep code is nested.
#pragma once

#include "parallelprogram/kernellanguage/parse_messages.h"
#include "parallelprogram/kernellanguage/syntax_tree.h"

namespace ostra::kernellanguage {

using NodeList = std::vector<NodeIndex>;

class ParseNodes {
 public:
  // One level deeper as long as it lives.
  class Level {
   public:
    explicit Level(ParseNodes& nodes) : _nodes(nodes) { ++_nodes._depth; }
    ~Level() { --_nodes._depth; }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

   private:
    ParseNodes& _nodes;
  };

  ParseNodes(SyntaxTree& tree, ParseMessages& messages) : _tree(tree), _messages(messages) {}

  // kNoNode when reading has stopped, as it does at kMaxTreeHeight.
  NodeIndex Add(NodeKind kind, SourceOffset offset, std::string_view name, const NodeList& children, UInt16 flags = 0,
                Operation operation = Operation::kNone);
  // False, and reading stops, beyond kMaxNesting levels.
  Bool CheckDepth(SourceOffset offset);

 private:
  SyntaxTree& _tree;
  ParseMessages& _messages;
  std::vector<UInt16> _heights;  // of the nodes
  Int _depth = 0;
};

}  // namespace ostra::kernellanguage
