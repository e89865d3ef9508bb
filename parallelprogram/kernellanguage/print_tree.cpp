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
    const std::string_view name = _tree.GetName(node);
    switch (entry.kind) {
      case NodeKind::kLiteral:
      case NodeKind::kName:
        return std::string(name);
      case NodeKind::kUniform:
        return Join({"uniform.", name});
      case NodeKind::kBuffer:
        return Join({"buffer.", name});
      case NodeKind::kLocalData:
        return List(Join({"local.", name}), node);
      case NodeKind::kUnary:
        return List(GetSpelling(entry.operation), node);
      case NodeKind::kPostfix:
        return List(Join({"postfix", GetSpelling(entry.operation)}), node);
      case NodeKind::kBinary:
        return List(GetSpelling(entry.operation), node);
      case NodeKind::kAssign:
        return List(Join({GetSpelling(entry.operation), "="}), node);
      case NodeKind::kConditional:
        return List("?", node);
      case NodeKind::kComma:
        return List(",", node);
      case NodeKind::kCall:
        return List(Join({"call ", name}), node);
      case NodeKind::kConstruct:
        return List("make", node);
      case NodeKind::kCast:
        return List("cast", node);
      case NodeKind::kMemberOf:
        return Join({Expression(_tree.GetChild(node, 0)), ".", name});
      case NodeKind::kIndex:
        return List("at", node);
      case NodeKind::kInitializerList:
        return List("list", node);
      default:
        return std::string(GetKindName(entry.kind));
    }
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
    const Node& entry = _tree.nodes[node];
    const std::string_view name = _tree.GetName(node);
    const auto child = [&](std::size_t i) { return _tree.GetChild(node, i); };
    if (entry.kind == NodeKind::kExpressionStatement) return Line({Expression(child(0)), ";", VarianceOf(node)});
    std::string kind(GetKindName(entry.kind));
    kind[0] = ToLower(kind[0]);
    std::size_t firstLine = 0;  // of the children, that gets a line of its own
    switch (entry.kind) {
      case NodeKind::kGroupSize:
      case NodeKind::kTuning:
        return Line({kind, " ", name, List("", node)});
      case NodeKind::kParameter:
      case NodeKind::kMember:
      case NodeKind::kFunctionParameter:
        return Line({kind, " ", Declared(node)});
      case NodeKind::kDeclaration:
        for (const NodeIndex variable : _tree.GetChildren(node)) Line({"declare ", Declared(variable)});
        return;
      case NodeKind::kFunction:
        Line({kind, " ", TypeName(child(0)), " ", name});
        firstLine = 1;
        break;
      case NodeKind::kIf:
      case NodeKind::kWhile:
      case NodeKind::kSwitch:
        Line({kind, LeftApart(node), VarianceOf(node), " ", Expression(child(0))});
        firstLine = 1;
        break;
      case NodeKind::kFor: {
        Line({kind, LeftApart(node), VarianceOf(node), " ", Expression(child(1)), " step ", Expression(child(2))});
        ++_depth;
        PrintNode(child(0));
        --_depth;
        firstLine = 3;
        break;
      }
      case NodeKind::kDoWhile:
        Line({kind, LeftApart(node), VarianceOf(node), " ", Expression(child(1))});
        ++_depth;
        PrintNode(child(0));
        --_depth;
        return;
      case NodeKind::kCase:
      case NodeKind::kReturn:
        return Line({kind, VarianceOf(node), " ", Expression(child(0))});
      case NodeKind::kPrint:
      case NodeKind::kAssert:
        return Line({kind, " ", name, List("", node)});
      case NodeKind::kSharedArray:
        return Line({kind, " ", TypeName(child(0)), " ", name, " ", Expression(child(1))});
      case NodeKind::kMakeLocal:
        return Line({kind, " ", name, " ", Expression(child(0)), " ", Expression(child(1))});
      default:
        Line({kind, name.empty() ? "" : " ", Flags(node), name, VarianceOf(node)});
        break;
    }
    ++_depth;
    const auto children = _tree.GetChildren(node);
    for (std::size_t i = firstLine; i < children.size(); ++i) {
      if (children[i] != kNoNode) PrintNode(children[i]);
    }
    --_depth;
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
