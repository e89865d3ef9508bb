#include <algorithm>

#include "parallelprogram/kernellanguage/plain_printer.h"

namespace ostra::kernellanguage {
std::string JoinList(const std::vector<std::string>& parts) {
  std::string list;
  for (const std::string& part : parts) list += Join({list.empty() ? "" : ", ", part});
  return list;
}

// The type of the language, which may have no name of its own here.
std::string PlainPrinter::HelperWord(TypeIndex type) const {
  std::string word = _types.GetName(type);
  std::replace_if(
      word.begin(), word.end(), [](char c) { return c == '<' || c == '>' || c == ' ' || c == '['; }, '_');
  std::erase(word, ']');
  return word;
}

// Whether naming the value several times costs nothing and changes nothing.
Bool PlainPrinter::IsSimple(NodeIndex node) const {
  return _resolved.converted[node] == _resolved.type[node] ? IsSimpleValue(node) : KindOf(node) == NodeKind::kLiteral;
}

Bool PlainPrinter::IsSimpleValue(NodeIndex node) const {
  if (_hoisted.contains(node)) return true;
  switch (KindOf(node)) {
    case NodeKind::kLiteral:
    case NodeKind::kUniform:
      return true;
    case NodeKind::kName:
      return _resolved.meaning[node].kind == MeaningKind::kVariable ||
             _resolved.meaning[node].kind == MeaningKind::kWord;
    case NodeKind::kMemberOf:
      return _resolved.meaning[node].kind != MeaningKind::kSwizzle && IsSimple(Child(node, 0));
    default:
      return false;
  }
}

std::vector<std::string> PlainPrinter::Components(const std::string& value, TypeIndex type) const {
  if (!_types.IsVector(type)) return {value};
  std::vector<std::string> components;
  for (UInt32 i = 0; i < _types[type].count; ++i) {
    const std::string component = Join({value, ".", GetComponentName(i)});
    components.push_back(IsBoolVector(type) ? Join({"(", component, " != 0)"}) : component);
  }
  return components;
}

std::string PlainPrinter::CallHelper(const std::string& name, TypeIndex result,
                                     const std::vector<TypeIndex>& parameters, const std::string& body,
                                     const std::vector<std::string>& arguments, UInt8 changed) {
  if (_helperNames.insert(name).second) {
    std::string declared;
    for (std::size_t i = 0; i < parameters.size(); ++i) {
      const std::string_view out = (changed >> i) & 1 ? "out " : "";
      declared += Join({i == 0 ? "" : ", ", out, TypeName(parameters[i]), " v", std::to_string(i)});
    }
    _helpers += Join({Mark(_place), "inline ", TypeName(result), " ", name, "(", declared, ")\n{\n", body, "}\n\n"});
  }
  return Join({name, "(", JoinList(arguments), ")"});
}

std::string PlainPrinter::ConvertScalar(const std::string& value, Scalar from, Scalar to) {
  // As C++ converts a half: by way of a float. Not every language has another way.
  const Bool hasHalf = (from == Scalar::kHalf) != (to == Scalar::kHalf);
  if (hasHalf && from != Scalar::kFloat32 && to != Scalar::kFloat32)
    return ConvertScalar(Join({"float(", value, ")"}), Scalar::kFloat32, to);
  if (from != to && IsSmall(GetScalarType(to))) return CutInteger(value, from, to);
  return from == to ? value : Join({TypeName(GetScalarType(to)), "(", value, ")"});
}

// As a component of a vector: bools are ints there.
std::string PlainPrinter::StoredComponent(const std::string& value, Scalar from, Scalar to) {
  return to == Scalar::kBool ? ConvertScalar(ConvertScalar(value, from, to), to, Scalar::kInt32)
                             : ConvertScalar(value, from, to);
}

// A number as another number, or a vector as one of other numbers.
std::string PlainPrinter::ConvertText(const std::string& value, TypeIndex from, TypeIndex to) {
  if (from == to) return value;
  if (_types.IsScalar(from)) return ConvertScalar(value, _types[from].scalar, _types[to].scalar);
  std::vector<std::string> components = Components("v0", from);
  for (std::string& component : components)
    component = StoredComponent(component, _types[from].scalar, _types[to].scalar);
  return CallHelper(Join({"ostra_", HelperWord(to), "_of_", HelperWord(from)}), to, {from},
                    Join({"\treturn ", TypeName(to), "(", JoinList(components), ");\n"}), {value});
}

std::string PlainPrinter::PartText(const Part& part, Binding lowest) {
  return part.type == _resolved.type[part.node] ? Value(part.node, lowest) : Expression(part.node, lowest);
}

// The value as the type that it is wanted as.
std::string PlainPrinter::Convert(NodeIndex node) {
  const TypeIndex from = _resolved.type[node], to = _resolved.converted[node];
  if (_types.IsScalar(from) && _types.IsScalar(to))
    return ConvertScalar(Value(node, Binding::kComma), _types[from].scalar, _types[to].scalar);
  if (KindOf(node) == NodeKind::kLiteral && _types.IsVector(to) && !IsBoolVector(to)) {
    const std::vector<std::string> components(_types[to].count, Literal(node, GetScalarType(_types[to].scalar)));
    return Join({TypeName(to), "(", JoinList(components), ")"});
  }
  if (_types.IsScalar(from) && _types.IsVector(to)) return ConstructVector(to, {{node, from}});
  if (!_types.IsVector(from) || !_types.IsVector(to)) {
    Refuse(node, Join({"a ", _types.GetName(from), " where a ", _types.GetName(to), " belongs"}));
    return "";
  }
  return ConstructVector(to, {{node, from}});
}

std::string PlainPrinter::Swizzle(NodeIndex node) {
  const NodeIndex operand = Child(node, 0);
  const TypeIndex from = _resolved.converted[operand], to = _resolved.type[node];
  const UInt32 number = _resolved.meaning[node].number;
  const Bool isSimple = IsSimple(operand);
  const std::string value = isSimple ? Expression(operand, Binding::kPostfix) : "v0";
  std::vector<std::string> parts;
  std::string letters;
  for (UInt32 i = 0; i < GetSwizzleCount(number); ++i) {
    letters += GetComponentName(GetSwizzleComponent(number, i));
    parts.push_back(Join({value, ".", letters.substr(i)}));
  }
  const std::string made = Join({TypeName(to), "(", JoinList(parts), ")"});
  if (isSimple) return made;
  return CallHelper(Join({"ostra_", letters, "_of_", HelperWord(from)}), to, {from}, Join({"\treturn ", made, ";\n"}),
                    {Expression(operand)});
}

// A vector of the components of the parts; of one scalar in all components.
std::string PlainPrinter::ConstructVector(TypeIndex type, const std::vector<Part>& parts) {
  const UInt32 count = _types[type].count;
  const Scalar scalar = _types[type].scalar;
  if (parts.size() == 1 && parts[0].type == type) return PartText(parts[0], Binding::kPostfix);
  const Bool isSplat = parts.size() == 1 && _types.IsScalar(parts[0].type);
  const auto isNamedOnce = [&](const Part& part) { return !isSplat && _types.IsScalar(part.type); };
  const Bool isInPlace = std::all_of(parts.begin(), parts.end(), [&](const Part& part) {
    return isNamedOnce(part) ||
           (part.type == _resolved.type[part.node] ? IsSimpleValue(part.node) : IsSimple(part.node));
  });
  std::vector<std::string> components, arguments;
  std::vector<TypeIndex> parameters;
  std::string name = Join({"ostra_", HelperWord(type), "_of"});
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const TypeIndex from = parts[i].type;
    name += Join({"_", HelperWord(from)});
    parameters.push_back(from);
    const Bool isAlone = isNamedOnce(parts[i]);
    const std::string value = isInPlace ? PartText(parts[i], isAlone ? Binding::kAssignment : Binding::kPostfix)
                                        : Join({"v", std::to_string(i)});
    if (!isInPlace) arguments.push_back(PartText(parts[i], Binding::kAssignment));
    for (const std::string& component : Components(value, from)) {
      // The parentheses of "(v.x != 0)" are those of the conversion.
      const Bool isBool = IsBoolVector(from);
      components.push_back(
          StoredComponent(isBool ? component.substr(1, component.size() - 2) : component, _types[from].scalar, scalar));
    }
  }
  if (isSplat) components.resize(count, components[0]);
  if (components.size() > count) components.resize(count);
  const std::string made = Join({TypeName(type), "(", JoinList(components), ")"});
  return isInPlace ? made : CallHelper(name, type, parameters, Join({"\treturn ", made, ";\n"}), arguments);
}

