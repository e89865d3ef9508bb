#include "parallelprogram/kernellanguage/plain_kernel.h"

#include <algorithm>
#include <utility>

#include "parallelprogram/kernellanguage/changes.h"
#include "parallelprogram/kernellanguage/literal.h"
#include "parallelprogram/kernellanguage/remainders.h"

namespace ostra::kernellanguage {
namespace {

// Marks what the kernel needs: functions, structs and constants, and what these need.
class Marker {
 public:
  Marker(const SyntaxTree& tree, const ResolvedTree& resolved)
      : _tree(tree), _resolved(resolved), _isUsed(tree.nodes.size(), false) {}

  void FindUsed(NodeIndex node) {
    if (node == kNoNode) return;
    const NodeIndex target = _resolved.meaning[node].target;
    FindUsedType(_resolved.type[node]);
    FindUsedType(_resolved.converted[node]);
    if (target != kNoNode && !_isUsed[target]) {
      const NodeKind kind = _tree.nodes[target].kind;
      if (kind == NodeKind::kFunction || kind == NodeKind::kVariable) {
        _isUsed[target] = true;
        FindUsed(target);
      }
    }
    for (const NodeIndex child : _tree.GetChildren(node)) FindUsed(child);
  }

  std::vector<Bool> Take() { return std::move(_isUsed); }

 private:
  void FindUsedType(TypeIndex type) {
    const Type& kind = _resolved.types[type];
    if (kind.kind == TypeKind::kArray || kind.kind == TypeKind::kBuffer) return FindUsedType(kind.element);
    if (kind.kind != TypeKind::kStruct || _isUsed[kind.declaration]) return;
    _isUsed[kind.declaration] = true;
    for (const NodeIndex member : _tree.GetChildren(kind.declaration)) FindUsedType(_resolved.type[member]);
  }

