#include "parallelprogram/kernellanguage/resolve.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <set>

#include "parallelprogram/kernellanguage/conversions.h"
#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/literal.h"
#include "parallelprogram/kernellanguage/resolver.h"
#include "parallelprogram/kernellanguage/shader_words.h"

namespace ostra::kernellanguage {

Resolution Resolve(const SyntaxTree& tree) { return Resolver(tree).Run(); }

Resolver::Resolver(const SyntaxTree& tree) : _tree(tree), _visible(tree.names.size(), kNoNode) {
  const std::size_t count = tree.nodes.size();
  _resolved.type.assign(count, kUnknownType);
  _resolved.converted.assign(count, kUnknownType);
  _resolved.computed.assign(count, kUnknownType);
  _resolved.meaning.assign(count, {});
  _resolved.isPlace.assign(count, false);
  _declaredIn.assign(count, 0);
}

// The functions of the file that a part of it calls, by name.
void Resolver::FindCalled(NodeIndex node, const FunctionsByName& functions, std::vector<NodeIndex>& called) const {
  if (node == kNoNode) return;
  if (_tree.Is(node, NodeKind::kCall)) {
    const auto found = functions.find(_tree.nodes[node].name);
    if (found != functions.end()) called.insert(called.end(), found->second.begin(), found->second.end());
  }
  for (const NodeIndex child : _tree.GetChildren(node)) FindCalled(child, functions, called);
}

// Functions stand behind those that they call: a file that has them the other way round is written anew.
std::vector<NodeIndex> Resolver::OrderItems() {
  const auto items = _tree.GetChildren(_tree.root);
  FunctionsByName functions;
  std::vector<NodeIndex> all, ordered;
  for (const NodeIndex item : items) {
    if (!_tree.Is(item, NodeKind::kFunction)) continue;
    functions[_tree.nodes[item].name].push_back(item);
    all.push_back(item);
  }
  std::set<NodeIndex> seen;
  const auto append = [&](auto&& self, NodeIndex function, Int depth) -> void {
    if (depth > kMaxCallDepth || !seen.insert(function).second) return;
    std::vector<NodeIndex> called;
    FindCalled(_tree.GetChildren(function).back(), functions, called);
    for (const NodeIndex other : called) self(self, other, depth + 1);
    ordered.push_back(function);
  };
  for (const NodeIndex function : all) append(append, function, 0);
  if (ordered == all) return {items.begin(), items.end()};
  Extend(*std::mismatch(ordered.begin(), ordered.end(), all.begin()).first);
  std::vector<NodeIndex> others;
  std::copy_if(items.begin(), items.end(), std::back_inserter(others),
               [this](NodeIndex item) { return !_tree.Is(item, NodeKind::kFunction); });
  others.insert(others.end(), ordered.begin(), ordered.end());
  return others;
}

Resolution Resolver::Run() {
  for (NodeIndex node = 0; node < _tree.nodes.size(); ++node) {
    if (_tree.HasFlag(node, kIsExtended) || _tree.HasFlag(node, kIsCppOnly))
      Extend(node, !_tree.HasFlag(node, kIsExtended));
  }
  OpenScope();
  // What stands after the kernel comes before it in C++.
  for (const NodeIndex item : OrderItems()) {
    if (IsStopped()) break;
    switch (_tree.nodes[item].kind) {
      case NodeKind::kGroupSize:
      case NodeKind::kTuning:
        ReadDirective(item);
        break;
      case NodeKind::kParameters:
        ReadParameters(item);
        break;
      case NodeKind::kStruct:
        ReadStruct(item);
        break;
      case NodeKind::kDeclaration:
        Extend(item, true);
        ReadDeclaration(item);
        break;
      case NodeKind::kFunction:
        ReadFunction(item);
        break;
      case NodeKind::kNoiseMark:
        _resolved.usesNoise = true;
        break;
      default:
        break;
    }
  }
  if (!IsStopped()) ReadKernel(_tree.kernel);
  if (!IsStopped() && _result.errors.empty()) ExtendConversions();
  return std::move(_result);
}

void Resolver::ExtendConversions() {
  const auto isOfCpp = [&](TypeIndex from, TypeIndex to) {
    return from != to && IsScalar(from) && IsScalar(to) && !ConvertsEverywhere(Get(from).scalar, Get(to).scalar);
  };
  const auto isCut = [&](TypeIndex from, TypeIndex to) {
    return IsScalar(from) && IsScalar(to) && IsCutFloat(Get(from).scalar, Get(to).scalar);
  };
  for (NodeIndex node = 0; node < _tree.nodes.size(); ++node) {
    const NodeKind kind = _tree.nodes[node].kind;
    for (const NodeIndex child : _tree.GetChildren(node))
      if (child != kNoNode && isCut(_resolved.type[child], _resolved.converted[child])) Extend(child);
    if (kind == NodeKind::kAssign && isCut(_resolved.computed[node], _resolved.type[node])) Extend(node);
    // bool == bool is everywhere.
    const Operation operation = _tree.nodes[node].operation;
    const Bool isComparison = operation == Operation::kEqual || operation == Operation::kNotEqual;
    if (isComparison && _resolved.type[_tree.GetChild(node, 0)] == _resolved.type[_tree.GetChild(node, 1)]) continue;
    if (kind == NodeKind::kConstruct || kind == NodeKind::kCast) ExtendHalves(node);
    if (kind == NodeKind::kConstruct || kind == NodeKind::kCast || kind == NodeKind::kIndex) continue;
    // The number of a noise is what it is on a GPU.
    if (kind == NodeKind::kCall && _resolved.meaning[node].word == WordId::kRenderNoise) continue;
    for (const NodeIndex child : _tree.GetChildren(node)) {
      if (child == kNoNode) continue;
      if (isOfCpp(_resolved.type[child], _resolved.converted[child])) Extend(child, true);
      // On a GPU the value is wider than its type.
      const Bool isValue = _tree.Is(child, NodeKind::kUniform) && _resolved.converted[child] == _resolved.type[child];
      if (isValue && IsWidenedUniform(_resolved.type[child])) Extend(child, true);
    }
    if (kind == NodeKind::kAssign && isOfCpp(_resolved.computed[node], _resolved.type[node])) Extend(node, true);
  }
}

// half(k), int(h): C++ makes a float of the number before, which rounds, too.
void Resolver::ExtendHalves(NodeIndex node) {
  for (const NodeIndex child : _tree.GetChildren(node)) {
    const TypeIndex from = _resolved.type[child], to = _resolved.converted[child];
    if (!IsScalar(from) || !IsScalar(to) || (from == kHalfType) == (to == kHalfType)) continue;
    if (from != kFloatType && to != kFloatType) Extend(child, true);
  }
}

TypeIndex Resolver::Stop(NodeIndex node, std::string reason) {
  if (_silence == 0 && !IsStopped()) _result.notUnderstood = NotUnderstood{GetOffset(node), std::move(reason)};
  return kUnknownType;
}

TypeIndex Resolver::Fail(NodeIndex node, std::string text, std::vector<DiagnosticNote> notes) {
  if (_silence == 0 && !IsStopped())
    _result.errors.push_back({.offset = GetOffset(node), .text = std::move(text), .notes = std::move(notes)});
  return kUnknownType;
}

void Resolver::Extend(NodeIndex node, Bool isPrintable) {
  _resolved.extensions.push_back(node);
  if (!isPrintable && _resolved.firstUnprintable == kNoNode) _resolved.firstUnprintable = node;
}

void Resolver::CloseScope() {
  for (; _undo.size() > _scopes.back().undoCount; _undo.pop_back()) _visible[_undo.back().name] = _undo.back().before;
  _scopes.pop_back();
}

void Resolver::Declare(NodeIndex node) {
  CheckName(node);
  const NameIndex name = _tree.nodes[node].name;
  const NodeIndex before = _visible[name];
  const auto scope = static_cast<UInt32>(_scopes.size());
  if (before != kNoNode && _declaredIn[before] == scope) {
    Fail(node, Join({"\"", NameOf(node), "\" is declared a second time"}), {{GetOffset(before), "the first time"}});
    return;
  }
  _undo.push_back({name, before});
  _visible[name] = node;
  _declaredIn[node] = scope;
}

// A name that cannot be that of the node everywhere.
void Resolver::CheckName(NodeIndex node) {
  if (FindTypeWord(NameOf(node)) != kUnknownType)
    Extend(node, IsExtendedType(NameOf(node)));
  else if (IsShaderWord(NameOf(node)))
    Extend(node, true);
}

NodeIndex Resolver::FindParameter(std::string_view name) const {
  const auto found = _parameters.find(name);
  return found == _parameters.end() ? kNoNode : found->second;
}

void Resolver::ReadDirective(NodeIndex item) {
  const auto values = _tree.GetChildren(item);
  std::size_t axis = 0;
  for (const NodeIndex value : values) {
    const auto number = Evaluate(value);
    if (!number || *number > std::numeric_limits<Int32>::max() ||
        (_tree.Is(item, NodeKind::kGroupSize) && *number < 1)) {
      Stop(value, "this number of a directive");
      return;
    }
    if (_tree.Is(item, NodeKind::kGroupSize))
      _resolved.groupSize[axis++] = static_cast<UInt32>(*number);
    else if (FindWordId(NameOf(item)) == WordId::kGranularity)
      _resolved.granularity = *number;
    else
      _resolved.singleThreadedThreshold = *number;
  }
}

TypeIndex Resolver::ReadType(NodeIndex node) {
  if (_resolved.type[node] != kUnknownType) return _resolved.type[node];
  const std::string_view name = NameOf(node);
  const auto arguments = _tree.GetChildren(node);
  TypeIndex type = kUnknownType;
  if (arguments.empty()) {
    const auto found = _structs.find(name);
    type = found != _structs.end() ? found->second : FindTypeWord(name);
  } else if (name.size() == 4 && name.starts_with("Vec") && arguments.size() == 1) {
    Scalar scalar{};
    if (_tree.GetChildren(arguments[0]).empty() && FindElementWord(NameOf(arguments[0]), scalar))
      type = GetVectorType(scalar, static_cast<UInt32>(name[3] - '0'));
  }
  if (type == kUnknownType) return Stop(node, Join({"the type \"", name, "\" here"}));
  if (arguments.empty() && IsExtendedType(name) && !_structs.contains(name)) Extend(node);
  // GPUs compute with others, or have no such word.
  const Bool isSmall =
      IsScalar(type) && IsInteger(Get(type).scalar) && type != kBoolType && GetSize(Get(type).scalar) < 4;
  if (isSmall || IsCpuVector(Get(type)) || (name == "Int" && !_structs.contains(name))) Extend(node, true);
  return _resolved.type[node] = type;
}

TypeIndex Resolver::ReadParameterType(NodeIndex node) {
  const std::string_view name = NameOf(node);
  const auto arguments = _tree.GetChildren(node);
  TypeIndex type = kUnknownType;
  if ((name == "Block" || name == "BaseArray") && arguments.size() == 1) {
    const TypeIndex element = ReadType(arguments[0]);
    if (IsStopped()) return kUnknownType;
    const TypeKind kind = Get(element).kind;
    if (kind == TypeKind::kVoid || kind == TypeKind::kGradient || kind == TypeKind::kCounter)
      return Stop(arguments[0], "elements of this type");
    type = _resolved.types.GetBuffer(element, _tree.HasFlag(node, kIsConst) || _tree.HasFlag(arguments[0], kIsConst));
  } else if (Type texture; ParseTextureType(name, texture)) {
    type = _resolved.types.GetTexture(texture.dimensions, texture.count, texture.scalar, texture.isLinear);
  } else if (name.starts_with("TextureSampler")) {
    return Stop(node, "a texture type that kernels on the CPU do not have");
  } else {
    type = ReadType(node);
    if (type == kVoidType) return Stop(node, "a parameter without a value");
    if (_tree.HasFlag(node, kIsPointer) && type != kCounterType) return Stop(node, "a pointer");
  }
  CheckParameterType(node);
  if (arguments.empty() || Get(type).kind == TypeKind::kVector) ExtendParameterType(node, type);
  return _resolved.type[node] = type;
}

// What a host cannot give. A vector of bools is one of ints, but not as an element.
void Resolver::CheckParameterType(NodeIndex node, Bool isElement) {
  for (const NodeIndex argument : _tree.GetChildren(node)) CheckParameterType(argument, true);
  const std::string_view name = NameOf(node);
  const TypeIndex type = FindTypeWord(name);
  if (!IsExtendedType(name) || _structs.contains(name)) return;
  if (type == kMatrix2Type || (isElement && Get(type).scalar == Scalar::kBool))
    Fail(node, Join({"a ", TypeName(type), " is no type of a parameter: it is for values inside of a kernel"}));
}

// The translation for GPUs knows these from the plain form alone.
void Resolver::ExtendParameterType(NodeIndex node, TypeIndex type) {
  const Scalar scalar = Get(type).scalar;
  const Bool isOfIntegers = scalar == Scalar::kInt32 || scalar == Scalar::kUInt32;
  const Bool isShortVector = IsVector(type) && (isOfIntegers || scalar == Scalar::kHalf) && Get(type).count < 4;
  const Bool isWide = IsScalar(type) && GetSize(scalar) == 8;
  if (type == kBoolType || isShortVector || isWide) Extend(node, true);
}

void Resolver::ReadParameters(NodeIndex item) {
  for (const NodeIndex parameter : _tree.GetChildren(item)) {
    const TypeIndex type = ReadParameterType(_tree.GetChild(parameter, 0));
    if (IsStopped()) return;
    _resolved.type[parameter] = _resolved.converted[parameter] = type;
    _resolved.usesGradient = _resolved.usesGradient || type == kGradientType;
    _resolved.parameters.push_back(parameter);
    if (!_parameters.emplace(NameOf(parameter), parameter).second) {
      Fail(parameter, Join({"there is a parameter \"", NameOf(parameter), "\" already"}),
           {{GetOffset(FindParameter(NameOf(parameter))), "it is declared here"}});
    }
  }
  if (_resolved.types.GetCount() > kMaxTypes) Stop(item, Join({"more than ", std::to_string(kMaxTypes), " types"}));
}

void Resolver::ReadStruct(NodeIndex item) {
  for (const NodeIndex member : _tree.GetChildren(item)) {
    const TypeIndex type = ReadType(_tree.GetChild(member, 0));
    if (IsStopped()) return;
    if (type == kVoidType || type == kGradientType || type == kCounterType ||
        (_tree.nodes[_tree.GetChild(member, 0)].flags & (kIsConst | kIsReference | kIsPointer))) {
      Stop(member, "a member of this type");
      return;
    }
    const TypeIndex whole = ReadArray(type, _tree.GetChild(member, 1), kNoNode);
    _resolved.type[member] = _resolved.converted[member] = whole;
    CheckName(member);
    if (IsShaderMemberWord(NameOf(member)) && !IsShaderWord(NameOf(member))) Extend(member, true);
    for (const NodeIndex other : _tree.GetChildren(item)) {
      if (other == member) break;
      if (NameOf(other) == NameOf(member)) Fail(member, Join({"there is a member \"", NameOf(member), "\" already"}));
    }
  }
  if (_tree.GetChildren(item).size() > 256) Stop(item, "a struct of more than 256 members");
  if (IsStopped()) return;
  CheckName(item);
  const TypeIndex type = _resolved.types.AddStruct(item, NameOf(item));
  _resolved.type[item] = _resolved.converted[item] = type;
  _resolved.structs.push_back(item);
  if (!_structs.emplace(NameOf(item), type).second) Stop(item, "a second struct of this name");
  if (_resolved.types.GetCount() > kMaxTypes) Stop(item, Join({"more than ", std::to_string(kMaxTypes), " types"}));
}

// Whether a value is surely no constant.
Bool Resolver::IsComputed(NodeIndex node) const {
  const NodeKind kind = _tree.nodes[node].kind;
  if (kind == NodeKind::kUniform || kind == NodeKind::kBuffer) return true;
  if (kind == NodeKind::kName) {
    const NodeIndex variable = FindVariable(node);
    return variable != kNoNode && !_tree.HasFlag(variable, kIsConst);
  }
  const auto children = _tree.GetChildren(node);
  return std::any_of(children.begin(), children.end(),
                     [this](NodeIndex child) { return child != kNoNode && IsComputed(child); });
}

TypeIndex Resolver::ReadArray(TypeIndex element, NodeIndex dimensions, NodeIndex list) {
  if (dimensions == kNoNode || IsStopped()) return element;
  const auto sizes = _tree.GetChildren(dimensions);
  for (std::size_t i = sizes.size(); i-- > 0;) {
    std::optional<Int64> count;
    if (sizes[i] != kNoNode)
      count = Evaluate(sizes[i]);
    else if (i == 0 && _tree.Is(list, NodeKind::kInitializerList))
      count = static_cast<Int64>(_tree.GetChildren(list).size());
    if (!count && sizes[i] != kNoNode && IsComputed(sizes[i]))
      return Fail(sizes[i], "the length of an array is a constant: this is known only when the kernel runs");
    if (!count || *count < 1 || *count > 0x7fffffff)
      return Stop(sizes[i] == kNoNode ? dimensions : sizes[i], "the length of this array");
    element = _resolved.types.GetArray(element, static_cast<UInt32>(*count));
  }
  if (_resolved.types.GetCount() > kMaxTypes)
    return Stop(dimensions, Join({"more than ", std::to_string(kMaxTypes), " types"}));
  return element;
}

void Resolver::ReadFunction(NodeIndex item) {
  const auto children = _tree.GetChildren(item);
  const NodeIndex resultNode = children[0];
  const TypeIndex result = ReadType(resultNode);
  if (IsStopped()) return;
  if ((_tree.nodes[resultNode].flags & (kIsReference | kIsPointer)) || result == kGradientType ||
      result == kCounterType) {
    Stop(resultNode, "a result of this type");
    return;
  }
  if (FindVariable(item) != kNoNode) {
    Stop(item, "a function with the name of a constant");
    return;
  }
  _resolved.type[item] = _resolved.converted[item] = result;
  OpenScope();
  const auto parameters = children.subspan(1, children.size() - 2);
  for (const NodeIndex parameter : parameters) {
    const NodeIndex typeNode = _tree.GetChild(parameter, 0);
    const std::string_view word = NameOf(typeNode);
    if (word == "Block" || word == "BaseArray" || word.starts_with("TextureSampler"))
      Stop(typeNode, "a buffer or texture as an argument of a function");
    const TypeIndex type = ReadType(typeNode);
    if (IsStopped()) return;
    const UInt16 flags = _tree.nodes[parameter].flags;
    const Bool isReference = flags & (kIsReference | kIsOut | kIsInOut);
    if (type == kVoidType || type == kGradientType || type == kCounterType ||
        (_tree.nodes[typeNode].flags & kIsPointer) || ((flags & (kIsOut | kIsInOut)) && (flags & kIsReference))) {
      Stop(typeNode, "an argument of this type");
      return;
    }
    if (_tree.GetChild(parameter, 1) != kNoNode && !isReference) {
      // In C++ this is a pointer to the caller's array.
      Stop(parameter, "an array as an argument that is neither out nor INOUT");
      return;
    }
    const TypeIndex whole = ReadArray(type, _tree.GetChild(parameter, 1), kNoNode);
    if (IsStopped()) return;
    _resolved.type[parameter] = _resolved.converted[parameter] = whole;
  }
  ReadDefaultValues(parameters);
  for (const NodeIndex parameter : parameters) Declare(parameter);
  if (IsStopped()) return;
  CheckName(item);
  CheckSecondFunction(item);
  // A function sees itself and those before it.
  _functions[NameOf(item)].push_back(item);
  _resolved.functions.push_back(item);
  _returnType = result;
  Statements(children.back());
  CloseScope();
}

// Functions by one name differ in what they take.
void Resolver::CheckSecondFunction(NodeIndex item) {
  const auto children = _tree.GetChildren(item);
  const auto found = _functions.find(NameOf(item));
  if (found == _functions.end()) return;
  for (const NodeIndex other : found->second) {
    const auto known = _tree.GetChildren(other);
    const Bool isSame = known.size() == children.size() &&
                        std::equal(known.begin() + 1, known.end() - 1, children.begin() + 1,
                                   [this](NodeIndex a, NodeIndex b) { return _resolved.type[a] == _resolved.type[b]; });
    if (!isSame) continue;
    Fail(item, Join({"there is a function \"", NameOf(item), "\" of these arguments already"}),
         {{GetOffset(other), "it is declared here"}});
    return;
  }
}

// The values of arguments that a call may leave out, the last ones. No argument is known in them.
void Resolver::ReadDefaultValues(std::span<const NodeIndex> parameters) {
  Bool isOptional = false;
  for (const NodeIndex parameter : parameters) {
    const NodeIndex value = _tree.GetChild(parameter, 2);
    if (IsStopped()) return;
    if (value == kNoNode) {
      if (isOptional)
        Fail(parameter, Join({"\"", NameOf(parameter), "\" follows an argument with a default value and has none"}));
      continue;
    }
    isOptional = true;
    if (_tree.nodes[parameter].flags & (kIsOut | kIsInOut | kIsReference)) {
      Stop(value, "a default value of this argument");
      return;
    }
    Extend(parameter);
    if (Expression(value) != kUnknownType)
      Convert(value, _resolved.type[parameter], Join({"the argument \"", NameOf(parameter), "\""}));
  }
}

void Resolver::ReadKernel(NodeIndex item) {
  _isInKernel = true;
  _returnType = kVoidType;
  OpenScope();
  Statements(_tree.GetChild(item, 0));
  CloseScope();
}

void Resolver::ReadDeclaration(NodeIndex statement) {
  for (const NodeIndex variable : _tree.GetChildren(statement)) {
    if (!IsStopped()) ReadVariable(variable);
  }
}

void Resolver::ReadVariable(NodeIndex variable) {
  const NodeIndex typeNode = _tree.GetChild(variable, 0), value = _tree.GetChild(variable, 2);
  const TypeIndex element = ReadType(typeNode);
  if (IsStopped()) return;
  if (element == kVoidType) {
    Fail(variable, Join({"\"", NameOf(variable), "\" cannot be of type void"}));
    return;
  }
  if (element == kGradientType || element == kCounterType) {
    Stop(typeNode, "a variable of this type");
    return;
  }
  const TypeIndex type = ReadArray(element, _tree.GetChild(variable, 1), value);
  if (IsStopped()) return;
  _resolved.type[variable] = _resolved.converted[variable] = type;
  // In C++ a name is known in its own initial value.
  Declare(variable);
  if (value == kNoNode) {
    if (_tree.HasFlag(variable, kIsConst)) Stop(variable, "a constant without a value");
    return;
  }
  if (_tree.Is(value, NodeKind::kInitializerList)) return ReadList(value, type);
  const TypeIndex given = Expression(value);
  if (given == kUnknownType || IsStopped()) return;
  if (Get(type).kind == TypeKind::kArray) {
    Stop(value, "a value of this kind for an array");
    return;
  }
  if (!Convert(value, type, Join({"\"", NameOf(variable), "\""}))) return;
  if (_tree.HasFlag(variable, kIsConst) && IsScalar(type) && IsInteger(Get(type).scalar)) {
    if (const auto number = Evaluate(value)) _constants.emplace(variable, *number);
  }
}

void Resolver::ReadList(NodeIndex list, TypeIndex type) {
  _resolved.type[list] = _resolved.converted[list] = type;
  const auto values = _tree.GetChildren(list);
  const Type kind = Get(type);
  const auto isAggregate = [this](TypeIndex part) {
    return Get(part).kind == TypeKind::kArray || Get(part).kind == TypeKind::kStruct;
  };
  if (kind.kind == TypeKind::kArray) {
    if (values.size() > kind.count) {
      // Braces inside may be left out.
      if (isAggregate(kind.element))
        Stop(list, "values in braces for this type");
      else
        Fail(values[kind.count], Join({"more values than the ", std::to_string(kind.count), " elements of the array"}));
      return;
    }
    for (const NodeIndex value : values) ReadListElement(value, kind.element);
  } else if (kind.kind == TypeKind::kStruct) {
    const auto members = _tree.GetChildren(kind.declaration);
    if (values.size() > members.size()) {
      if (std::any_of(members.begin(), members.end(), [&](NodeIndex m) { return isAggregate(_resolved.type[m]); }))
        Stop(list, "values in braces for this type");
      else
        Fail(values[members.size()],
             Join({"more values than the ", std::to_string(members.size()), " members of ", TypeName(type)}));
      return;
    }
    for (std::size_t i = 0; i < values.size(); ++i) ReadListElement(values[i], _resolved.type[members[i]]);
  } else if (kind.kind == TypeKind::kScalar && values.size() == 1 && !_tree.Is(values[0], NodeKind::kInitializerList)) {
    Extend(list);
    ReadListElement(values[0], type);
  } else if (kind.kind == TypeKind::kVector || kind.kind == TypeKind::kMatrix) {
    ReadListOfComponents(list, type);
  } else {
    Stop(list, "values in braces for this type");
  }
}

// As the arguments of vec3( ) or mat3( ); the columns of a matrix may have braces of their own.
void Resolver::ReadListOfComponents(NodeIndex list, TypeIndex type) {
  const auto values = _tree.GetChildren(list);
  const Type kind = Get(type);
  Extend(list);
  const auto isList = [this](NodeIndex value) { return _tree.Is(value, NodeKind::kInitializerList); };
  if (std::any_of(values.begin(), values.end(), isList)) {
    if (kind.kind != TypeKind::kMatrix || values.size() != kind.count) {
      Stop(list, "values in braces for this type");
      return;
    }
    for (const NodeIndex value : values) ReadListElement(value, GetVectorType(Scalar::kFloat32, kind.count));
    return;
  }
  Bool isKnown = false;
  ReadArguments(values, isKnown);
  if (!isKnown) return;
  const UInt32 count = kind.kind == TypeKind::kMatrix ? kind.count * kind.count : kind.count;
  const UInt32 given = CountComponents(type, values);
  if (given != count) {
    // C++ may take it for something else.
    if (values.empty() || given != 0) Stop(list, "values in braces for this type");
    return;
  }
  ConvertComponents(values, kind.kind == TypeKind::kMatrix ? Scalar::kFloat32 : kind.scalar);
}

// In braces C++ refuses conversions that may lose something, and leaves braces out.
void Resolver::ReadListElement(NodeIndex value, TypeIndex type) {
  if (IsStopped()) return;
  if (_tree.Is(value, NodeKind::kInitializerList)) return ReadList(value, type);
  const TypeIndex given = Expression(value);
  if (given == kUnknownType || given == type || IsStopped()) return;
  const auto number = Evaluate(value);
  const Bool fits = number && IsScalar(given) && Get(given).scalar == Scalar::kInt32 && IsScalar(type) &&
                    (type == kFloatType || type == kDoubleType || (type == kUIntType && *number >= 0)) &&
                    *number < (1 << 24) && *number > -(1 << 24);
  if (!fits) {
    if (!IsScalar(type) && !IsVector(type)) {
      Stop(value, Join({"a ", TypeName(given), " for a ", TypeName(type), " in braces"}));
      return;
    }
    Extend(value);
    Convert(value, type, "an element");
    return;
  }
  SetConverted(value, type);
}

// The value of a constant expression of integers; nothing for others.
std::optional<Int64> Resolver::Evaluate(NodeIndex node) const {
  const Node& entry = _tree.nodes[node];
  if (entry.kind == NodeKind::kLiteral) {
    LiteralValue value;
    if (!ParseLiteral(NameOf(node), value) || !IsInteger(value.scalar) || value.integer > 0x7fffffffu) return {};
    return static_cast<Int64>(value.integer);
  }
  if (entry.kind == NodeKind::kName) {
    const auto found = _constants.find(FindVariable(node));
    return found == _constants.end() ? std::optional<Int64>() : found->second;
  }
  if (entry.kind == NodeKind::kUnary && entry.operation == Operation::kMinus) {
    const auto value = Evaluate(_tree.GetChild(node, 0));
    return value ? std::optional<Int64>(-*value) : std::nullopt;
  }
  if (entry.kind != NodeKind::kBinary) return {};
  const auto left = Evaluate(_tree.GetChild(node, 0)), right = Evaluate(_tree.GetChild(node, 1));
  if (!left || !right) return {};
  Int64 result = 0;
  switch (entry.operation) {
    case Operation::kAdd:
      result = *left + *right;
      break;
    case Operation::kSubtract:
      result = *left - *right;
      break;
    case Operation::kMultiply:
      result = *left * *right;
      break;
    case Operation::kDivide:
      if (*right == 0) return {};
      result = *left / *right;
      break;
    case Operation::kRemainder:
      if (*right == 0) return {};
      result = *left % *right;
      break;
    default:
      return {};
  }
  // As an int computes it, or not at all.
  if (result > 0x7fffffff || result < -0x7fffffff) return {};
  return result;
}

}  // namespace ostra::kernellanguage
