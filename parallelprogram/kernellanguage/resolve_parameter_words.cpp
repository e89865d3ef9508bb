#include "parallelprogram/kernellanguage/resolve_parameter_words.h"

#include "parallelprogram/kernellanguage/resolve_expressions.h"

namespace ostra::kernellanguage {

TypeIndex ResolveParameterWords::ParameterWord(NodeIndex node) {
  const Bool isBuffer = _tree.Is(node, NodeKind::kBuffer);
  const std::string_view name = NameOf(node), word = isBuffer ? "UNIFORM_BUFFER" : "UNIFORM";
  if (!_names.IsInKernel()) return Stop(node, Join({word, " outside of the kernel's body"}));
  const NodeIndex parameter = _names.FindParameter(name);
  if (parameter == kNoNode) return _unknownNames.FailParameter(node);
  const TypeIndex type = _resolved.type[parameter];
  SetParameter(node, parameter);
  _resolved.isPlace[node] = true;
  const TypeKind kind = Get(type).kind;
  if (isBuffer != (kind == TypeKind::kBuffer)) {
    if (isBuffer && (kind == TypeKind::kScalar || kind == TypeKind::kMatrix))
      return Fail(node, Join({"\"", name, "\" is no buffer but a ", TypeName(type)}));
    if (kind == TypeKind::kBuffer)
      return Fail(node, Join({"\"", name, "\" is a buffer, reached with UNIFORM_BUFFER(", name, ")"}));
    return Stop(node, Join({word, " of a parameter of this kind"}));
  }
  if (kind == TypeKind::kTexture || kind == TypeKind::kCounter)
    return Stop(node, Join({word, " of a parameter of this kind"}));
  return type;
}

// On the CPU the element of the buffer; the index in group memory is not looked at.
TypeIndex ResolveParameterWords::LocalData(NodeIndex node) {
  _messages.BeginSilence();
  _expressions.Expression(Child(node, 0));
  _messages.EndSilence();
  const TypeIndex index = _expressions.Expression(Child(node, 1));
  if (!_names.IsInKernel()) return Stop(node, "LOCALDATA outside of the kernel's body");
  const NodeIndex parameter = _names.FindParameter(NameOf(node));
  if (parameter == kNoNode) return _unknownNames.FailParameter(node);
  const TypeIndex type = _resolved.type[parameter];
  if (Get(type).kind != TypeKind::kBuffer) return Stop(node, "LOCALDATA of a parameter of this kind");
  if (index != kUnknownType && (!IsScalar(index) || !IsInteger(Get(index).scalar)))
    return Stop(node, "an index of this type");
  SetParameter(node, parameter);
  _resolved.isPlace[node] = true;
  return Get(type).element;
}

TypeIndex ResolveParameterWords::BareName(NodeIndex node, NodeIndex parameter) {
  const TypeIndex type = _resolved.type[parameter];
  if (!_names.IsInKernel() || type == kCounterType) return Stop(node, "a parameter by its bare name");
  const std::string_view name = NameOf(node);
  const std::string_view form = Get(type).kind == TypeKind::kBuffer ? "UNIFORM_BUFFER(" : "UNIFORM(";
  return Fail(node, Join({"the parameter \"", name, "\" is reached with ", form, name, ")"}));
}

NodeIndex ResolveParameterWords::ReadArgument(NodeIndex argument, WordId word) {
  const Bool isUniform = _tree.Is(argument, NodeKind::kUniform);
  if ((!isUniform && !_tree.Is(argument, NodeKind::kName)) || _tree.HasFlag(argument, kIsParenthesized)) {
    Stop(argument, Join({GetWord(word).name, " of this"}));
    return kNoNode;
  }
  const NodeIndex parameter = _names.FindParameter(NameOf(argument));
  if (parameter == kNoNode) {
    isUniform ? _unknownNames.FailParameter(argument) : _unknownNames.FailName(argument, false);
    return kNoNode;
  }
  SetParameter(argument, parameter);
  SetType(argument, _resolved.type[parameter]);
  return parameter;
}

}  // namespace ostra::kernellanguage
