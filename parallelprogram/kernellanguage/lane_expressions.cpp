#include "parallelprogram/kernellanguage/lane_printer.h"
#include "parallelprogram/kernellanguage/literal.h"

namespace ostra::kernellanguage {
namespace {

constexpr std::string_view kComponents[] = {"x", "y", "z", "w"};

// Whether a node is a number of 32 bits other than 0 as it is written.
Bool IsDivisor(const SyntaxTree& tree, NodeIndex node) {
  LiteralValue value;
  if (!tree.Is(node, NodeKind::kLiteral) || !ParseLiteral(tree.GetName(node), value)) return false;
  return (value.scalar == Scalar::kInt32 || value.scalar == Scalar::kUInt32) && value.integer != 0;
}

}  // namespace

Bool LanePrinter::IsHarmless(NodeIndex node) const {
  switch (KindOf(node)) {
    case NodeKind::kAssign:
    case NodeKind::kPostfix:
    case NodeKind::kIndex:
    case NodeKind::kLocalData:
      return false;
    case NodeKind::kUnary:
      if (_tree.nodes[node].operation == Operation::kIncrement || _tree.nodes[node].operation == Operation::kDecrement)
        return false;
      break;
    case NodeKind::kBinary: {
      const Operation operation = _tree.nodes[node].operation;
      const Bool isDivision = operation == Operation::kDivide || operation == Operation::kRemainder;
      if (isDivision && !IsFloating(_types[_resolved.computed[node]].scalar)) return false;
      break;
    }
    case NodeKind::kCall:
      if (_resolved.meaning[node].kind != MeaningKind::kWord || GetOverloads(_resolved.meaning[node].word).empty())
        return false;
      break;
    default:
      break;
  }
  for (const NodeIndex child : _tree.GetChildren(node)) {
    if (child != kNoNode && !IsHarmless(child)) return false;
  }
  return true;
}

std::string LanePrinter::ToLanes(const Value& value, NodeIndex place) {
  if (value.form == Form::kLanes) return value.text;
  const std::string type = LaneType(value.type, place);
  // Not `type(name)`: in parentheses that could be read as a declaration.
  if (value.form != Form::kLinear) return Join({"static_cast<", type, ">(", value.text, ")"});
  return Join(
      {"Ramp<", GetCppName(_types[value.type].scalar), ">(", value.text, ", ", std::to_string(value.stride), ")"});
}

// Conversions between integers of 32 bits keep a linear value linear.
LanePrinter::Value LanePrinter::Convert(Value value, TypeIndex to, NodeIndex place) {
  if (value.type == to || to == kUnknownType) return value;
  const Type& from = _types[value.type];
  const Type& target = _types[to];
  const Bool isNumber = (from.kind == TypeKind::kScalar || from.kind == TypeKind::kVector) &&
                        from.kind == target.kind && from.count == target.count;
  if (!isNumber) {
    Refuse(place, Join({"a conversion from ", _types.GetName(value.type), " to ", _types.GetName(to)}));
    return value;
  }
  const auto is32 = [](Scalar scalar) { return scalar == Scalar::kInt32 || scalar == Scalar::kUInt32; };
  if (value.form == Form::kShared || (value.form == Form::kLinear && is32(target.scalar))) {
    value.text = Join({"static_cast<", SharedType(to), ">(", value.text, ")"});
    value.type = to;
    value.isDivisor = value.isDivisor && is32(target.scalar);
    return value;
  }
  const std::string lanes = ToLanes(value, place);
  LaneType(to, place);
  if (to == kBoolType) {
    const Bool isHalf = from.scalar == Scalar::kHalf;
    return {Join({"(", isHalf ? Join({"Convert<Float32>(", lanes, ")"}) : lanes,
                  " != ", GetCppName(isHalf ? Scalar::kFloat32 : from.scalar), "(0))"}),
            Form::kLanes, to};
  }
  return {Join({"Convert<", GetCppName(target.scalar), ">(", lanes, ")"}), Form::kLanes, to};
}

LanePrinter::Value LanePrinter::Literal(NodeIndex node) const {
  LiteralValue value;
  std::string text(NameOf(node));
  if (ParseLiteral(text, value) && value.scalar == Scalar::kFloat32 && text.back() != 'f' && text.back() != 'F')
    text += 'f';
  return {text, Form::kShared, TypeOf(node)};
}

std::string LanePrinter::Shared(NodeIndex node) {
  if (const auto held = _held.find(node); held != _held.end()) return held->second.text;
  Value value{SharedItself(node), Form::kShared, TypeOf(node)};
  return Convert(value, _resolved.converted[node], node).text;
}

// InGlobalInvocationID and its relatives, of the first lane. Without a component the whole vector, which only the
// group's values may have: the others differ along x.
std::string LanePrinter::SharedWord(NodeIndex node, std::string_view component) {
  const WordId word = _resolved.meaning[node].word;
  if (_names.IsInGroup() && (word == WordId::kWorkGroup || (word == WordId::kLocalInvocation && !component.empty()))) {
    const std::string_view vector = word == WordId::kWorkGroup ? "InWorkGroupID" : "ostraLocal";
    return component.empty() ? std::string(vector) : Join({vector, ".", component});
  }
  if (word == WordId::kWorkGroupSize)
    return component.empty() ? "ostraGroupSize" : Join({"ostraGroupSize.", component});
  if (component == "x" && word == WordId::kGlobalInvocation) return "ostraX";
  if (component == "y" || component == "z") {
    const std::string position = Join({"ostra", component == "y" ? "Y" : "Z"});
    const std::string size = Join({"ostraGroupSize.", component});
    if (word == WordId::kGlobalInvocation) return position;
    if (word == WordId::kLocalInvocation) return Join({"(", position, " % ", size, ")"});
    if (word == WordId::kWorkGroup) return Join({"(", position, " / ", size, ")"});
  }
  Refuse(node, Join({NameOf(node), " in this place"}));
  return "";
}

std::string LanePrinter::SharedItself(NodeIndex node) {
  const auto children = _tree.GetChildren(node);
  const auto list = [&](std::size_t first) {
    std::string arguments;
    for (std::size_t i = first; i < children.size(); ++i)
      arguments += Join({i == first ? "" : ", ", Shared(children[i])});
    return arguments;
  };
  const Operation operation = _tree.nodes[node].operation;
  switch (KindOf(node)) {
    case NodeKind::kLiteral:
      return Literal(node).text;
    case NodeKind::kName: {
      const Meaning& meaning = _resolved.meaning[node];
      if (meaning.kind == MeaningKind::kWord) return SharedWord(node, "");
      if (IsCount(node)) return _names.GetCount(meaning.target);
      if (meaning.kind == MeaningKind::kVariable && FormOf(meaning.target) == Form::kLanes) break;
      return meaning.kind == MeaningKind::kVariable ? _names.GetVariable(meaning.target) : std::string(NameOf(node));
    }
    case NodeKind::kUniform:
      return Join({"ostraParameter_", NameOf(node)});
    case NodeKind::kUnary:
      return Join({"(", GetSpelling(operation), Shared(children[0]), ")"});
    case NodeKind::kPostfix:
      return Join({"(", SharedItself(children[0]), GetSpelling(operation), ")"});
    case NodeKind::kBinary:
      return Join({"(", Shared(children[0]), " ", GetSpelling(operation), " ", Shared(children[1]), ")"});
    case NodeKind::kAssign: {
      const std::string sign = operation == Operation::kNone ? "" : std::string(GetSpelling(operation));
      return Join({"(", SharedItself(children[0]), " ", sign, "= ", Shared(children[1]), ")"});
    }
    case NodeKind::kConditional:
      return Join({"(", Shared(children[0]), " ? ", Shared(children[1]), " : ", Shared(children[2]), ")"});
    case NodeKind::kComma:
      return Join({"(", Shared(children[0]), ", ", Shared(children[1]), ")"});
    case NodeKind::kConstruct:
    case NodeKind::kCast: {
      const std::string type = SharedType(TypeOf(node));
      if (type.empty()) break;
      const Bool isConversion = _types.IsScalar(TypeOf(node)) && children.size() == 2;
      return isConversion ? Join({"static_cast<", type, ">(", list(1), ")"}) : Join({type, "(", list(1), ")"});
    }
    case NodeKind::kInitializerList: {
      const Bool isStruct = _types[TypeOf(node)].kind == TypeKind::kStruct;
      return Join({isStruct ? SharedType(TypeOf(node)) : "", "{", list(0), "}"});
    }
    case NodeKind::kMemberOf: {
      const Meaning& of = _resolved.meaning[children[0]];
      if (KindOf(children[0]) == NodeKind::kName && of.kind == MeaningKind::kWord)
        return SharedWord(children[0], NameOf(node));
      return Join({SharedItself(children[0]), ".", NameOf(node)});
    }
    case NodeKind::kIndex:
      if (_names.IsMemory(children[0])) return Join({_names.GetMemory(children[0]), "[", Shared(children[1]), "]"});
      return Join({SharedItself(children[0]), "[", Shared(children[1]), "]"});
    case NodeKind::kLocalData:
      return Join({"ostraParameter_", NameOf(node), "[", Shared(children[1]), "]"});
    case NodeKind::kCall: {
      const Meaning& meaning = _resolved.meaning[node];
      if (meaning.kind == MeaningKind::kFunction) return Join({NameOf(node), "(", list(0), ")"});
      const WordId word = meaning.word;
      if (word == WordId::kLinearInvocation) return "ostraLinear";
      if (word == WordId::kTextureSize) return Join({"ostraParameter_", NameOf(children[0]), ".GetSize()"});
      if (word == WordId::kSampleTexture || word == WordId::kSampleTextureLayer)
        return Join({"ostraParameter_", NameOf(children[0]), ".Sample(", list(1), ")"});
      if (word == WordId::kFetchTexture || word == WordId::kFetchTextureLayer)
        return Join({"ostraParameter_", NameOf(children[0]), ".Fetch(", list(1), ")"});
      if (word == WordId::kRenderNoise) return Join({"RenderNoise(", list(0), ")"});
      if (!GetOverloads(word).empty()) return Join({"vocabulary::", NameOf(node), "(", list(0), ")"});
      break;
    }
    default:
      break;
  }
  Refuse(node, Join({"this use of \"", NameOf(node), GetSpelling(operation), "\" with one value for all invocations"}));
  return "";
}

LanePrinter::Value LanePrinter::Evaluate(NodeIndex node) {
  if (const auto held = _held.find(node); held != _held.end()) return held->second;
  return Convert(EvaluateItself(node), _resolved.converted[node], node);
}

LanePrinter::Value LanePrinter::EvaluateItself(NodeIndex node) {
  if (ChangesArguments(node)) return CallFunction(node);
  const Form form = FormOf(node);
  const Bool isChange = KindOf(node) == NodeKind::kAssign || KindOf(node) == NodeKind::kPostfix;
  if (form != Form::kLanes && !isChange) {
    Value value{SharedItself(node), form, TypeOf(node)};
    if (form == Form::kLinear) value.stride = _uniformity.Get(node).stride;
    value.isDivisor = IsDivisor(_tree, node);
    return value;
  }
  const auto children = _tree.GetChildren(node);
  const Operation operation = _tree.nodes[node].operation;
  switch (KindOf(node)) {
    case NodeKind::kName:
      return Name(node);
    case NodeKind::kUnary: {
      if (operation == Operation::kIncrement || operation == Operation::kDecrement) break;
      const Value value = Evaluate(children[0]);
      if (value.form == Form::kRows && operation == Operation::kMinus)
        return {Join({"(-", value.text, ")"}), Form::kRows, TypeOf(node)};
      const std::string operand = ToLanes(value, children[0]);
      if (operation == Operation::kPlus) return {operand, Form::kLanes, TypeOf(node)};
      if (operation != Operation::kMinus && _types.IsVector(TypeOf(node))) Refuse(node, "bits of vectors");
      return {Join({"(", GetSpelling(operation), operand, ")"}), Form::kLanes, TypeOf(node)};
    }
    case NodeKind::kBinary: {
      if (operation == Operation::kLogicalAnd || operation == Operation::kLogicalOr) return Logical(node);
      const Value left = Evaluate(children[0]), right = Evaluate(children[1]);
      return Binary(operation, left, right, TypeOf(node), node);
    }
    case NodeKind::kConditional:
      return Conditional(node);
    case NodeKind::kConstruct:
    case NodeKind::kCast:
      return Construct(node);
    case NodeKind::kInitializerList:
      return StructOf(node);
    case NodeKind::kMemberOf:
      return Member(node);
    case NodeKind::kIndex:
      return Index(node);
    case NodeKind::kLocalData:
      return LoadElement(node, TypeOf(node), children[1], node);
    case NodeKind::kCall:
      return Call(node);
    default:
      break;
  }
  if (_tree.nodes[node].kind == NodeKind::kAssign) Refuse(node, "an assignment inside an expression");
  Refuse(node, Join({"\"", NameOf(node), GetSpelling(operation), "\" inside an expression"}));
  return {"", Form::kLanes, TypeOf(node)};
}

LanePrinter::Value LanePrinter::Name(NodeIndex node) {
  const Meaning& meaning = _resolved.meaning[node];
  if (meaning.kind == MeaningKind::kWord) {
    const TypeIndex type = TypeOf(node);
    switch (meaning.word) {
      case WordId::kGlobalInvocation:
        return {"LaneVec3<UInt32>(Ramp<UInt32>(ostraX, 1), ostraY, ostraZ)", Form::kLanes, type};
      case WordId::kLocalInvocation:
        if (_names.IsInGroup())
          return {"LaneVec3<UInt32>(Ramp<UInt32>(ostraLocal.x, 1), ostraLocal.y, ostraLocal.z)", Form::kLanes, type};
        return {
            "LaneVec3<UInt32>(LocalX<OstraGroupSize::kX>(ostraX), ostraY % ostraGroupSize.y, ostraZ % "
            "ostraGroupSize.z)",
            Form::kLanes, type};
      case WordId::kWorkGroup:
        return {
            "LaneVec3<UInt32>(GroupX<OstraGroupSize::kX>(ostraX), ostraY / ostraGroupSize.y, ostraZ / "
            "ostraGroupSize.z)",
            Form::kLanes, type};
      default:
        break;
    }
    Refuse(node, Join({NameOf(node), " in this place"}));
  }
  if (IsCount(node)) return {_names.GetCount(meaning.target), Form::kShared, TypeOf(node)};
  // The expression may differ between lanes only as what it is converted to.
  Form form = FormOf(meaning.target);
  if (_isClamped[meaning.target]) form = Form::kClamped;
  if (_isInRows[meaning.target]) form = Form::kRows;
  const Int32 stride = form == Form::kLinear ? _uniformity.Get(meaning.target).stride : 0;
  return {_names.GetVariable(meaning.target), form, TypeOf(node), stride};
}

LanePrinter::Value LanePrinter::Member(NodeIndex node) {
  const NodeIndex operand = Child(node, 0);
  if (KindOf(operand) == NodeKind::kName && _resolved.meaning[operand].kind == MeaningKind::kWord &&
      NameOf(node) == "x") {
    const WordId word = _resolved.meaning[operand].word;
    if (_names.IsInGroup() && word == WordId::kLocalInvocation) return {"ostraLocal.x", Form::kLinear, kUIntType, 1};
    if (word == WordId::kLocalInvocation) return {"LocalX<OstraGroupSize::kX>(ostraX)", Form::kLanes, kUIntType};
    if (word == WordId::kWorkGroup) return {"GroupX<OstraGroupSize::kX>(ostraX)", Form::kLanes, kUIntType};
    if (word == WordId::kGlobalInvocation) return {"ostraX", Form::kLinear, kUIntType, 1};
  }
  std::string path;
  if (const NodeIndex element = FindElement(node, path); element != kNoNode && IsAggregate(TypeOf(element)))
    return LoadPart(element, path, node);
  return {Join({ToLanes(EvaluateItself(operand), operand), ".", PartName(node)}), Form::kLanes, TypeOf(node)};
}

// A component of a vector has up to three names.
std::string_view LanePrinter::PartName(NodeIndex node) const {
  return _types.IsVector(TypeOf(Child(node, 0))) ? kComponents[_resolved.meaning[node].number & 3] : NameOf(node);
}

// The element of a buffer or of group memory of which `place` is a part, and the way from it to there; kNoNode for
// other places.
NodeIndex LanePrinter::FindElement(NodeIndex place, std::string& path) const {
  path.clear();
  for (; KindOf(place) == NodeKind::kMemberOf || KindOf(place) == NodeKind::kIndex; place = Child(place, 0)) {
    if (KindOf(place) == NodeKind::kMemberOf) {
      path.insert(0, Join({".", PartName(place)}));
      continue;
    }
    if (_names.IsMemory(Child(place, 0))) return place;
    if (KindOf(Child(place, 1)) != NodeKind::kLiteral) return kNoNode;
    path.insert(0, Join({"[", NameOf(Child(place, 1)), "]"}));
  }
  return kNoNode;
}

// The C++ of element `ostraLane` of a buffer, for the body of a loop over lanes.
std::string LanePrinter::ElementOfLane(NodeIndex element) {
  const Value at = Evaluate(Child(element, 1));
  const std::string buffer = _names.GetMemory(Child(element, 0));
  if (at.form == Form::kShared) return Join({buffer, "[", at.text, "]"});
  const std::string index = NewName("index");
  const Bool isLinear = at.form == Form::kLinear;
  Line({"const auto ", index, " = ", isLinear ? at.text : ToLanes(at, element), ";"});
  if (!isLinear) return Join({buffer, "[", index, ".Get(ostraLane)]"});
  const std::string type = SharedType(at.type);
  return Join({buffer, "[static_cast<", type, ">(", index, " + static_cast<", type, ">(ostraLane) * static_cast<", type,
               ">(", std::to_string(at.stride), "))]"});
}

// A part of an element that is a struct or a matrix, lane by lane.
LanePrinter::Value LanePrinter::LoadPart(NodeIndex element, const std::string& path, NodeIndex place) {
  const TypeIndex type = TypeOf(place);
  const std::string lanes = LaneType(type, place), source = ElementOfLane(element);
  return MapLanes(type, place, Join({source, path}));
}

// One value for each lane that is on, of a C++ expression that names the lane `ostraLane`.
LanePrinter::Value LanePrinter::MapLanes(TypeIndex type, NodeIndex place, const std::string& one) {
  const std::string lanes = LaneType(type, place), result = NewName("mapped");
  Line({"const ", lanes, " ", result, " = MapLanes<", lanes, ">(", GetMask(),
        ", [&](int ostraLane) OSTRA_KERNEL_FLAT { return ", one, "; });"});
  return {result, Form::kLanes, type};
}

// The same, of a call whose arguments are computed before; arguments that are the same in all lanes are named as they
// are.
LanePrinter::Value LanePrinter::CallEachLane(NodeIndex node, std::string_view function, std::string arguments,
                                             std::size_t firstArgument) {
  const auto children = _tree.GetChildren(node);
  for (std::size_t i = firstArgument; i < children.size(); ++i) {
    const Value value = Evaluate(children[i]);
    const std::string name = NewName("argument");
    Line({"const auto ", name, " = ", value.form == Form::kShared ? value.text : ToLanes(value, children[i]), ";"});
    arguments += Join(
        {arguments.empty() ? "" : ", ", value.form == Form::kShared ? name : Join({"GetLane(", name, ", ostraLane)"})});
  }
  return MapLanes(TypeOf(node), node, Join({function, "(", arguments, ")"}));
}

LanePrinter::Value LanePrinter::LoadElement(NodeIndex memory, TypeIndex element, NodeIndex index, NodeIndex place) {
  const std::string type = LaneType(element, place);
  const Value at = Evaluate(index);
  if (at.form == Form::kShared)
    return {Join({type, "(", _names.GetMemory(memory), "[", at.text, "])"}), Form::kLanes, element};
  if (element == kBoolType) Refuse(place, "an element of a buffer of bool");
  const Bool isInRows = _isInRows[place];
  const Bool isRun = (at.form == Form::kLinear && at.stride == 1) || at.form == Form::kClamped;
  const std::string_view load = isRun      ? (isInRows ? "LoadRowsOfRun(" : "LoadRun(")
                                : isInRows ? "GatherRows("
                                           : "Gather(";
  return {Join({load, _names.GetFirst(memory), ", ", isRun ? at.text : ToLanes(at, index), ", ", GetMask(), ")"}),
          isInRows ? Form::kRows : Form::kLanes, element};
}

LanePrinter::Value LanePrinter::Index(NodeIndex node) {
  const NodeIndex operand = Child(node, 0), index = Child(node, 1);
  const TypeIndex type = TypeOf(node);
  if (_names.IsMemory(operand) && IsAggregate(type)) return LoadPart(node, "", node);
  if (_names.IsMemory(operand)) return LoadElement(operand, type, index, node);
  std::string array, path;
  const NodeIndex variable = FindVariable(operand, array);
  if (const NodeIndex element = FindElement(node, path); element != kNoNode) return LoadPart(element, path, node);
  if (_types[TypeOf(operand)].kind != TypeKind::kArray || variable == kNoNode) {
    Refuse(node, "an element that is found by its number in something other than an array or a buffer");
    return {"", Form::kLanes, type};
  }
  const Bool isArrayShared = FormOf(variable) == Form::kShared;
  const Value at = Evaluate(index);
  if (isArrayShared && at.form != Form::kShared && IsAggregate(type)) {
    const std::string places = NewName("index");
    Line({"const auto ", places, " = ", ToLanes(at, index), ";"});
    return MapLanes(type, node, Join({array, "[", places, ".Get(ostraLane)]"}));
  }
  if (at.form == Form::kShared)
    return {Join({array, "[", at.text, "]"}), isArrayShared ? Form::kShared : Form::kLanes, type};
  LaneType(type, node);
  if (isArrayShared)
    return {Join({"GetSharedElements(", array, ", ", ToLanes(at, index), ", ", GetMask(), ")"}), Form::kLanes, type};
  return {Join({"GetElements(", array, ", ", ToLanes(at, index), ", ", GetMask(), ")"}), Form::kLanes, type};
}

void LanePrinter::HoldIndices(NodeIndex place) {
  for (; KindOf(place) == NodeKind::kMemberOf || KindOf(place) == NodeKind::kIndex; place = Child(place, 0)) {
    const NodeIndex index = Child(place, 1);
    if (index == kNoNode || KindOf(index) == NodeKind::kLiteral) continue;
    Value value = Evaluate(index);
    const std::string name = NewName("index");
    Line({"[[maybe_unused]] const auto ", name, " = ", value.text, ";"});
    value.text = name;
    _held[index] = value;
  }
}

void LanePrinter::ReleaseIndices(NodeIndex place) {
  for (; KindOf(place) == NodeKind::kMemberOf || KindOf(place) == NodeKind::kIndex; place = Child(place, 0)) {
    if (Child(place, 1) != kNoNode) _held.erase(Child(place, 1));
  }
}

LanePrinter::Value LanePrinter::Construct(NodeIndex node) {
  const TypeIndex type = TypeOf(node);
  const auto arguments = _tree.GetChildren(node).subspan(1);
  if (KindOf(node) == NodeKind::kCast || (_types.IsScalar(type) && arguments.size() == 1))
    return Convert(Evaluate(arguments[0]), type, node);
  const std::string lanes = LaneType(type, node);
  if (arguments.size() == 1 && TypeOf(arguments[0]) == type) return Evaluate(arguments[0]);
  if (IsAggregate(type)) return MatrixOf(node);
  UInt32 count = 0;
  std::string list;
  for (const NodeIndex argument : arguments) {
    const TypeIndex wanted = _resolved.converted[argument];
    count += _types[wanted].count;
    Value value = Evaluate(argument);
    const TypeIndex component = GetVectorType(_types[type].scalar, _types[wanted].count);
    list += Join({list.empty() ? "" : ", ", ToLanes(Convert(std::move(value), component, argument), argument)});
  }
  const Bool isSpread = arguments.size() == 1 && count == 1;
  if (!_types.IsVector(type) || (!isSpread && count != _types[type].count))
    Refuse(node, Join({"a ", _types.GetName(type), " made of these values"}));
  return {Join({lanes, "(", list, ")"}), Form::kLanes, type};
}

// A matrix of its columns.
LanePrinter::Value LanePrinter::MatrixOf(NodeIndex node) {
  std::string list;
  for (const NodeIndex column : _tree.GetChildren(node).subspan(1))
    list += Join({list.empty() ? "" : ", ", InLanes(column)});
  return {Join({LaneType(TypeOf(node), node), "(", list, ")"}), Form::kLanes, TypeOf(node)};
}

// A struct of the values in braces; what is not listed is 0.
LanePrinter::Value LanePrinter::StructOf(NodeIndex list) {
  const TypeIndex type = TypeOf(list);
  const std::string lanes = LaneType(type, list), result = NewName("struct");
  if (HasRefused()) return {"", Form::kLanes, type};
  Line({lanes, " ", result, "{};"});
  SetParts(result, type, list);
  return {result, Form::kLanes, type};
}

void LanePrinter::SetParts(const std::string& place, TypeIndex type, NodeIndex list) {
  const auto values = _tree.GetChildren(list);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const Bool isArray = _types[type].kind == TypeKind::kArray;
    const NodeIndex member = isArray ? kNoNode : Child(_types[type].declaration, i);
    const TypeIndex own = isArray ? _types[type].element : TypeOf(member);
    const std::string part = isArray ? Join({place, "[", std::to_string(i), "]"}) : Join({place, ".", NameOf(member)});
    if (KindOf(values[i]) == NodeKind::kInitializerList)
      SetParts(part, own, values[i]);
    else
      Line({part, " = ", ToLanes(Convert(Evaluate(values[i]), own, values[i]), values[i]), ";"});
  }
}

