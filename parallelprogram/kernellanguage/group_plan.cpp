#include "parallelprogram/kernellanguage/group_plan.h"

#include <algorithm>
#include <utility>

#include "parallelprogram/kernellanguage/uniformity.h"

namespace ostra::kernellanguage {
namespace {

class Planner {
 public:
  Planner(const SyntaxTree& tree, const ResolvedTree& resolved) : _tree(tree), _resolved(resolved) {}

  GroupPlan Run() {
    _plan.isNeeded = IsNeeded();
    if (!_plan.isNeeded) return std::move(_plan);
    _uniformity = AnalyzeUniformity(_tree, _resolved, UniformityScope::kGroup);
    _plan.isCut.assign(_tree.nodes.size(), false);
    for (const NodeIndex function : _resolved.functions) {
      const NodeIndex barrier = Find(function, NodeKind::kBarrier);
      if (barrier != kNoNode) Fail(barrier, "groupSharedBarrier stands in a function: it belongs into the kernel", {});
    }
    Statement(_tree.GetChild(_tree.kernel, 0), false);
    return std::move(_plan);
  }

 private:
  Bool IsNeeded() const {
    for (NodeIndex node = 0; node < static_cast<NodeIndex>(_tree.nodes.size()); ++node) {
      const Meaning& meaning = _resolved.meaning[node];
      if (IsGroupCall(node)) return true;
      if (!_tree.Is(node, NodeKind::kName)) continue;
      if (meaning.kind == MeaningKind::kVariable && _tree.Is(meaning.target, NodeKind::kSharedArray)) return true;
    }
    return false;
  }

  Bool IsGroupCall(NodeIndex node) const {
    const Meaning& meaning = _resolved.meaning[node];
    return _tree.Is(node, NodeKind::kCall) && meaning.kind == MeaningKind::kWord && IsGroupWord(meaning.word);
  }

  // Statements that use a word of groups wait in it, as for a barrier.
  Bool HasGroupCall(NodeIndex node) const {
    if (node == kNoNode) return false;
    if (IsGroupCall(node)) return true;
    const auto children = _tree.GetChildren(node);
    return std::any_of(children.begin(), children.end(), [this](NodeIndex child) { return HasGroupCall(child); });
  }
  Bool IsWaiting(NodeIndex statement) const {
    return (_tree.Is(statement, NodeKind::kDeclaration) || _tree.Is(statement, NodeKind::kExpressionStatement)) &&
           HasGroupCall(statement);
  }

  void Fail(NodeIndex node, std::string text, std::vector<DiagnosticNote> notes) {
    if (_plan.errors.size() >= kMaxErrors) return;
    _plan.errors.push_back({.offset = _tree.nodes[node].offset, .text = std::move(text), .notes = std::move(notes)});
  }

  // The first statement of that kind in `node`.
  NodeIndex Find(NodeIndex node, NodeKind kind) const {
    if (node == kNoNode || IsExpression(_tree.nodes[node].kind)) return kNoNode;
    if (_tree.Is(node, kind) || (kind == NodeKind::kBarrier && IsWaiting(node))) return node;
    for (const NodeIndex child : _tree.GetChildren(node)) {
      if (const NodeIndex found = Find(child, kind); found != kNoNode) return found;
    }
    return kNoNode;
  }
  Bool Has(NodeIndex node, NodeKind kind) const { return Find(node, kind) != kNoNode; }

  // The first cut statement in `node` that has no other one inside.
  NodeIndex FindCut(NodeIndex node) const {
    if (node == kNoNode || !_plan.isCut[node]) return kNoNode;
    for (const NodeIndex child : _tree.GetChildren(node)) {
      if (const NodeIndex found = FindCut(child); found != kNoNode) return found;
    }
    return node;
  }

  void NeedSame(NodeIndex condition, NodeIndex body) {
    if (condition == kNoNode || _uniformity.Get(condition).IsSame()) return;
    const NodeIndex cut = FindCut(body);
    std::vector<DiagnosticNote> notes;
    if (cut != kNoNode) {
      notes.push_back({_tree.nodes[cut].offset, _tree.Is(cut, NodeKind::kBarrier) ? "the groupSharedBarrier"
                                                : IsWaiting(cut)
                                                    ? "the group waits for all of them here"
                                                    : "a groupSharedBarrier comes after what some leave here"});
    }
    for (const UniformityReason& reason : Explain(_tree, _resolved, _uniformity, condition))
      notes.push_back({_tree.nodes[reason.node].offset, reason.text});
    Fail(condition,
         "all invocations of a group must come to a groupSharedBarrier together, but this condition differs between "
         "them",
         std::move(notes));
  }

