#include "parallelprogram/kernellanguage/plain_construction.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/plain_expressions.h"
#include "parallelprogram/kernellanguage/plain_matrices.h"

namespace ostra::kernellanguage {

std::string PlainConstruction::Convert(NodeIndex node) {
  const TypeIndex from = _resolved.type[node], to = _resolved.converted[node];
  if (_types.IsScalar(from) && _types.IsScalar(to))
    return _values.ConvertScalar(_expressions.Value(node, Binding::kAssignment), _types[from].scalar,
                                 _types[to].scalar);
  if (KindOf(node) == NodeKind::kLiteral && _types.IsVector(to) && !_kernel.IsBoolVector(to)) {
    const std::vector<std::string> components(_types[to].count,
                                              _expressions.Literal(node, GetScalarType(_types[to].scalar)));
    return Join({TypeName(to), "(", JoinList(components), ")"});
  }
  if (_types.IsScalar(from) && _types.IsVector(to)) return ConstructVector(to, {{node, from}});
  if (!_types.IsVector(from) || !_types.IsVector(to)) {
    Refuse(node, Join({"a ", _types.GetName(from), " where a ", _types.GetName(to), " belongs"}));
    return "";
  }
  return ConstructVector(to, {{node, from}});
}

std::string PlainConstruction::Swizzle(NodeIndex node) {
  const NodeIndex operand = Child(node, 0);
  const TypeIndex from = _resolved.converted[operand], to = _resolved.type[node];
  const UInt32 number = _resolved.meaning[node].number;
  const Bool isSimple = _kept.IsSimple(operand);
  const std::string value = isSimple ? _expressions.Expression(operand, Binding::kPostfix) : "v0";
  std::vector<std::string> parts;
  std::string letters;
  for (UInt32 i = 0; i < GetSwizzleCount(number); ++i) {
    letters += GetComponentName(GetSwizzleComponent(number, i));
    parts.push_back(Join({value, ".", letters.substr(i)}));
  }
  const std::string made = Join({TypeName(to), "(", JoinList(parts), ")"});
  if (isSimple) return made;
  return _helpers.Call(Join({"ostra_", letters, "_of_", _names.HelperWord(from)}), to, {from},
                       Join({"\treturn ", made, ";\n"}), {_expressions.Expression(operand)});
}

std::string PlainConstruction::Construct(NodeIndex node, std::size_t first) {
  const TypeIndex type = _resolved.type[node];
  const auto children = _tree.GetChildren(node);
  std::vector<TypedNode> parts;
  for (std::size_t i = first; i < children.size(); ++i)
    parts.push_back({children[i], _resolved.converted[children[i]]});
  if (!parts.empty() && _types.IsVector(type)) return ConstructVector(type, parts);
  if (!parts.empty() && _kernel.IsMatrix(type)) return _matrices.ConstructMatrix(type, parts);
  if (_types[type].kind == TypeKind::kStruct)
    return IsCopy(node) ? _expressions.PartText(parts[0], Binding::kPostfix) : ConstructStruct(type, parts);
  if (_types.IsScalar(type) && parts.size() == 1) return ConstructScalar(type, parts[0]);
  return Join({TypeName(type), "(", _expressions.List(node, first), ")"});
}

// A vector of the components of the parts; of one scalar in all components.
std::string PlainConstruction::ConstructVector(TypeIndex type, const std::vector<TypedNode>& parts) {
  const UInt32 count = _types[type].count;
  const Scalar scalar = _types[type].scalar;
  if (parts.size() == 1 && parts[0].type == type) return _expressions.PartText(parts[0], Binding::kPostfix);
  const Bool isSplat = parts.size() == 1 && _types.IsScalar(parts[0].type);
  const auto isNamedOnce = [&](const TypedNode& part) { return !isSplat && _types.IsScalar(part.type); };
  const Bool isInPlace = std::all_of(parts.begin(), parts.end(), [&](const TypedNode& part) {
    return isNamedOnce(part) ||
           (part.type == _resolved.type[part.node] ? _kept.IsSimpleValue(part.node) : _kept.IsSimple(part.node));
  });
  std::vector<std::string> components, arguments;
  std::vector<TypeIndex> parameters;
  std::string name = Join({"ostra_", _names.HelperWord(type), "_of"});
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const TypeIndex from = parts[i].type;
    name += Join({"_", _names.HelperWord(from)});
    parameters.push_back(from);
    const Bool isAlone = isNamedOnce(parts[i]);
    const std::string value = isInPlace
                                  ? _expressions.PartText(parts[i], isAlone ? Binding::kAssignment : Binding::kPostfix)
                                  : Join({"v", std::to_string(i)});
    if (!isInPlace) arguments.push_back(_expressions.PartText(parts[i], Binding::kAssignment));
    for (const std::string& component : _values.Components(value, from)) {
      // The parentheses of "(v.x != 0)" are those of the conversion.
      const Bool isBool = _kernel.IsBoolVector(from) || (_kernel.IsBoolComponent(parts[i].node) &&
                                                         component.starts_with("(") && component.ends_with(" != 0)"));
      components.push_back(_values.StoredComponent(isBool ? component.substr(1, component.size() - 2) : component,
                                                   _types[from].scalar, scalar));
    }
  }
  if (isSplat) components.resize(count, components[0]);
  if (components.size() > count) components.resize(count);
  const std::string made = Join({TypeName(type), "(", JoinList(components), ")"});
  return isInPlace ? made : _helpers.Call(name, type, parameters, Join({"\treturn ", made, ";\n"}), arguments);
}

