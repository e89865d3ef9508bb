// Kernels that are slower in lanes because they are so short: one step of arithmetic whose results lie beside each
// other. Compilers make vector instructions of the loop over such a body by themselves, and without masks, as the loop
// ends where the guard does. Elements that the step picks up here and there they load as they compute their places;
// lanes would have to take the places out of a vector first.
#include <algorithm>

#include "parallelprogram/kernellanguage/lane_printer.h"

namespace ostra::kernellanguage {

// Whether the statement only sends away the invocations from a bound on: `if (i < bound) { plain }` or
// `if (i >= bound) return;`.
Bool LanePrinter::IsGuard(NodeIndex statement) const {
  const NodeIndex condition = Child(statement, 0);
  if (Child(statement, 2) != kNoNode || KindOf(condition) != NodeKind::kBinary ||
      FormOf(Child(condition, 0)) != Form::kLinear || FormOf(Child(condition, 1)) != Form::kShared)
    return false;
  NodeIndex inside = Child(statement, 1);
  if (_tree.nodes[condition].operation == Operation::kLess) return IsPlain(inside);
  if (_tree.nodes[condition].operation != Operation::kGreaterOrEqual) return false;
  if (KindOf(inside) == NodeKind::kBlock && _tree.GetChildren(inside).size() == 1) inside = Child(inside, 0);
  return KindOf(inside) == NodeKind::kReturn;
}

// Whether a value that differs between lanes is one that compilers compute in vectors.
Bool LanePrinter::IsPlainValue(NodeIndex expression) const {
  if (FormOf(expression) != Form::kLanes) return true;
  const Type& type = _types[TypeOf(expression)];
  if (type.kind != TypeKind::kScalar || type.scalar == Scalar::kBool) return false;
  return type.scalar == Scalar::kFloat32 || (IsInteger(type.scalar) && GetSize(type.scalar) <= 4);
}

Bool LanePrinter::IsPlain(NodeIndex node) const {
  const auto arePlain = [this](std::span<const NodeIndex> nodes) {
    return std::all_of(nodes.begin(), nodes.end(), [this](NodeIndex part) { return part == kNoNode || IsPlain(part); });
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
      return FormOf(node) != Form::kLanes;
    case NodeKind::kBinary: {
      const Operation operation = _tree.nodes[node].operation;
      const Bool isDivision = operation == Operation::kDivide || operation == Operation::kRemainder;
      if (isDivision && TypeOf(node) != GetScalarType(Scalar::kFloat32)) return false;
      [[fallthrough]];
    }
    case NodeKind::kCast:
    case NodeKind::kConstruct:
    case NodeKind::kUnary:
      return IsPlainValue(node) && arePlain(_tree.GetChildren(node));
    case NodeKind::kAssign: {
      const NodeIndex target = Child(node, 0);
      if (KindOf(target) == NodeKind::kIndex && _uniformity.Get(Child(target, 1)) != Uniformity{Variance::kLinear, 1})
        return false;
      return IsPlainValue(node) && arePlain(_tree.GetChildren(node));
    }
    case NodeKind::kIndex:
      return KindOf(Child(node, 0)) == NodeKind::kBuffer && IsPlainValue(node) && IsPlain(Child(node, 1));
    default:
      return false;
  }
}

Bool LanePrinter::IsOneStep(NodeIndex kernel) const {
  const auto statements = _tree.GetChildren(Child(kernel, 0));
  return std::all_of(statements.begin(), statements.end(), [this](NodeIndex statement) {
    return KindOf(statement) == NodeKind::kIf ? IsGuard(statement) : IsPlain(statement);
  });
}

}  // namespace ostra::kernellanguage
