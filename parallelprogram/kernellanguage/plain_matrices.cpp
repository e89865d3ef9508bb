// Matrices in the plain form. One of two columns is a vec4 of both; the others keep their type, with the columns v0,
// v1,
// ... and mul.
#include "parallelprogram/kernellanguage/literal.h"
#include "parallelprogram/kernellanguage/plain_printer.h"

namespace ostra::kernellanguage {
// Column `column` of the matrix with the text `matrix`. On GPUs matrices are the language's own; all of them have
// columns by number, HLSL because it keeps them transposed.
std::string PlainPrinter::MakeColumn(std::string_view matrix, UInt32 count, UInt32 column) const {
  if (count == 2) return Join({"vec2(", matrix, column == 0 ? ".x, " : ".z, ", matrix, column == 0 ? ".y)" : ".w)"});
  const std::string number = std::to_string(column);
  return _options.isForGpu ? Join({matrix, "[", number, "]"}) : Join({matrix, ".v", number});
}

std::string PlainPrinter::MakeElement(std::string_view matrix, UInt32 count, UInt32 column, UInt32 row) const {
  if (count == 2) return Join({matrix, ".", GetComponentName(2 * column + row)});
  return Join({MakeColumn(matrix, count, column), ".", GetComponentName(row)});
}

Bool PlainPrinter::IsMatrix(TypeIndex type) const { return _types[type].kind == TypeKind::kMatrix; }

std::optional<UInt32> PlainPrinter::FindNumber(NodeIndex node) const {
  LiteralValue value;
  if (KindOf(node) != NodeKind::kLiteral || !ParseLiteral(_tree.GetName(node), value) || !IsInteger(value.scalar))
    return std::nullopt;
  return static_cast<UInt32>(value.integer);
}

// The matrix of these columns, or of their components in order.
std::string PlainPrinter::MakeMatrix(TypeIndex type, const std::vector<std::string>& components) {
  const UInt32 count = _types[type].count;
  std::vector<std::string> columns;
  for (UInt32 i = 0; i < count && components.size() == count * count; ++i) {
    const auto begin = components.begin() + static_cast<std::ptrdiff_t>(i * count);
    columns.push_back(
        Join({"vec", std::to_string(count), "(", JoinList({begin, begin + static_cast<std::ptrdiff_t>(count)}), ")"}));
  }
  return Join({TypeName(type), "(", JoinList(count == 2 || columns.empty() ? components : columns), ")"});
}

std::string PlainPrinter::ConstructMatrix(TypeIndex type, const std::vector<Part>& parts) {
  const UInt32 count = _types[type].count;
  std::vector<std::string> components, arguments;
  std::vector<TypeIndex> parameters;
  std::string name = Join({"ostra_", HelperWord(type), "_of"});
  for (const Part& part : parts) {
    name += Join({"_", HelperWord(part.type)});
    arguments.push_back(PartText(part, Binding::kAssignment));
    const std::string value = Join({"v", std::to_string(parameters.size())});
    parameters.push_back(part.type);
    if (!IsMatrix(part.type))
      for (const std::string& component : Components(value, part.type)) components.push_back(component);
  }
  const Bool isOfNumbers = parts.size() == count * count;
  const Bool isOfColumns = parts.size() == count && _types.IsVector(parts[0].type) && count != 2;
  if (isOfColumns || isOfNumbers) return MakeMatrix(type, arguments);
  const auto element = [&](UInt32 column, UInt32 row) -> std::string {
    const Bool isOfMatrix = parts.size() == 1 && IsMatrix(parts[0].type);
    const std::string_view unit = column == row ? "1.0" : "0.0";
    if (!isOfMatrix) return std::string(column == row ? "v0" : "0.0");
    const UInt32 other = _types[parts[0].type].count;
    return column < other && row < other ? MakeElement("v0", other, column, row) : std::string(unit);
  };
  if (parts.size() == 1 && !_types.IsVector(parts[0].type)) {
    components.clear();
    for (UInt32 i = 0; i < count * count; ++i) components.push_back(element(i / count, i % count));
  }
  return CallHelper(name, type, parameters, Join({"\treturn ", MakeMatrix(type, components), ";\n"}), arguments);
}

// +, -, * and / of a matrix of three or four columns with a matrix or a number, component by component.
std::string PlainPrinter::ComputeMatrix(Operation operation, TypeIndex result, const Part& left, const Part& right) {
  constexpr std::string_view kNames[] = {"sum", "difference", "product", "quotient"};
  const auto number = static_cast<std::size_t>(operation) - static_cast<std::size_t>(Operation::kAdd);
  const std::string name = Join({"ostra_", kNames[number], "_of_", HelperWord(left.type), "_", HelperWord(right.type)});
  const auto column = [&](const Part& part, std::string_view value, UInt32 i) {
    return IsMatrix(part.type) ? MakeColumn(value, _types[part.type].count, i) : std::string(value);
  };
  std::vector<std::string> columns;
  for (UInt32 i = 0; i < _types[result].count; ++i)
    columns.push_back(Join({column(left, "v0", i), " ", GetSpelling(operation), " ", column(right, "v1", i)}));
  return CallHelper(name, result, {left.type, right.type}, Join({"\treturn ", MakeMatrix(result, columns), ";\n"}),
                    {PartText(left, Binding::kAssignment), PartText(right, Binding::kAssignment)});
}

// Sums from the first component to the last, as those of larger matrices.
std::string PlainPrinter::MultiplyMatrix(TypeIndex result, const Part& left, const Part& right) {
  const std::vector<std::string> arguments = {PartText(left, Binding::kAssignment),
                                              PartText(right, Binding::kAssignment)};
  const auto isSmall = [&](TypeIndex type) { return IsMatrix(type) && _types[type].count == 2; };
  if (!isSmall(left.type) && !isSmall(right.type)) return Join({"mul(", JoinList(arguments), ")"});
  std::string sums;
  if (isSmall(left.type) && isSmall(right.type))
    sums = "v0.x * v1.x + v0.z * v1.y, v0.y * v1.x + v0.w * v1.y, v0.x * v1.z + v0.z * v1.w, v0.y * v1.z + v0.w * v1.w";
  else if (isSmall(left.type))
    sums = "v0.x * v1.x + v0.z * v1.y, v0.y * v1.x + v0.w * v1.y";
  else
    sums = "v0.x * v1.x + v0.y * v1.y, v0.x * v1.z + v0.y * v1.w";
  return CallHelper(Join({"ostra_product_of_", HelperWord(left.type), "_", HelperWord(right.type)}), result,
                    {left.type, right.type}, Join({"\treturn ", TypeName(result), "(", sums, ");\n"}), arguments);
}

std::string PlainPrinter::CallOfSmallMatrix(NodeIndex node) {
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
  return CallHelper(Join({"ostra_", _tree.GetName(node), "_of_mat2"}), _resolved.type[node], {type}, body,
                    {Expression(operand)});
}

std::string PlainPrinter::Column(NodeIndex node) {
  const NodeIndex matrix = Child(node, 0), index = Child(node, 1);
  const TypeIndex type = _resolved.converted[matrix];
  const UInt32 count = _types[type].count;
  const auto number = FindNumber(index);
  if (number && *number < count && IsSimple(matrix))
    return MakeColumn(Expression(matrix, Binding::kPostfix), count, *number);
  return CallColumn(type, Expression(matrix), CheckIndex(node, Expression(index)));
}

std::string PlainPrinter::CallColumn(TypeIndex type, const std::string& matrix, const std::string& index) {
  const UInt32 count = _types[type].count;
  std::string body;
  for (UInt32 i = 0; i + 1 < count; ++i)
    body += Join({"\tif (v1 == ", std::to_string(i), ")\n\t{\n\t\treturn ", MakeColumn("v0", count, i), ";\n\t}\n"});
  body += Join({"\treturn ", MakeColumn("v0", count, count - 1), ";\n"});
  return CallHelper(Join({"ostra_column_of_", HelperWord(type)}), GetVectorType(Scalar::kFloat32, count),
                    {type, kIntType}, body, {matrix, index});
}

}  // namespace ostra::kernellanguage
