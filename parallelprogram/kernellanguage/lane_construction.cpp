#include "parallelprogram/kernellanguage/lane_construction.h"

#include "parallelprogram/kernellanguage/lane_expressions.h"
#include "parallelprogram/kernellanguage/lane_values.h"

namespace ostra::kernellanguage {

LaneValue LaneConstruction::Construct(NodeIndex node) {
  const TypeIndex type = TypeOf(node);
  const auto arguments = _tree.GetChildren(node).subspan(1);
  if (KindOf(node) == NodeKind::kCast || (_types.IsScalar(type) && arguments.size() == 1))
    return _uses.values.Convert(_uses.expressions.Evaluate(arguments[0]), type, node);
  const std::string lanes = LaneType(type, node);
  if (arguments.size() == 1 && TypeOf(arguments[0]) == type) return _uses.expressions.Evaluate(arguments[0]);
  if (IsAggregate(type)) return MatrixOf(node);
  UInt32 count = 0;
  std::string list;
  for (const NodeIndex argument : arguments) {
    const TypeIndex wanted = _resolved.converted[argument];
    count += _types[wanted].count;
    LaneValue value = _uses.expressions.Evaluate(argument);
    const TypeIndex component = GetVectorType(_types[type].scalar, _types[wanted].count);
    list += Join({list.empty() ? "" : ", ",
                  _uses.values.ToLanes(_uses.values.Convert(std::move(value), component, argument), argument)});
  }
  const Bool isSpread = arguments.size() == 1 && count == 1;
  if (!_types.IsVector(type) || (!isSpread && count != _types[type].count))
    Refuse(node, Join({"a ", _types.GetName(type), " made of these values"}));
  return {Join({lanes, "(", list, ")"}), LaneForm::kLanes, type};
}

// A matrix of its columns.
LaneValue LaneConstruction::MatrixOf(NodeIndex node) {
  std::string list;
  for (const NodeIndex column : _tree.GetChildren(node).subspan(1))
    list += Join({list.empty() ? "" : ", ", _uses.expressions.InLanes(column)});
  return {Join({LaneType(TypeOf(node), node), "(", list, ")"}), LaneForm::kLanes, TypeOf(node)};
}

LaneValue LaneConstruction::StructOf(NodeIndex list) {
  const TypeIndex type = TypeOf(list);
  const std::string lanes = LaneType(type, list), result = NewName("struct");
  if (HasRefused()) return {"", LaneForm::kLanes, type};
  Line({lanes, " ", result, "{};"});
  SetParts(result, type, list);
  return {result, LaneForm::kLanes, type};
}

void LaneConstruction::SetParts(const std::string& place, TypeIndex type, NodeIndex list) {
  const auto values = _tree.GetChildren(list);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const Bool isArray = _types[type].kind == TypeKind::kArray;
    const NodeIndex member = isArray ? kNoNode : Child(_types[type].declaration, i);
    const TypeIndex own = isArray ? _types[type].element : TypeOf(member);
    const std::string part = isArray ? Join({place, "[", std::to_string(i), "]"}) : Join({place, ".", NameOf(member)});
    if (KindOf(values[i]) == NodeKind::kInitializerList)
      SetParts(part, own, values[i]);
    else
      Line(
          {part, " = ",
           _uses.values.ToLanes(_uses.values.Convert(_uses.expressions.Evaluate(values[i]), own, values[i]), values[i]),
           ";"});
  }
}

}  // namespace ostra::kernellanguage
