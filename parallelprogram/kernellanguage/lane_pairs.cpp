#include "parallelprogram/kernellanguage/lane_pairs.h"

#include <algorithm>
#include <unordered_set>

namespace ostra::kernellanguage {

namespace {

class PairedWork : LaneQuery {
 public:
  PairedWork(const LaneKernel& kernel, const LaneRows& rows, const LaneUses& uses)
      : LaneQuery(kernel), _rows(rows), _uses(uses) {}

  // Adds what a node and all below it do; false if it has no pairs.
  Bool Add(NodeIndex node, Bool isInLoop) {
    const Bool isLoop = IsLoop(KindOf(node));
    _hasLoop = _hasLoop || isLoop;
    isInLoop = isInLoop || isLoop;
    if (!HasPairs(node, isInLoop) || !HasPairedValue(node)) return false;
    const auto children = _tree.GetChildren(node);
    return std::all_of(children.begin(), children.end(),
                       [&](NodeIndex child) { return child == kNoNode || Add(child, isInLoop); });
  }
  std::optional<PairedNumbers> GetNumbers() const {
    return _hasLoop && _numbers.all > 0 ? std::optional(_numbers) : std::nullopt;
  }

 private:
  // Whether lanes that differ only leave the loop in the statement.
  Bool IsOnlyLeaving(NodeIndex statement) const {
    const NodeKind kind = KindOf(statement);
    if (kind == NodeKind::kBlock) {
      const auto statements = _tree.GetChildren(statement);
      return statements.size() == 1 && IsOnlyLeaving(statements[0]);
    }
    return kind == NodeKind::kBreak || kind == NodeKind::kReturn;
  }

  Bool IsNumber(TypeIndex type) const { return _types.IsScalar(type) || _types.IsVector(type); }

  Bool HasPairs(NodeIndex node, Bool isInLoop) {
    switch (KindOf(node)) {
      case NodeKind::kSwitch:
      case NodeKind::kContinue:
      case NodeKind::kLocalData:
        return false;
      case NodeKind::kIf:
        return !isInLoop || FormOf(Child(node, 0)) == LaneForm::kShared ||
               (Child(node, 2) == kNoNode && IsOnlyLeaving(Child(node, 1)));
      case NodeKind::kVariable:
        return AddVariable(node);
      case NodeKind::kName:
        AddUse(node);
        return true;
      case NodeKind::kIndex: {
        const Uniformity place = _uniformity.Get(Child(node, 1));
        const Bool isRun = place.IsSame() || place == Uniformity{Variance::kLinear, 1};
        return !_rows.IsInRows(node) && KindOf(Child(node, 0)) == NodeKind::kBuffer && (!isInLoop || isRun);
      }
      case NodeKind::kAssign:
        // Stored lane by lane.
        return KindOf(Child(node, 0)) != NodeKind::kMemberOf || KindOf(Child(Child(node, 0), 0)) != NodeKind::kIndex;
      case NodeKind::kCall:
        return IsPairedCall(node);
      default:
        return true;
    }
  }

  Bool AddVariable(NodeIndex variable) {
    const TypeIndex type = TypeOf(variable);
    if (_rows.IsInRows(variable)) return false;
    if (FormOf(variable) != LaneForm::kLanes) return true;
    _numbers.all += CountComponents(variable);
    return IsNumber(type);
  }

  void AddUse(NodeIndex name) {
    const Meaning& meaning = _resolved.meaning[name];
    if (meaning.kind != MeaningKind::kVariable || FormOf(meaning.target) != LaneForm::kLanes) return;
    if (_uses.IsKeptByLoop(name, meaning.target) && _kept.insert(meaning.target).second)
      _numbers.kept += CountComponents(meaning.target);
  }

  UInt32 CountComponents(NodeIndex variable) const { return std::max<UInt32>(1, _types[TypeOf(variable)].count); }

  Bool IsPairedCall(NodeIndex call) const {
    const Meaning& meaning = _resolved.meaning[call];
    if (meaning.kind == MeaningKind::kFunction) return true;
    if (IsAtomic(meaning.word)) return false;
    if (FormOf(call) != LaneForm::kLanes) return true;
    const Bool isClamp = meaning.word == WordId::kClamp || meaning.word == WordId::kMin || meaning.word == WordId::kMax;
    return !GetOverloads(meaning.word).empty() && !IsElementary(meaning.word) &&
           (!isClamp || IsFloating(_types[TypeOf(call)].scalar));
  }

  // Structs, matrices and numbers of other sizes than 32 bits have no pairs.
  Bool HasPairedValue(NodeIndex node) const {
    const Bool isValue = IsExpression(KindOf(node)) || KindOf(node) == NodeKind::kFunctionParameter;
    if (!isValue || FormOf(node) != LaneForm::kLanes || TypeOf(node) == kVoidType) return true;
    const Scalar scalar = _types[TypeOf(node)].scalar;
    return IsNumber(TypeOf(node)) && (scalar == Scalar::kBool || GetSize(scalar) == 4);
  }

  const LaneRows& _rows;
  const LaneUses& _uses;
  PairedNumbers _numbers;
  std::unordered_set<NodeIndex> _kept;  // variables
  Bool _hasLoop = false;
};

}  // namespace

std::optional<PairedNumbers> CountPairedNumbers(const LaneKernel& kernel, const LaneRows& rows, const LaneUses& uses) {
  PairedWork work(kernel, rows, uses);
  for (const NodeIndex function : kernel.resolved.functions) {
    if (!work.Add(function, true)) return {};
  }
  return work.Add(kernel.tree.kernel, false) ? work.GetNumbers() : std::nullopt;
}

}  // namespace ostra::kernellanguage
