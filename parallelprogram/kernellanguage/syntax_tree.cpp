#include "parallelprogram/kernellanguage/syntax_tree.h"

#include <algorithm>
#include <iterator>

#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {

NodeIndex SyntaxTree::Add(const Node& node, std::span<const NodeIndex> nodeChildren) {
  nodes.push_back(node);
  nodes.back().firstChild = static_cast<UInt32>(children.size());
  nodes.back().childCount = static_cast<UInt32>(nodeChildren.size());
  children.insert(children.end(), nodeChildren.begin(), nodeChildren.end());
  return static_cast<NodeIndex>(nodes.size() - 1);
}

NameIndex SyntaxTree::AddName(std::string_view name) {
  const auto found = _indices.find(name);
  if (found != _indices.end()) return found->second;
  const auto index = static_cast<NameIndex>(names.size());
  _indices.emplace(*names.emplace_back(std::make_unique<std::string>(name)), index);
  return index;
}

Bool SyntaxTree::IsSame(const SyntaxTree& other) const {
  if (nodes.size() != other.nodes.size() || children != other.children || root != other.root ||
      kernel != other.kernel || parameters != other.parameters)
    return false;
  for (NodeIndex i = 0; i < nodes.size(); ++i) {
    const Node &a = nodes[i], &b = other.nodes[i];
    if (a.kind != b.kind || a.operation != b.operation || a.flags != b.flags || a.firstChild != b.firstChild ||
        a.childCount != b.childCount || GetName(i) != other.GetName(i))
      return false;
  }
  return true;
}

Bool IsExpression(NodeKind kind) { return kind >= NodeKind::kLiteral; }
Bool IsStatement(NodeKind kind) { return kind >= NodeKind::kBlock && kind <= NodeKind::kBarrier; }

std::string_view GetSpelling(Operation operation) {
  constexpr std::string_view kSpellings[] = {"",   "+", "-", "!", "~", "++", "--", "+",  "-",  "*",  "/",  "%", "<<",
                                             ">>", "&", "|", "^", "<", "<=", ">",  ">=", "==", "!=", "&&", "||"};
  static_assert(std::size(kSpellings) == static_cast<std::size_t>(Operation::kLogicalOr) + 1);
  return kSpellings[static_cast<std::size_t>(operation)];
}

LoopParts GetLoopParts(const SyntaxTree& tree, NodeIndex loop) {
  switch (tree.nodes[loop].kind) {
    case NodeKind::kFor:
      return {.start = tree.GetChild(loop, 0),
              .condition = tree.GetChild(loop, 1),
              .step = tree.GetChild(loop, 2),
              .body = tree.GetChild(loop, 3)};
    case NodeKind::kWhile:
      return {.condition = tree.GetChild(loop, 0), .body = tree.GetChild(loop, 1)};
    default:
      return {.condition = tree.GetChild(loop, 1), .body = tree.GetChild(loop, 0)};
  }
}

Bool HasContinue(const SyntaxTree& tree, NodeIndex statement) {
  if (statement == kNoNode) return false;
  const NodeKind kind = tree.nodes[statement].kind;
  if (kind == NodeKind::kContinue) return true;
  if (IsExpression(kind) || IsLoop(kind)) return false;
  const auto children = tree.GetChildren(statement);
  return std::any_of(children.begin(), children.end(), [&](NodeIndex child) { return HasContinue(tree, child); });
}

std::string_view GetKindName(NodeKind kind) {
  constexpr std::string_view kNames[] = {"File",        "GroupSize",   "Tuning",
                                         "Parameters",  "Parameter",   "Struct",
                                         "Member",      "Function",    "FunctionParameter",
                                         "Kernel",      "NoiseMark",   "Prototype",
                                         "Type",        "Dimensions",  "Block",
                                         "Declaration", "Variable",    "ExpressionStatement",
                                         "If",          "For",         "While",
                                         "DoWhile",     "Switch",      "Case",
                                         "Default",     "Break",       "Continue",
                                         "Return",      "Empty",       "SharedArray",
                                         "MakeLocal",   "Print",       "Assert",
                                         "Barrier",     "Literal",     "Name",
                                         "Uniform",     "Buffer",      "LocalData",
                                         "Unary",       "Postfix",     "Binary",
                                         "Assign",      "Conditional", "Comma",
                                         "Call",        "Construct",   "Cast",
                                         "MemberOf",    "Index",       "InitializerList"};
  static_assert(std::size(kNames) == static_cast<std::size_t>(NodeKind::kInitializerList) + 1);
  return kNames[static_cast<std::size_t>(kind)];
}

}  // namespace ostra::kernellanguage