LanePrinter::Value LanePrinter::Binary(Operation operation, const Value& left, const Value& right, TypeIndex result,
                                       NodeIndex place) {
  if (left.form == Form::kRows || right.form == Form::kRows) {
    const auto operand = [&](const Value& value) {
      if (_types.IsVector(value.type)) return ToRows(value);
      return value.form == Form::kShared ? Join({"static_cast<Float32>(", value.text, ")"}) : ToLanes(value, place);
    };
    return {Join({"(", operand(left), " ", GetSpelling(operation), " ", operand(right), ")"}), Form::kRows, result};
  }
  const Bool isMoved = (left.form == Form::kClamped && right.form == Form::kShared) ||
                       (left.form == Form::kShared && right.form == Form::kClamped);
  if (isMoved && operation == Operation::kAdd)
    return {Join({"(", left.text, " + ", right.text, ")"}), Form::kClamped, result};
  const std::string a = ToLanes(left, place);
  const Bool isInteger = !IsFloating(_types[left.type].scalar);
  switch (operation) {
    case Operation::kShiftLeft:
    case Operation::kShiftRight: {
      if (_types.IsVector(left.type)) Refuse(place, "bits of vectors");
      const std::string count = ToLanes(Convert(right, left.type, place), place);
      return {Join({operation == Operation::kShiftLeft ? "ShiftLeft(" : "ShiftRight(", a, ", ", count, ")"}),
              Form::kLanes, result};
    }
    case Operation::kDivide:
    case Operation::kRemainder:
      if (isInteger) {
        if (!_types.IsScalar(left.type)) Refuse(place, "a division of vectors of integers");
        const std::string_view name = operation == Operation::kDivide ? "Divide" : "Remainder";
        if (right.isDivisor) return {Join({name, "By<", right.text, ">(", a, ")"}), Form::kLanes, result};
        return {Join({name, "(", a, ", ", ToLanes(right, place), ", ", GetMask(), ")"}), Form::kLanes, result};
      }
      break;
    case Operation::kBitAnd:
    case Operation::kBitOr:
    case Operation::kBitXor:
      if (_types.IsVector(left.type)) Refuse(place, "bits of vectors");
      break;
    default:
      break;
  }
  return {Join({"(", a, " ", GetSpelling(operation), " ", ToLanes(right, place), ")"}), Form::kLanes, result};
}

