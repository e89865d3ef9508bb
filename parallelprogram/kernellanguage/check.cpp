#include "parallelprogram/kernellanguage/check.h"

#include <map>

#include "parallelprogram/kernellanguage/evaluation_order.h"
#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {
namespace {

class Checker {
 public:
  Checker(const SyntaxTree& tree, const ResolvedTree& resolved) : _tree(tree), _resolved(resolved) {}

  CheckResult Run() {
    for (const NodeIndex function : _resolved.functions) {
      const NodeIndex body = _tree.GetChildren(function).back();
      Statement(body);
      if (_resolved.type[function] != kVoidType && CanEnd(body)) {
        Warn(function, Join({"the end of \"", _tree.GetName(function), "\" can be reached without a return"}));
      }
    }
    Statement(_tree.GetChild(_tree.kernel, 0));
    for (const auto& [node, variable] : FindEvaluationOrder(_tree, _resolved).unordered)
      Fail(node, DescribeUnordered(_tree, variable));
    return std::move(_result);
  }

 private:
  Bool IsStopped() const { return _result.notUnderstood.has_value() || _result.errors.size() >= kMaxErrors; }
  void Fail(NodeIndex node, std::string text, std::vector<DiagnosticNote> notes = {}) {
    if (IsStopped()) return;
    _result.errors.push_back({.offset = _tree.nodes[node].offset, .text = std::move(text), .notes = std::move(notes)});
  }
  void Warn(NodeIndex node, std::string text) {
    if (_result.warnings.size() >= kMaxErrors) return;
    _result.warnings.push_back(
        {.severity = Severity::kWarning, .offset = _tree.nodes[node].offset, .text = std::move(text)});
  }
  void Stop(NodeIndex node, std::string reason) {
    if (!IsStopped()) _result.notUnderstood = NotUnderstood{_tree.nodes[node].offset, std::move(reason)};
  }

  void Statement(NodeIndex node) {
    if (node == kNoNode || IsStopped()) return;
    const auto child = [&](std::size_t i) { return _tree.GetChild(node, i); };
    switch (_tree.nodes[node].kind) {
      case NodeKind::kBlock:
        for (const NodeIndex statement : _tree.GetChildren(node)) Statement(statement);
        break;
      case NodeKind::kIf:
        Statement(child(1));
        Statement(child(2));
        break;
      case NodeKind::kFor:
        Loop(child(3));
        break;
      case NodeKind::kWhile:
        Loop(child(1));
        break;
      case NodeKind::kDoWhile:
        Loop(child(0));
        break;
      case NodeKind::kSwitch:
        Switch(node);
        break;
      case NodeKind::kCase:
      case NodeKind::kDefault:
        if (_switches == 0)
          Fail(node, "a label outside of a switch");
        else
          Stop(node, "a label inside of another statement than its switch");
        break;
      case NodeKind::kBreak:
        if (_loops + _switches == 0) Fail(node, "\"break\" outside of loops and switches");
        break;
      case NodeKind::kContinue:
        if (_loops == 0) Fail(node, "\"continue\" outside of loops");
        break;
      default:
        break;
    }
  }

  void Loop(NodeIndex body) {
    ++_loops;
    Statement(body);
    --_loops;
  }

  void Switch(NodeIndex node) {
    const NodeIndex block = _tree.GetChild(node, 1);
    std::map<std::string_view, NodeIndex> labels;
    NodeIndex initialized = kNoNode, defaultLabel = kNoNode;
    Bool hasLabel = false;
    ++_switches;
    for (const NodeIndex statement : _tree.GetChildren(block)) {
      const NodeKind kind = _tree.nodes[statement].kind;
      const Bool isLabel = kind == NodeKind::kCase || kind == NodeKind::kDefault;
      if (!isLabel) {
        if (!hasLabel) Stop(statement, "a statement before the labels of its switch");
        if (kind == NodeKind::kDeclaration && initialized == kNoNode) initialized = FindInitialized(statement);
        Statement(statement);
        continue;
      }
      hasLabel = true;
      if (initialized != kNoNode) {
        Fail(statement, "this label jumps over a variable with a value: put braces around the statements of the case",
             {{_tree.nodes[initialized].offset, "the variable is declared here"}});
      }
      if (kind == NodeKind::kDefault) {
        if (defaultLabel != kNoNode) Fail(statement, "a second \"default\" in one switch");
        defaultLabel = statement;
      } else if (_tree.Is(_tree.GetChild(statement, 0), NodeKind::kLiteral)) {
        const auto [found, isNew] = labels.emplace(_tree.GetName(_tree.GetChild(statement, 0)), statement);
        if (!isNew) {
          Fail(statement, Join({"a second \"case ", found->first, "\" in one switch"}),
               {{_tree.nodes[found->second].offset, "the first one"}});
        }
      }
    }
    --_switches;
  }

  NodeIndex FindInitialized(NodeIndex declaration) const {
    for (const NodeIndex variable : _tree.GetChildren(declaration)) {
      if (_tree.GetChild(variable, 2) != kNoNode) return variable;
    }
    return kNoNode;
  }

  // Whether control can go on behind the statement.
  Bool CanEnd(NodeIndex node) const {
    if (node == kNoNode) return true;
    const auto child = [&](std::size_t i) { return _tree.GetChild(node, i); };
    switch (_tree.nodes[node].kind) {
      case NodeKind::kReturn:
        return false;
      case NodeKind::kBlock:
        for (const NodeIndex statement : _tree.GetChildren(node)) {
          if (!CanEnd(statement)) return false;
        }
        return true;
      case NodeKind::kIf:
        return CanEnd(child(1)) || CanEnd(child(2));
      case NodeKind::kDoWhile:
        return CanEnd(child(0)) || HasBreak(child(0));
      case NodeKind::kFor:
        return !IsEndless(child(1)) || HasBreak(child(3));
      case NodeKind::kWhile:
        return !IsEndless(child(0)) || HasBreak(child(1));
      case NodeKind::kSwitch: {
        const auto statements = _tree.GetChildren(child(1));
        Bool hasDefault = false;
        for (const NodeIndex statement : statements) hasDefault = hasDefault || _tree.Is(statement, NodeKind::kDefault);
        return !hasDefault || HasBreak(child(1)) || CanEnd(statements.back());
      }
      default:
        return true;
    }
  }

  Bool IsEndless(NodeIndex condition) const {
    return condition == kNoNode || (_tree.Is(condition, NodeKind::kLiteral) && _tree.GetName(condition) == "true");
  }

  // A break that leaves the statement around `node`.
  Bool HasBreak(NodeIndex node) const {
    if (node == kNoNode) return false;
    switch (_tree.nodes[node].kind) {
      case NodeKind::kBreak:
        return true;
      case NodeKind::kBlock:
      case NodeKind::kIf:
        for (const NodeIndex child : _tree.GetChildren(node)) {
          if (HasBreak(child)) return true;
        }
        return false;
      default:
        return false;
    }
  }

  const SyntaxTree& _tree;
  const ResolvedTree& _resolved;
  CheckResult _result;
  Int _loops = 0, _switches = 0;
};

}  // namespace

CheckResult Check(const SyntaxTree& tree, const ResolvedTree& resolved) { return Checker(tree, resolved).Run(); }

}  // namespace ostra::kernellanguage
