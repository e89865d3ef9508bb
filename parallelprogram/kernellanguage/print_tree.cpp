#include "parallelprogram/kernellanguage/print_tree.h"

#include "ostra/core/text_characters.h"
#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {
namespace {

class Printer {
 public:
  Printer(const SyntaxTree& tree, const PrintTables& tables)
      : _tree(tree), _tables(tables), _isExtension(tree.nodes.size(), false) {
    if (!tables.resolved) return;
    for (const NodeIndex node : tables.resolved->extensions) _isExtension[node] = true;
  }

  std::string Print() {
    if (_tree.root != kNoNode) PrintNode(_tree.root);
    return std::move(_text);
  }

  std::string Expression(NodeIndex node) const {
    if (node == kNoNode) return "-";
    return Join({ExpressionItself(node), TypeOf(node), VarianceOf(node)});
  }

 private:
  void Line(std::initializer_list<std::string_view> parts) {
    _text.append(2 * _depth, ' ');
    _text += Join(parts);
    _text += '\n';
  }

  std::string Flags(NodeIndex node) const {
    struct FlagName {
      NodeFlag flag;
      std::string_view name;
    };
    constexpr FlagName kNames[] = {{kIsConst, "const "},
                                   {kIsOut, "out "},
                                   {kIsInOut, "inout "},
                                   {kIsStructForm, "struct "},
                                   {kIsAtomic, "atomic "}};
    std::string flags;
    for (const FlagName& entry : kNames) {
      if (_tree.HasFlag(node, entry.flag)) flags += entry.name;
    }
    return flags;
  }

  std::string TypeName(NodeIndex node) const {
    std::string name(_tree.GetName(node));
    const auto arguments = _tree.GetChildren(node);
    for (std::size_t i = 0; i < arguments.size(); ++i) name += Join({i == 0 ? "<" : ", ", TypeName(arguments[i])});
    if (!arguments.empty()) name += ">";
    return Join({_tree.HasFlag(node, kIsConst) ? "const " : "", name, _tree.HasFlag(node, kIsReference) ? "&" : "",
                 _tree.HasFlag(node, kIsPointer) ? "*" : ""});
  }

  std::string Dimensions(NodeIndex node) const {
    std::string text;
    if (node == kNoNode) return text;
    for (const NodeIndex size : _tree.GetChildren(node))
      text += Join({"[", size == kNoNode ? "" : Expression(size), "]"});
    return text;
  }

  // A name with its type, and the value that it begins with.
  std::string Declared(NodeIndex node) const {
    const NodeIndex value = _tree.GetChild(node, 2);
    const Bool isConstType = _tree.HasFlag(_tree.GetChild(node, 0), kIsConst);
    return Join({isConstType ? "" : Flags(node), TypeName(_tree.GetChild(node, 0)), " ", _tree.GetName(node),
                 Dimensions(_tree.GetChild(node, 1)), VarianceOf(node), value == kNoNode ? "" : " = ",
                 value == kNoNode ? "" : Expression(value)});
  }

  std::string List(std::string_view head, NodeIndex node) const {
    std::string text = Join({"(", head});
    for (const NodeIndex child : _tree.GetChildren(node)) {
      text += ' ';
      text += _tree.Is(child, NodeKind::kType) ? TypeName(child) : Expression(child);
    }
    return text + ")";
  }

  std::string ExpressionItself(NodeIndex node) const {
    const Node& entry = _tree.nodes[node];
    const std::string_view name = _tree.GetName(node), sign = GetSpelling(entry.operation);
    switch (entry.kind) {
      case NodeKind::kLiteral:
      case NodeKind::kName:
        return std::string(name);
      case NodeKind::kUniform:
        return Join({"uniform.", name});
      case NodeKind::kBuffer:
        return Join({"buffer.", name});
      case NodeKind::kMemberOf:
        return Join({Expression(_tree.GetChild(node, 0)), ".", name});
      case NodeKind::kLocalData:
        return List(Join({"local.", name}), node);
      case NodeKind::kUnary:
      case NodeKind::kBinary:
        return List(sign, node);
      case NodeKind::kPostfix:
        return List(Join({"postfix", sign}), node);
      case NodeKind::kAssign:
        return List(Join({sign, "="}), node);
      case NodeKind::kCall:
        return List(Join({"call ", name}), node);
      default:
        return List(node);
    }
  }

  // An expression whose head is the same for all of its kind; the name of other kinds.
  std::string List(NodeIndex node) const {
    struct Head {
      NodeKind kind;
      std::string_view text;
    };
    constexpr Head kHeads[] = {{NodeKind::kConditional, "?"},  {NodeKind::kComma, ","},
                               {NodeKind::kConstruct, "make"}, {NodeKind::kCast, "cast"},
                               {NodeKind::kIndex, "at"},       {NodeKind::kInitializerList, "list"}};
    const NodeKind kind = _tree.nodes[node].kind;
    for (const Head& head : kHeads) {
      if (head.kind == kind) return List(head.text, node);
    }
    return std::string(GetKindName(kind));
  }