// The lanes of the mask in which the condition holds. One comparison under the mask of another takes no instruction
// more.
std::string LanePrinter::ToMaskUnder(const std::string& mask, NodeIndex condition) {
  if (!_tree.IsBinary(condition, Operation::kLogicalAnd) || !IsHarmless(condition))
    return Join({"(", mask, " & ", ToMask(condition), ")"});
  return ToMaskUnder(ToMaskUnder(mask, Child(condition, 0)), Child(condition, 1));
}

// The right side is computed only for lanes that need it, unless that makes no difference.
LanePrinter::Value LanePrinter::Logical(NodeIndex node) {
  const NodeIndex left = Child(node, 0), right = Child(node, 1);
  const Bool isAnd = _tree.nodes[node].operation == Operation::kLogicalAnd;
  const std::string_view sign = isAnd ? " & " : " | ";
  const std::string first = ToMask(left);
  if (IsHarmless(right)) return {Join({"(", first, sign, ToMask(right), ")"}), Form::kLanes, kBoolType};
  const std::string result = NewName("condition"), mask = NewName("mask");
  Line({"Mask ", result, " = ", first, ";"});
  Line({"{ Mask ", mask, " = ",
        isAnd ? Join({GetMask(), " & ", result}) : Join({"AndNot(", GetMask(), ", ", result, ")"}), ";"});
  Line({"if (Any(", mask, ")) {"});
  PushMask(mask);
  const std::string second = ToMask(right);
  Line({result, " = ", isAnd ? Join({result, " & ", second}) : Join({result, " | (", second, " & ", mask, ")"}), ";"});
  _masks.pop_back();
  Line({"} }"});
  return {result, Form::kLanes, kBoolType};
}