  const SyntaxTree& _tree;
  const ResolvedTree& _resolved;
  std::vector<Bool> _isUsed;
};

std::vector<Bool> FindUsed(const SyntaxTree& tree, const ResolvedTree& resolved) {
  Marker marker(tree, resolved);
  marker.FindUsed(tree.kernel);
  marker.FindUsed(tree.parameters);
  return marker.Take();
}

std::set<NodeIndex> FindFileConstants(const SyntaxTree& tree) {
  std::set<NodeIndex> constants;
  for (const NodeIndex item : tree.GetChildren(tree.root))
    if (item != kNoNode && tree.Is(item, NodeKind::kDeclaration))
      for (const NodeIndex variable : tree.GetChildren(item)) constants.insert(variable);
  return constants;
}

}  // namespace

std::set<NodeIndex> FindStoredStructs(const SyntaxTree& tree, const ResolvedTree& resolved) {
  std::set<NodeIndex> found;
  const auto add = [&](auto&& self, TypeIndex type) -> void {
    while (resolved.types[type].kind == TypeKind::kArray) type = resolved.types[type].element;
    const Type& kind = resolved.types[type];
    if (kind.kind != TypeKind::kStruct || !found.insert(kind.declaration).second) return;
    for (const NodeIndex member : tree.GetChildren(kind.declaration)) self(self, resolved.type[member]);
  };
  for (const NodeIndex parameter : resolved.parameters) {
    const Type& type = resolved.types[resolved.type[parameter]];
    if (type.kind == TypeKind::kBuffer) add(add, type.element);
  }
  return found;
}

Bool IsTruncOfDouble(const ResolvedTree& resolved, NodeIndex node) {
  return resolved.meaning[node].kind == MeaningKind::kWord && resolved.meaning[node].word == WordId::kTrunc &&
         resolved.type[node] == kDoubleType;
}

Bool IsComparisonOfVectors(const SyntaxTree& tree, const ResolvedTree& resolved, NodeIndex node) {
  const Operation operation = tree.nodes[node].operation;
  const Bool isEquality = operation == Operation::kEqual || operation == Operation::kNotEqual;
  return tree.Is(node, NodeKind::kBinary) && isEquality &&
         resolved.types.IsVector(resolved.converted[tree.GetChild(node, 0)]);
}

PlainKernel::PlainKernel(const AnalyzedKernel& kernel, const PlainOptions& options)
    : sources(kernel.sources),
      tree(kernel.tree),
      resolved(kernel.resolved),
      types(kernel.resolved.types),
      options(options),
      order(FindEvaluationOrder(tree, resolved)),
      openRemainders(options.isForGpu ? FindOpenRemainders(tree, resolved) : std::set<NodeIndex>()),
      storedStructs(FindStoredStructs(tree, resolved)),
      fileConstants(FindFileConstants(tree)),
      isUsed(FindUsed(tree, resolved)) {}

std::optional<UInt32> PlainKernel::FindNumber(NodeIndex node) const {
  LiteralValue value;
  if (GetKind(node) != NodeKind::kLiteral || !ParseLiteral(tree.GetName(node), value) || !IsInteger(value.scalar))
    return std::nullopt;
  return static_cast<UInt32>(value.integer);
}

Bool PlainKernel::IsSmall(TypeIndex type) const {
  if (!options.isForGpu || !types.IsScalar(type)) return false;
  const Scalar scalar = types[type].scalar;
  return IsInteger(scalar) && scalar != Scalar::kBool && GetSize(scalar) < 4;
}

Bool PlainKernel::IsStoredSmall(NodeIndex place) const {
  if (!IsSmall(resolved.type[place])) return false;
  if (GetKind(place) == NodeKind::kIndex) place = GetChild(place, 0);
  if (GetKind(place) == NodeKind::kBuffer) return true;
  return GetKind(place) == NodeKind::kMemberOf && resolved.meaning[place].kind == MeaningKind::kMember &&
         storedStructs.contains(types[resolved.type[GetChild(place, 0)]].declaration);
}

Bool PlainKernel::IsBoolComponent(NodeIndex place) const {
  const Bool isPart = GetKind(place) == NodeKind::kIndex || (GetKind(place) == NodeKind::kMemberOf &&
                                                             resolved.meaning[place].kind == MeaningKind::kComponent);
  return isPart && IsBoolVector(resolved.type[GetChild(place, 0)]);
}

Bool PlainKernel::IsDivision(NodeIndex node) const {
  const Operation operation = tree.nodes[node].operation;
  const NodeKind kind = GetKind(node);
  if ((kind != NodeKind::kBinary && kind != NodeKind::kAssign) ||
      (operation != Operation::kDivide && operation != Operation::kRemainder))
    return false;
  const NodeIndex divisor = GetChild(node, 1);
  const TypeIndex type = resolved.converted[divisor];
  const Scalar scalar = types[type].scalar;
  const Bool isWide = IsLongInteger(scalar);
  const Bool isWhole = isWide || scalar == Scalar::kInt32 || scalar == Scalar::kUInt32;
  if (!(types.IsScalar(type) || types.IsVector(type)) || !isWhole) return false;
  return FindNumber(divisor).value_or(0) == 0;
}

Bool PlainKernel::MayOverflow(NodeIndex division) const {
  const NodeIndex left = GetChild(division, 0);
  return IsDivision(division) && IsSignedInteger(types[resolved.converted[GetChild(division, 1)]].scalar) &&
         GetKind(left) != NodeKind::kLiteral;
}

TypeIndex PlainKernel::GetDividendType(NodeIndex division) const {
  const NodeIndex left = GetChild(division, 0);
  return GetKind(division) == NodeKind::kBinary || resolved.computed[division] == kUnknownType
             ? resolved.converted[left]
             : resolved.computed[division];
}

NodeIndex PlainKernel::FindRoot(NodeIndex place) const { return resolved.meaning[FindPlaceRoot(tree, place)].target; }

void PlainKernel::CollectNames(NodeIndex node, std::set<NodeIndex>& names) const {
  if (node == kNoNode) return;
  const NodeKind kind = GetKind(node);
  if (kind == NodeKind::kName || kind == NodeKind::kBuffer) names.insert(resolved.meaning[node].target);
  for (const NodeIndex child : tree.GetChildren(node)) CollectNames(child, names);
}

Bool PlainKernel::IsStructOfArrays(NodeIndex node) const {
  if (GetKind(node) != NodeKind::kConstruct || types[resolved.type[node]].kind != TypeKind::kStruct) return false;
  const auto children = tree.GetChildren(node);
  return std::any_of(children.begin() + 1, children.end(),
                     [this](NodeIndex child) { return types[resolved.type[child]].kind == TypeKind::kArray; });
}

}  // namespace ostra::kernellanguage
