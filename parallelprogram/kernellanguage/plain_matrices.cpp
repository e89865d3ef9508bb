#include "parallelprogram/kernellanguage/plain_matrices.h"

#include "parallelprogram/kernellanguage/plain_expressions.h"

namespace ostra::kernellanguage {

std::string PlainMatrices::ConstructMatrix(TypeIndex type, const std::vector<TypedNode>& parts) {
  const UInt32 count = _types[type].count;
  std::vector<std::string> components, arguments;
  std::vector<TypeIndex> parameters;
  std::string name = Join({"ostra_", _names.HelperWord(type), "_of"});
  for (const TypedNode& part : parts) {
    name += Join({"_", _names.HelperWord(part.type)});
    arguments.push_back(_expressions.PartText(part, Binding::kAssignment));
    const std::string value = Join({"v", std::to_string(parameters.size())});
    parameters.push_back(part.type);
    if (!_kernel.IsMatrix(part.type))
      for (const std::string& component : _values.Components(value, part.type)) components.push_back(component);
  }
  const Bool isOfNumbers = parts.size() == count * count;
  const Bool isOfColumns = parts.size() == count && _types.IsVector(parts[0].type) && count != 2;
  if (isOfColumns || isOfNumbers) return _values.MakeMatrix(type, arguments);
  const auto element = [&](UInt32 column, UInt32 row) -> std::string {
    const Bool isOfMatrix = parts.size() == 1 && _kernel.IsMatrix(parts[0].type);
    const std::string_view unit = column == row ? "1.0" : "0.0";
    if (!isOfMatrix) return std::string(column == row ? "v0" : "0.0");
    const UInt32 other = _types[parts[0].type].count;
    return column < other && row < other ? _values.MakeElement("v0", other, column, row) : std::string(unit);
  };
  if (parts.size() == 1 && !_types.IsVector(parts[0].type)) {
    components.clear();
    for (UInt32 i = 0; i < count * count; ++i) components.push_back(element(i / count, i % count));
  }
  return _helpers.Call(name, type, parameters, Join({"\treturn ", _values.MakeMatrix(type, components), ";\n"}),
                       arguments);
}

std::string PlainMatrices::ComputeMatrix(Operation operation, TypeIndex result, const TypedNode& left,
                                         const TypedNode& right) {
  constexpr std::string_view kNames[] = {"sum", "difference", "product", "quotient"};
  const auto number = static_cast<std::size_t>(operation) - static_cast<std::size_t>(Operation::kAdd);
  const std::string name =
      Join({"ostra_", kNames[number], "_of_", _names.HelperWord(left.type), "_", _names.HelperWord(right.type)});
  const auto column = [&](const TypedNode& part, std::string_view value, UInt32 i) {
    return _kernel.IsMatrix(part.type) ? _values.MakeColumn(value, _types[part.type].count, i) : std::string(value);
  };
  std::vector<std::string> columns;
  for (UInt32 i = 0; i < _types[result].count; ++i)
    columns.push_back(Join({column(left, "v0", i), " ", GetSpelling(operation), " ", column(right, "v1", i)}));
  return _helpers.Call(
      name, result, {left.type, right.type}, Join({"\treturn ", _values.MakeMatrix(result, columns), ";\n"}),
      {_expressions.PartText(left, Binding::kAssignment), _expressions.PartText(right, Binding::kAssignment)});
}

std::string PlainMatrices::MultiplyMatrix(TypeIndex result, const TypedNode& left, const TypedNode& right) {
  const std::vector<std::string> arguments = {_expressions.PartText(left, Binding::kAssignment),
                                              _expressions.PartText(right, Binding::kAssignment)};
  const auto isSmall = [&](TypeIndex type) { return _kernel.IsMatrix(type) && _types[type].count == 2; };
  if (!isSmall(left.type) && !isSmall(right.type)) return Join({"mul(", JoinList(arguments), ")"});
  std::string sums;
  if (isSmall(left.type) && isSmall(right.type))
    sums = "v0.x * v1.x + v0.z * v1.y, v0.y * v1.x + v0.w * v1.y, v0.x * v1.z + v0.z * v1.w, v0.y * v1.z + v0.w * v1.w";
  else if (isSmall(left.type))
    sums = "v0.x * v1.x + v0.z * v1.y, v0.y * v1.x + v0.w * v1.y";
  else
    sums = "v0.x * v1.x + v0.y * v1.y, v0.x * v1.z + v0.y * v1.w";
  return _helpers.Call(Join({"ostra_product_of_", _names.HelperWord(left.type), "_", _names.HelperWord(right.type)}),
                       result, {left.type, right.type}, Join({"\treturn ", TypeName(result), "(", sums, ");\n"}),
                       arguments);
}

std::string PlainMatrices::CallOfSmallMatrix(NodeIndex node) {
  const NodeIndex operand = Child(node, 0);
  const TypeIndex type = _resolved.converted[operand];
  std::string body;
  switch (_resolved.meaning[node].word) {
    case WordId::kTranspose:
      body = "\treturn vec4(v0.x, v0.z, v0.y, v0.w);\n";
      break;
    case WordId::kDeterminant:
      body = "\treturn v0.x * v0.w - v0.z * v0.y;\n";
      break;
    case WordId::kInverse:
      body = "\tfloat d = v0.x * v0.w - v0.z * v0.y;\n\treturn vec4(v0.w / d, -v0.y / d, -v0.z / d, v0.x / d);\n";
      break;
    default:
      Refuse(node, Join({_tree.GetName(node), " of a mat2"}));
      return "";
  }
  return _helpers.Call(Join({"ostra_", _tree.GetName(node), "_of_mat2"}), _resolved.type[node], {type}, body,
                       {_expressions.Expression(operand)});
}

std::string PlainMatrices::Column(NodeIndex node) {
  const NodeIndex matrix = Child(node, 0), index = Child(node, 1);
  const TypeIndex type = _resolved.converted[matrix];
  const UInt32 count = _types[type].count;
  const auto number = _kernel.FindNumber(index);
  if (number && *number < count && _kept.IsSimple(matrix))
    return _values.MakeColumn(_expressions.Expression(matrix, Binding::kPostfix), count, *number);
  return _values.CallColumn(type, _expressions.Expression(matrix),
                            _checks.CheckIndex(node, _expressions.Expression(index)));
}

}  // namespace ostra::kernellanguage
