// Kernels that run two vectors at a time where there are registers for them (ostra/math/lanes/pairs.inl): short loops
// of arithmetic, each step of which waits for the one before. Loops that pick up elements, look up textures or go
// different ways have other things to wait for.
#include <algorithm>

#include "parallelprogram/kernellanguage/lane_printer.h"

namespace ostra::kernellanguage {
namespace {

// Whether lanes that differ only leave the loop in the statement.
Bool IsOnlyLeaving(const SyntaxTree& tree, NodeIndex statement) {
  if (tree.Is(statement, NodeKind::kBlock)) {
    const auto statements = tree.GetChildren(statement);
    return statements.size() == 1 && IsOnlyLeaving(tree, statements[0]);
  }
  return tree.Is(statement, NodeKind::kBreak) || tree.Is(statement, NodeKind::kReturn);
}

}  // namespace

Bool LanePrinter::CanBePaired(NodeIndex node, Bool isInLoop, PairedWork& work) const {
  const NodeKind kind = KindOf(node);
  const Bool isInLanes = FormOf(node) == Form::kLanes;
  const Type& type = _types[TypeOf(node)];
  const Bool isNumber = type.kind == TypeKind::kScalar || type.kind == TypeKind::kVector;
  switch (kind) {
    case NodeKind::kFor:
    case NodeKind::kWhile:
    case NodeKind::kDoWhile:
      isInLoop = true;
      work.hasLoop = true;
      break;
    case NodeKind::kSwitch:
    case NodeKind::kContinue:
    case NodeKind::kLocalData:
      return false;
    case NodeKind::kIf:
      if (isInLoop && FormOf(Child(node, 0)) != Form::kShared &&
          (Child(node, 2) != kNoNode || !IsOnlyLeaving(_tree, Child(node, 1))))
        return false;
      break;
    case NodeKind::kVariable:
      if (_isInRows[node] || (isInLanes && !isNumber)) return false;
      if (isInLanes) work.numberCount += std::max<UInt32>(1, type.count);
      break;
    case NodeKind::kIndex: {
      const Uniformity place = _uniformity.Get(Child(node, 1));
      const Bool isRun = place.IsSame() || place == Uniformity{Variance::kLinear, 1};
      if (_isInRows[node] || KindOf(Child(node, 0)) != NodeKind::kBuffer || (isInLoop && !isRun)) return false;
      break;
    }
    case NodeKind::kAssign:
      // Stored lane by lane.
      if (KindOf(Child(node, 0)) == NodeKind::kMemberOf && KindOf(Child(Child(node, 0), 0)) == NodeKind::kIndex)
        return false;
      break;
    case NodeKind::kCall: {
      const Meaning& meaning = _resolved.meaning[node];
      if (meaning.kind == MeaningKind::kFunction) break;
      const Bool isClamp =
          meaning.word == WordId::kClamp || meaning.word == WordId::kMin || meaning.word == WordId::kMax;
      if (IsAtomic(meaning.word)) return false;
      if (isInLanes && (GetOverloads(meaning.word).empty() || IsElementary(meaning.word))) return false;
      if (isInLanes && isClamp && !IsFloating(type.scalar)) return false;
      break;
    }
    default:
      break;
  }
  // Structs, matrices and numbers of other sizes than 32 bits have no pairs.
  const Bool isValue = IsExpression(kind) || kind == NodeKind::kFunctionParameter;
  const Bool hasPairs = isNumber && (type.scalar == Scalar::kBool || GetSize(type.scalar) == 4);
  if (isValue && isInLanes && type.kind != TypeKind::kVoid && !hasPairs) return false;
  const auto children = _tree.GetChildren(node);
  return std::all_of(children.begin(), children.end(),
                     [&](NodeIndex child) { return child == kNoNode || CanBePaired(child, isInLoop, work); });
}

UInt32 LanePrinter::CountPairedNumbers() const {
  PairedWork work;
  for (const NodeIndex function : _resolved.functions) {
    if (!CanBePaired(function, true, work)) return 0;
  }
  return CanBePaired(_tree.kernel, false, work) && work.hasLoop ? work.numberCount : 0;
}

}  // namespace ostra::kernellanguage