  // `isFollowed`: a barrier may come behind the statement.
  void Statement(NodeIndex node, Bool isFollowed) {
    if (node == kNoNode) return;
    const auto child = [&](std::size_t i) { return _tree.GetChild(node, i); };
    switch (_tree.nodes[node].kind) {
      case NodeKind::kBlock:
        return Block(node, isFollowed);
      case NodeKind::kIf:
        Statement(child(1), isFollowed);
        Statement(child(2), isFollowed);
        if (!IsCut(child(1)) && !IsCut(child(2))) return;
        _plan.isCut[node] = true;
        return NeedSame(child(0), IsCut(child(1)) ? child(1) : child(2));
      case NodeKind::kFor:
        return Loop(node, child(1), child(3), isFollowed);
      case NodeKind::kWhile:
        return Loop(node, child(0), child(1), isFollowed);
      case NodeKind::kDoWhile:
        return Loop(node, child(1), child(0), isFollowed);
      case NodeKind::kSwitch:
        return Switch(node, isFollowed);
      case NodeKind::kBarrier:
        _plan.isCut[node] = true;
        return;
      case NodeKind::kReturn:
        _plan.isCut[node] = isFollowed;
        return;
      case NodeKind::kBreak:
      case NodeKind::kContinue:
        _plan.isCut[node] = _isInCutLoop;
        return;
      default:
        if (IsWaiting(node)) _plan.isCut[node] = true;
        return;
    }
  }

  Bool IsCut(NodeIndex node) const { return node != kNoNode && _plan.isCut[node]; }

  void Block(NodeIndex node, Bool isFollowed) {
    const auto statements = _tree.GetChildren(node);
    std::size_t barriers = 0;  // statements with one
    for (const NodeIndex statement : statements) barriers += Has(statement, NodeKind::kBarrier) ? 1 : 0;
    for (const NodeIndex statement : statements) {
      barriers -= Has(statement, NodeKind::kBarrier) ? 1 : 0;
      Statement(statement, isFollowed || barriers > 0);
      if (IsCut(statement)) _plan.isCut[node] = true;
    }
  }

  void Loop(NodeIndex node, NodeIndex condition, NodeIndex body, Bool isFollowed) {
    const Bool isCut = Has(body, NodeKind::kBarrier) || (isFollowed && Has(body, NodeKind::kReturn));
    if (!isCut) return;  // its jumps are its own
    _plan.isCut[node] = true;
    const Bool wasInCutLoop = std::exchange(_isInCutLoop, true);
    Statement(body, true);
    _isInCutLoop = wasInCutLoop;
    NeedSame(condition, body);
  }

  void Switch(NodeIndex node, Bool isFollowed) {
    for (const NodeKind kind : {NodeKind::kBarrier, NodeKind::kReturn, NodeKind::kContinue}) {
      const Bool matters = kind == NodeKind::kBarrier || (kind == NodeKind::kReturn ? isFollowed : _isInCutLoop);
      const NodeIndex found = matters ? Find(node, kind) : kNoNode;
      if (found == kNoNode) continue;
      const Bool isBarrier = kind == NodeKind::kBarrier;
      return Fail(found,
                  isBarrier ? "groupSharedBarrier stands in a switch: write the cases as ifs"
                            : "a groupSharedBarrier comes after what some invocations leave in this switch: write the "
                              "cases as ifs",
                  {});
    }
  }

  const SyntaxTree& _tree;
  const ResolvedTree& _resolved;
  UniformityTable _uniformity;
  GroupPlan _plan;
  Bool _isInCutLoop = false;
};

}  // namespace

GroupPlan PlanGroups(const SyntaxTree& tree, const ResolvedTree& resolved) { return Planner(tree, resolved).Run(); }

}  // namespace ostra::kernellanguage