LanePrinter::Value LanePrinter::Conditional(NodeIndex node) {
  const NodeIndex condition = Child(node, 0), yes = Child(node, 1), no = Child(node, 2);
  const TypeIndex type = TypeOf(node);
  const Bool isShared = FormOf(condition) == Form::kShared;
  const Bool isHarmless = IsHarmless(yes) && IsHarmless(no);
  const auto wanted = [&](NodeIndex value) { return ToLanes(Convert(Evaluate(value), type, value), value); };
  const std::string test = isShared ? Shared(condition) : ToMask(condition);
  if (isHarmless) {
    const std::string a = wanted(yes), b = wanted(no);
    return {isShared ? Join({"(", test, " ? ", a, " : ", b, ")"}) : Join({"Select(", test, ", ", a, ", ", b, ")"}),
            Form::kLanes, type};
  }
  const std::string result = NewName("value");
  Line({LaneType(type, node), " ", result, "{};"});
  if (isShared) {
    Line({"if (", test, ") {"});
    Line({result, " = ", wanted(yes), ";"});
    Line({"} else {"});
    Line({result, " = ", wanted(no), ";"});
    Line({"}"});
    return {result, Form::kLanes, type};
  }
  const std::string chosen = NewName("condition"), mask = NewName("mask");
  Line({"const Mask ", chosen, " = ", test, ";"});
  Line({"{ Mask ", mask, " = ", GetMask(), " & ", chosen, ";"});
  Line({"if (Any(", mask, ")) {"});
  PushMask(mask);
  Line({result, " = ", wanted(yes), ";"});
  Line({"}"});
  Line({mask, " = AndNot(", _masks[_masks.size() - 2].name, ", ", chosen, ");"});
  Line({"if (Any(", mask, ")) {"});
  Line({result, " = Select(", chosen, ", ", result, ", ", wanted(no), ");"});
  _masks.pop_back();
  Line({"} }"});
  return {result, Form::kLanes, type};
}

}  // namespace ostra::kernellanguage
