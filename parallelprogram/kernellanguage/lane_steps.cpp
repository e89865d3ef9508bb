#include "parallelprogram/kernellanguage/lane_steps.h"

#include <algorithm>

namespace ostra::kernellanguage {

namespace {

class Steps : LaneQuery {
 public:
  explicit Steps(const LaneKernel& kernel) : LaneQuery(kernel) {}

  // Whether the statement only sends away the invocations from a bound on: `if (i < bound) { plain }` or
  // `if (i >= bound) return;`.
  Bool IsGuard(NodeIndex statement) const {
    const NodeIndex condition = Child(statement, 0);
    if (Child(statement, 2) != kNoNode || KindOf(condition) != NodeKind::kBinary ||
        FormOf(Child(condition, 0)) != LaneForm::kLinear || FormOf(Child(condition, 1)) != LaneForm::kShared)
      return false;
    NodeIndex inside = Child(statement, 1);
    if (OperationOf(condition) == Operation::kLess) return IsPlain(inside);
    if (OperationOf(condition) != Operation::kGreaterOrEqual) return false;
    if (KindOf(inside) == NodeKind::kBlock && _tree.GetChildren(inside).size() == 1) inside = Child(inside, 0);
    return KindOf(inside) == NodeKind::kReturn;
  }

  Bool IsPlain(NodeIndex node) const {
    const auto arePlain = [this](std::span<const NodeIndex> nodes) {
      return std::all_of(nodes.begin(), nodes.end(),
                         [this](NodeIndex part) { return part == kNoNode || IsPlain(part); });
    };
    switch (KindOf(node)) {
      case NodeKind::kBlock:
      case NodeKind::kDeclaration:
      case NodeKind::kVariable:
      case NodeKind::kExpressionStatement:
        return arePlain(_tree.GetChildren(node));
      case NodeKind::kType:
      case NodeKind::kEmpty:
      case NodeKind::kLiteral:
      case NodeKind::kUniform:
        return true;
      case NodeKind::kName:
        return IsPlainValue(node);
      case NodeKind::kCall:
      case NodeKind::kMemberOf:
        return FormOf(node) != LaneForm::kLanes;
      case NodeKind::kBinary:
      case NodeKind::kCast:
      case NodeKind::kConstruct:
      case NodeKind::kUnary:
        return !IsIntegerDivision(node) && IsPlainValue(node) && arePlain(_tree.GetChildren(node));
      case NodeKind::kAssign:
        return !IsScattered(Child(node, 0)) && IsPlainValue(node) && arePlain(_tree.GetChildren(node));
      case NodeKind::kIndex:
        return KindOf(Child(node, 0)) == NodeKind::kBuffer && IsPlainValue(node) && IsPlain(Child(node, 1));
      default:
        return false;
    }
  }

 private:
  Bool IsIntegerDivision(NodeIndex node) const {
    const Operation operation = OperationOf(node);
    const Bool isDivision = operation == Operation::kDivide || operation == Operation::kRemainder;
    return isDivision && TypeOf(node) != GetScalarType(Scalar::kFloat32);
  }
  // Whether lanes that lie side by side store to elements that do not.
  Bool IsScattered(NodeIndex target) const {
    return KindOf(target) == NodeKind::kIndex && _uniformity.Get(Child(target, 1)) != Uniformity{Variance::kLinear, 1};
  }
  // Whether a value that differs between lanes is one that compilers compute in vectors.
  Bool IsPlainValue(NodeIndex expression) const {
    if (FormOf(expression) != LaneForm::kLanes) return true;
    const Type& type = _types[TypeOf(expression)];
    if (type.kind != TypeKind::kScalar || type.scalar == Scalar::kBool) return false;
    return type.scalar == Scalar::kFloat32 || (IsInteger(type.scalar) && GetSize(type.scalar) <= 4);
  }
};

}  // namespace

Bool IsOneStep(const LaneKernel& kernel) {
  const Steps steps(kernel);
  const auto statements = kernel.tree.GetChildren(kernel.tree.GetChild(kernel.tree.kernel, 0));
  return std::all_of(statements.begin(), statements.end(), [&](NodeIndex statement) {
    return kernel.tree.Is(statement, NodeKind::kIf) ? steps.IsGuard(statement) : steps.IsPlain(statement);
  });
}

}  // namespace ostra::kernellanguage
