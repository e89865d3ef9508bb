#include "parallelprogram/kernellanguage/resolve_functions.h"

#include <algorithm>

namespace ostra::kernellanguage {

void ResolveFunctions::ReadFunction(NodeIndex item) {
  if (!ReadResult(item)) return;
  const auto children = _tree.GetChildren(item);
  const auto parameters = children.subspan(1, children.size() - 2);
  _uses.names.OpenScope();
  for (const NodeIndex parameter : parameters) {
    if (!ReadParameter(parameter)) return;
  }
  ReadDefaultValues(parameters);
  for (const NodeIndex parameter : parameters) _uses.names.Declare(parameter);
  if (IsStopped()) return;
  _uses.names.CheckName(item);
  CheckSecondFunction(item);
  // A function sees itself and those before it.
  _uses.names.AddFunction(item);
  _resolved.functions.push_back(item);
  _uses.statements.ReadBody(children.back(), _resolved.type[item]);
  _uses.names.CloseScope();
}

Bool ResolveFunctions::ReadResult(NodeIndex item) {
  const NodeIndex typeNode = Child(item, 0);
  const TypeIndex type = _uses.types.ReadType(typeNode);
  if (IsStopped()) return false;
  const Bool isIndirect = _tree.nodes[typeNode].flags & (kIsReference | kIsPointer);
  if (isIndirect || type == kGradientType || type == kCounterType) {
    Stop(typeNode, "a result of this type");
    return false;
  }
  if (_uses.names.FindVariable(item) != kNoNode) {
    Stop(item, "a function with the name of a constant");
    return false;
  }
  SetType(item, type);
  return true;
}

Bool ResolveFunctions::ReadParameter(NodeIndex parameter) {
  const NodeIndex typeNode = Child(parameter, 0), dimensions = Child(parameter, 1);
  const std::string_view word = NameOf(typeNode);
  if (word == "Block" || word == "BaseArray" || word.starts_with("TextureSampler"))
    Stop(typeNode, "a buffer or texture as an argument of a function");
  const TypeIndex type = _uses.types.ReadType(typeNode);
  if (IsStopped()) return false;
  const UInt16 flags = _tree.nodes[parameter].flags;
  const Bool isSet = flags & (kIsOut | kIsInOut), isReference = flags & kIsReference;
  if (type == kVoidType || type == kGradientType || type == kCounterType || _tree.HasFlag(typeNode, kIsPointer) ||
      (isSet && isReference)) {
    Stop(typeNode, "an argument of this type");
    return false;
  }
  if (dimensions != kNoNode && !isSet && !isReference) {
    // In C++ this is a pointer to the caller's array.
    Stop(parameter, "an array as an argument that is neither out nor INOUT");
    return false;
  }
  const TypeIndex whole = _uses.types.ReadArray(type, dimensions, kNoNode);
  if (IsStopped()) return false;
  SetType(parameter, whole);
  return true;
}

// The values of arguments that a call may leave out, the last ones. No argument is known in them.
void ResolveFunctions::ReadDefaultValues(std::span<const NodeIndex> parameters) {
  Bool isOptional = false;
  for (const NodeIndex parameter : parameters) {
    const NodeIndex value = Child(parameter, 2);
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
    if (_uses.expressions.Expression(value) != kUnknownType)
      _uses.conversions.Convert(value, _resolved.type[parameter], Join({"the argument \"", NameOf(parameter), "\""}));
  }
}

// Functions by one name differ in what they take.
void ResolveFunctions::CheckSecondFunction(NodeIndex item) {
  const auto children = _tree.GetChildren(item);
  const auto isSame = [&](NodeIndex other) {
    const auto known = _tree.GetChildren(other);
    return known.size() == children.size() &&
           std::equal(known.begin() + 1, known.end() - 1, children.begin() + 1,
                      [this](NodeIndex a, NodeIndex b) { return _resolved.type[a] == _resolved.type[b]; });
  };
  const auto functions = _uses.names.FindFunctions(NameOf(item));
  const auto found = std::find_if(functions.begin(), functions.end(), isSame);
  if (found == functions.end()) return;
  Fail(item, Join({"there is a function \"", NameOf(item), "\" of these arguments already"}),
       {{GetOffset(*found), "it is declared here"}});
}

}  // namespace ostra::kernellanguage
