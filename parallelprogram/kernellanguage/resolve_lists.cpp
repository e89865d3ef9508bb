#include "parallelprogram/kernellanguage/resolve_lists.h"

#include <algorithm>

namespace ostra::kernellanguage {

void ResolveLists::ReadList(NodeIndex list, TypeIndex type) {
  SetType(list, type);
  switch (Get(type).kind) {
    case TypeKind::kArray:
      return ReadElements(list, type);
    case TypeKind::kStruct:
      return ReadMembers(list, type);
    case TypeKind::kVector:
    case TypeKind::kMatrix:
      return ReadComponents(list, type);
    default:
      break;
  }
  const auto values = _tree.GetChildren(list);
  if (!IsScalar(type) || values.size() != 1 || _tree.Is(values[0], NodeKind::kInitializerList)) return StopList(list);
  Extend(list);
  ReadElement(values[0], type);
}

void ResolveLists::ReadElements(NodeIndex list, TypeIndex array) {
  const auto values = _tree.GetChildren(list);
  const Type kind = Get(array);
  if (values.size() > kind.count) {
    // Braces inside may be left out.
    if (IsAggregate(kind.element)) return StopList(list);
    Fail(values[kind.count], Join({"more values than the ", std::to_string(kind.count), " elements of the array"}));
    return;
  }
  for (const NodeIndex value : values) ReadElement(value, kind.element);
}

void ResolveLists::ReadMembers(NodeIndex list, TypeIndex type) {
  const auto values = _tree.GetChildren(list), members = _tree.GetChildren(Get(type).declaration);
  if (values.size() > members.size()) {
    if (std::any_of(members.begin(), members.end(), [&](NodeIndex m) { return IsAggregate(_resolved.type[m]); }))
      return StopList(list);
    Fail(values[members.size()],
         Join({"more values than the ", std::to_string(members.size()), " members of ", TypeName(type)}));
    return;
  }
  for (std::size_t i = 0; i < values.size(); ++i) ReadElement(values[i], _resolved.type[members[i]]);
}

// As the arguments of vec3( ) or mat3( ); the columns of a matrix may have braces of their own.
void ResolveLists::ReadComponents(NodeIndex list, TypeIndex type) {
  const auto values = _tree.GetChildren(list);
  const Type kind = Get(type);
  Extend(list);
  const auto isList = [this](NodeIndex value) { return _tree.Is(value, NodeKind::kInitializerList); };
  if (std::any_of(values.begin(), values.end(), isList)) {
    if (kind.kind != TypeKind::kMatrix || values.size() != kind.count) {
      StopList(list);
      return;
    }
    for (const NodeIndex value : values) ReadElement(value, GetVectorType(Scalar::kFloat32, kind.count));
    return;
  }
  Bool isKnown = false;
  _expressions.ReadArguments(values, isKnown);
  if (!isKnown) return;
  const UInt32 count = kind.kind == TypeKind::kMatrix ? kind.count * kind.count : kind.count;
  const UInt32 given = _construction.CountComponents(type, values);
  if (given != count) {
    // C++ may take it for something else.
    if (values.empty() || given != 0) StopList(list);
    return;
  }
  _construction.ConvertComponents(values, kind.kind == TypeKind::kMatrix ? Scalar::kFloat32 : kind.scalar);
}

// In braces C++ refuses conversions that may lose something, and leaves braces out.
void ResolveLists::ReadElement(NodeIndex value, TypeIndex type) {
  if (IsStopped()) return;
  if (_tree.Is(value, NodeKind::kInitializerList)) return ReadList(value, type);
  const TypeIndex given = _expressions.Expression(value);
  if (given == type && Get(type).kind == TypeKind::kArray) Extend(value);
  if (given == kUnknownType || given == type || IsStopped()) return;
  const auto number = _constants.Evaluate(value);
  const Bool fits = number && IsScalar(given) && Get(given).scalar == Scalar::kInt32 && IsScalar(type) &&
                    (type == kFloatType || type == kDoubleType || (type == kUIntType && *number >= 0)) &&
                    *number < (1 << 24) && *number > -(1 << 24);
  if (!fits) {
    if (!IsScalar(type) && !IsVector(type)) {
      Stop(value, Join({"a ", TypeName(given), " for a ", TypeName(type), " in braces"}));
      return;
    }
    Extend(value);
    _conversions.Convert(value, type, "an element");
    return;
  }
  SetConverted(value, type);
}

}  // namespace ostra::kernellanguage