  std::string TypeOf(NodeIndex node) const {
    if (!_tables.resolved || !IsExpression(_tree.nodes[node].kind)) return "";
    const ResolvedTree& resolved = *_tables.resolved;
    const TypeIndex type = resolved.type[node], converted = resolved.converted[node];
    const std::string_view mark = _isExtension[node] ? "^" : "";
    if (type == converted) return Join({mark, ":", resolved.types.GetName(type)});
    return Join({mark, ":", resolved.types.GetName(type), ">", resolved.types.GetName(converted)});
  }

  std::string VarianceOf(NodeIndex node) const {
    if (!_tables.uniformity) return "";
    const Uniformity& uniformity = _tables.uniformity->Get(node);
    switch (uniformity.variance) {
      case Variance::kUniform:
        return "";
      case Variance::kRow:
        return "/";
      case Variance::kLinear:
        return Join({uniformity.stride > 0 ? "+" : "", std::to_string(uniformity.stride)});
      default:
        return "!";
    }
  }

  // A line for the node and lines for the statements below it.
  void PrintNode(NodeIndex node) {
    if (node == kNoNode) return Line({"-"});
    if (_tree.Is(node, NodeKind::kDeclaration)) {
      for (const NodeIndex variable : _tree.GetChildren(node)) Line({"declare ", Declared(variable)});
      return;
    }
    Line({LineOf(node)});
    ++_depth;
    for (const NodeIndex statement : ListBelow(node)) PrintNode(statement);
    --_depth;
  }

  std::string LineOf(NodeIndex node) const {
    const auto child = [&](std::size_t i) { return _tree.GetChild(node, i); };
    const std::string_view name = _tree.GetName(node);
    std::string kind(GetKindName(_tree.nodes[node].kind));
    kind[0] = ToLower(kind[0]);
    switch (_tree.nodes[node].kind) {
      case NodeKind::kExpressionStatement:
        return Join({Expression(child(0)), ";", VarianceOf(node)});
      case NodeKind::kGroupSize:
      case NodeKind::kTuning:
      case NodeKind::kPrint:
      case NodeKind::kAssert:
        return Join({kind, " ", name, List("", node)});
      case NodeKind::kParameter:
      case NodeKind::kMember:
      case NodeKind::kFunctionParameter:
        return Join({kind, " ", Declared(node)});
      case NodeKind::kFunction:
        return Join({kind, " ", TypeName(child(0)), " ", name});
      case NodeKind::kIf:
      case NodeKind::kWhile:
      case NodeKind::kSwitch:
        return Join({kind, LeftApart(node), VarianceOf(node), " ", Expression(child(0))});
      case NodeKind::kFor:
        return Join(
            {kind, LeftApart(node), VarianceOf(node), " ", Expression(child(1)), " step ", Expression(child(2))});
      case NodeKind::kDoWhile:
        return Join({kind, LeftApart(node), VarianceOf(node), " ", Expression(child(1))});
      case NodeKind::kCase:
      case NodeKind::kReturn:
        return Join({kind, VarianceOf(node), " ", Expression(child(0))});
      case NodeKind::kSharedArray:
        return Join({kind, " ", TypeName(child(0)), " ", name, " ", Expression(child(1))});
      case NodeKind::kMakeLocal:
        return Join({kind, " ", name, " ", Expression(child(0)), " ", Expression(child(1))});
      default:
        return Join({kind, name.empty() ? "" : " ", Flags(node), name, VarianceOf(node)});
    }
  }

  // The children that have lines of their own.
  std::vector<NodeIndex> ListBelow(NodeIndex node) const {
    const auto children = _tree.GetChildren(node);
    std::size_t first = 0;
    switch (_tree.nodes[node].kind) {
      case NodeKind::kFor:
        return {children[0], children[3]};
      case NodeKind::kDoWhile:
        return {children[0]};
      case NodeKind::kFunction:
      case NodeKind::kIf:
      case NodeKind::kWhile:
      case NodeKind::kSwitch:
        first = 1;
        break;
      case NodeKind::kFile:
      case NodeKind::kParameters:
      case NodeKind::kStruct:
      case NodeKind::kKernel:
      case NodeKind::kBlock:
        break;
      default:
        return {};
    }
    std::vector<NodeIndex> below(children.begin() + static_cast<std::ptrdiff_t>(first), children.end());
    std::erase(below, kNoNode);
    return below;
  }

  std::string LeftApart(NodeIndex node) const {
    return _tables.uniformity && _tables.uniformity->isLeftApart[node] ? " apart" : "";
  }

  const SyntaxTree& _tree;
  const PrintTables& _tables;
  std::vector<Bool> _isExtension;
  std::string _text;
  std::size_t _depth = 0;
};

}  // namespace

std::string PrintTree(const SyntaxTree& tree, const PrintTables& tables) { return Printer(tree, tables).Print(); }

std::string PrintExpression(const SyntaxTree& tree, NodeIndex expression) {
  const PrintTables tables;
  return Printer(tree, tables).Expression(expression);
}

}  // namespace ostra::kernellanguage