// A number of a vector is its first component.
std::string PlainConstruction::ConstructScalar(TypeIndex type, const TypedNode& part) {
  const std::string value = _expressions.PartText(
      part, part.type == type || _types.IsVector(part.type) ? Binding::kPostfix : Binding::kAssignment);
  const std::string number = _values.Components(value, part.type)[0];
  return _values.ConvertScalar(number, _types[part.type].scalar, _types[type].scalar);
}

std::string PlainConstruction::ConstructStruct(TypeIndex type, const std::vector<TypedNode>& parts) {
  const auto members = _tree.GetChildren(_types[type].declaration);
  std::vector<TypeIndex> parameters;
  std::vector<std::string> arguments;
  std::string body = Join({"\t", TypeName(type), " v;\n"});
  for (std::size_t i = 0; i < parts.size() && i < members.size(); ++i) {
    if (_types[parts[i].type].kind == TypeKind::kArray || _types[parts[i].type].kind == TypeKind::kList)
      Refuse(parts[i].node, "an array among the members that a struct is made of");
    std::string value = Join({"v", std::to_string(i)});
    const TypeIndex member = _resolved.type[members[i]];
    if (_kernel.IsSmall(member) && _kernel.storedStructs.contains(_types[type].declaration))
      value = Join({_types.GetName(member), "(", value, ")"});
    body += Join({"\tv.", NameOf(members[i]), " = ", value, ";\n"});
    parameters.push_back(parts[i].type);
    arguments.push_back(_expressions.PartText(parts[i], Binding::kAssignment));
  }
  return _helpers.Call(Join({"ostra_", _names.HelperWord(type), "_of_", std::to_string(parts.size())}), type,
                       parameters, Join({body, "\treturn v;\n"}), arguments);
}

// Ray(ray), which no shading language has.
Bool PlainConstruction::IsCopy(NodeIndex construct) const {
  const auto children = _tree.GetChildren(construct);
  return children.size() == 2 && _resolved.type[children[1]] == _resolved.type[construct];
}

Bool PlainConstruction::IsArray(NodeIndex value) const {
  return _types[_resolved.type[value]].kind == TypeKind::kArray;
}

Bool PlainConstruction::NeedsBraces(NodeIndex value) const {
  if (KindOf(value) != NodeKind::kConstruct || _types[_resolved.type[value]].kind != TypeKind::kStruct) return false;
  const auto children = _tree.GetChildren(value).subspan(1);
  return std::any_of(children.begin(), children.end(),
                     [this](NodeIndex child) { return IsArray(child) || NeedsBraces(child); });
}

// The numbers of a table of the file, or of a row of one with a known number.
NodeIndex PlainConstruction::FindTableList(NodeIndex value) const {
  if (KindOf(value) == NodeKind::kInitializerList) return value;
  if (KindOf(value) == NodeKind::kName) {
    const Meaning& meaning = _resolved.meaning[value];
    const Bool isOfFile = meaning.kind == MeaningKind::kVariable && _kernel.fileConstants.contains(meaning.target);
    const NodeIndex list = isOfFile ? Child(meaning.target, 2) : kNoNode;
    return list != kNoNode && KindOf(list) == NodeKind::kInitializerList ? list : kNoNode;
  }
  if (KindOf(value) != NodeKind::kIndex) return kNoNode;
  const NodeIndex table = FindTableList(Child(value, 0));
  const auto number = _kernel.FindNumber(Child(value, 1));
  if (table == kNoNode || !number || *number >= _tree.GetChildren(table).size()) return kNoNode;
  return Child(table, *number);
}

std::string PlainConstruction::ListText(NodeIndex value) {
  const auto children = _tree.GetChildren(value);
  if (KindOf(value) == NodeKind::kConstruct && _types[_resolved.type[value]].kind == TypeKind::kStruct &&
      !IsCopy(value)) {
    std::vector<std::string> parts;
    for (const NodeIndex child : children.subspan(1)) parts.push_back(ListText(child));
    return Join({"{", JoinList(parts), "}"});
  }
  if (!IsArray(value)) return _expressions.Expression(value, Binding::kAssignment);
  const NodeIndex list = FindTableList(value);
  if (list != kNoNode) return _expressions.Expression(list, Binding::kAssignment);
  Refuse(value, "an array among the members that a struct is made of, other than a table of the file");
  return "";
}

}  // namespace ostra::kernellanguage
