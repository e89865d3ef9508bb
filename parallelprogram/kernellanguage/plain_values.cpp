#include "parallelprogram/kernellanguage/plain_values.h"

#include "parallelprogram/kernellanguage/conversions.h"

namespace ostra::kernellanguage {

std::vector<std::string> PlainValues::Components(const std::string& value, TypeIndex type) const {
  if (!_types.IsVector(type)) return {value};
  std::vector<std::string> components;
  for (UInt32 i = 0; i < _types[type].count; ++i) {
    const std::string component = Join({value, ".", GetComponentName(i)});
    components.push_back(_kernel.IsBoolVector(type) ? Join({"(", component, " != 0)"}) : component);
  }
  return components;
}

std::string PlainValues::ConvertScalar(const std::string& value, Scalar from, Scalar to) {
  // As C++ converts a half: by way of a float. Not every language has another way.
  const Bool hasHalf = (from == Scalar::kHalf) != (to == Scalar::kHalf);
  if (hasHalf && from != Scalar::kFloat32 && to != Scalar::kFloat32)
    return ConvertScalar(Join({"float(", value, ")"}), Scalar::kFloat32, to);
  if (from != to && _kernel.IsSmall(GetScalarType(to))) return CutInteger(value, from, to);
  // C++ leaves open what becomes of a float that does not fit.
  if (IsCutFloat(from, to)) return Join({TypeName(GetScalarType(to)), "(int(", value, "))"});
  return from == to ? value : Join({TypeName(GetScalarType(to)), "(", value, ")"});
}

std::string PlainValues::ConvertText(const std::string& value, TypeIndex from, TypeIndex to) {
  if (from == to) return value;
  if (_types.IsScalar(from)) return ConvertScalar(value, _types[from].scalar, _types[to].scalar);
  std::vector<std::string> components = Components("v0", from);
  for (std::string& component : components)
    component = StoredComponent(component, _types[from].scalar, _types[to].scalar);
  return _helpers.Call(Join({"ostra_", _names.HelperWord(to), "_of_", _names.HelperWord(from)}), to, {from},
                       Join({"\treturn ", TypeName(to), "(", JoinList(components), ");\n"}), {value});
}

std::string PlainValues::StoredComponent(const std::string& value, Scalar from, Scalar to) {
  return to == Scalar::kBool ? ConvertScalar(ConvertScalar(value, from, to), to, Scalar::kInt32)
                             : ConvertScalar(value, from, to);
}

std::string PlainValues::CutInteger(const std::string& value, Scalar from, Scalar to) const {
  const Bool isInt = from == Scalar::kInt32 || _kernel.IsSmall(GetScalarType(from));
  const std::string number = isInt ? Join({"(", value, ")"}) : Join({"int(", value, ")"});
  const UInt32 bits = 8 * GetSize(to);
  if (!IsSignedInteger(to)) return Join({"(", number, " & ", std::to_string((1u << bits) - 1), ")"});
  const std::string shift = std::to_string(32 - bits);
  return Join({"((", number, " << ", shift, ") >> ", shift, ")"});
}

std::string PlainValues::StoredText(NodeIndex place, const std::string& value) const {
  if (!_kernel.IsStoredSmall(place)) return value;
  return Join({kernellanguage::GetName(_types[_resolved.type[place]].scalar), "(", value, ")"});
}

std::string PlainValues::PartOf(const std::string& place, NodeIndex target) {
  if (_kernel.IsBoolComponent(target)) return Join({place, " != 0"});
  if (_kernel.IsStoredSmall(target)) return Join({"int(", place, ")"});
  const Meaning& meaning = _resolved.meaning[target];
  if (meaning.kind != MeaningKind::kSwizzle) return place;
  std::vector<std::string> components;
  for (UInt32 i = 0; i < GetSwizzleCount(meaning.number); ++i)
    components.push_back(Join({place, ".", GetComponentName(GetSwizzleComponent(meaning.number, i))}));
  return Join({TypeName(_resolved.type[target]), "(", JoinList(components), ")"});
}

std::string PlainValues::BoolsOf(const std::string& numbers, NodeIndex node) const {
  const TypeIndex type = GetVectorType(Scalar::kInt32, _types[_resolved.type[node]].count);
  std::vector<std::string> components;
  for (const std::string& component : Components(numbers, type))
    components.push_back(Join({"int(", component, " != 0)"}));
  return Join({_types.GetName(type), "(", JoinList(components), ")"});
}

std::string PlainValues::CallRemainder(TypeIndex left, TypeIndex right, const std::string& dividend,
                                       const std::string& divisor) {
  const TypeIndex result = _types.IsVector(left) ? left : right;
  const std::string other = left == right ? "" : Join({"_", _names.HelperWord(right)});
  return _helpers.Call(Join({"ostra_remainder_", _names.HelperWord(left), other}), result, {left, right},
                       "\treturn v0 - (v0 / v1) * v1;\n", {dividend, divisor});
}

std::string PlainValues::MakeColumn(std::string_view matrix, UInt32 count, UInt32 column) const {
  if (count == 2) return Join({"vec2(", matrix, column == 0 ? ".x, " : ".z, ", matrix, column == 0 ? ".y)" : ".w)"});
  const std::string number = std::to_string(column);
  return _options.isForGpu ? Join({matrix, "[", number, "]"}) : Join({matrix, ".v", number});
}

std::string PlainValues::MakeElement(std::string_view matrix, UInt32 count, UInt32 column, UInt32 row) const {
  if (count == 2) return Join({matrix, ".", GetComponentName(2 * column + row)});
  return Join({MakeColumn(matrix, count, column), ".", GetComponentName(row)});
}

std::string PlainValues::MakeMatrix(TypeIndex type, const std::vector<std::string>& components) {
  const UInt32 count = _types[type].count;
  std::vector<std::string> columns;
  for (UInt32 i = 0; i < count && components.size() == count * count; ++i) {
    const auto begin = components.begin() + static_cast<std::ptrdiff_t>(i * count);
    columns.push_back(
        Join({"vec", std::to_string(count), "(", JoinList({begin, begin + static_cast<std::ptrdiff_t>(count)}), ")"}));
  }
  return Join({TypeName(type), "(", JoinList(count == 2 || columns.empty() ? components : columns), ")"});
}

std::string PlainValues::CallColumn(TypeIndex type, const std::string& matrix, const std::string& index) {
  const UInt32 count = _types[type].count;
  std::string body;
  for (UInt32 i = 0; i + 1 < count; ++i)
    body += Join({"\tif (v1 == ", std::to_string(i), ")\n\t{\n\t\treturn ", MakeColumn("v0", count, i), ";\n\t}\n"});
  body += Join({"\treturn ", MakeColumn("v0", count, count - 1), ";\n"});
  return _helpers.Call(Join({"ostra_column_of_", _names.HelperWord(type)}), GetVectorType(Scalar::kFloat32, count),
                       {type, kIntType}, body, {matrix, index});
}

}  // namespace ostra::kernellanguage