std::string PlainPrinter::Construct(NodeIndex node, std::size_t first) {
  const TypeIndex type = _resolved.type[node];
  const auto children = _tree.GetChildren(node);
  std::vector<Part> parts;
  for (std::size_t i = first; i < children.size(); ++i)
    parts.push_back({children[i], _resolved.converted[children[i]]});
  if (!parts.empty() && _types.IsVector(type)) return ConstructVector(type, parts);
  if (!parts.empty() && IsMatrix(type)) return ConstructMatrix(type, parts);
  if (_types[type].kind == TypeKind::kStruct) return ConstructStruct(type, parts);
  if (_types.IsScalar(type) && parts.size() == 1) return ConstructScalar(type, parts[0]);
  return Join({TypeName(type), "(", List(node, first), ")"});
}

// A number of a vector is its first component.
std::string PlainPrinter::ConstructScalar(TypeIndex type, const Part& part) {
  const std::string value =
      PartText(part, part.type == type || _types.IsVector(part.type) ? Binding::kPostfix : Binding::kComma);
  const std::string number = Components(value, part.type)[0];
  return ConvertScalar(number, _types[part.type].scalar, _types[type].scalar);
}

std::string PlainPrinter::ConstructStruct(TypeIndex type, const std::vector<Part>& parts) {
  const auto members = _tree.GetChildren(_types[type].declaration);
  std::vector<TypeIndex> parameters;
  std::vector<std::string> arguments;
  std::string body = Join({"\t", TypeName(type), " v;\n"});
  for (std::size_t i = 0; i < parts.size() && i < members.size(); ++i) {
    if (_types[parts[i].type].kind == TypeKind::kArray || _types[parts[i].type].kind == TypeKind::kList)
      Refuse(parts[i].node, "an array among the members that a struct is made of");
    std::string value = Join({"v", std::to_string(i)});
    const TypeIndex member = _resolved.type[members[i]];
    if (IsSmall(member) && _storedStructs.contains(_types[type].declaration))
      value = Join({_types.GetName(member), "(", value, ")"});
    body += Join({"\tv.", NameOf(members[i]), " = ", value, ";\n"});
    parameters.push_back(parts[i].type);
    arguments.push_back(PartText(parts[i], Binding::kAssignment));
  }
  return CallHelper(Join({"ostra_", HelperWord(type), "_of_", std::to_string(parts.size())}), type, parameters,
                    Join({body, "\treturn v;\n"}), arguments);
}

}  // namespace ostra::kernellanguage
