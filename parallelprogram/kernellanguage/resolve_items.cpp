#include "parallelprogram/kernellanguage/resolve_items.h"

#include <limits>

#include "parallelprogram/kernellanguage/shader_words.h"

namespace ostra::kernellanguage {

void ResolveItems::ReadDirective(NodeIndex item) {
  const auto values = _tree.GetChildren(item);
  std::size_t axis = 0;
  for (const NodeIndex value : values) {
    const auto number = _constants.Evaluate(value);
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

void ResolveItems::ReadParameters(NodeIndex item) {
  for (const NodeIndex parameter : _tree.GetChildren(item)) {
    const TypeIndex type = _types.ReadParameterType(Child(parameter, 0));
    if (IsStopped()) return;
    SetType(parameter, type);
    _resolved.usesGradient = _resolved.usesGradient || type == kGradientType;
    _resolved.parameters.push_back(parameter);
    if (!_names.AddParameter(parameter)) {
      Fail(parameter, Join({"there is a parameter \"", NameOf(parameter), "\" already"}),
           {{GetOffset(_names.FindParameter(NameOf(parameter))), "it is declared here"}});
    }
  }
  _types.CheckTypeCount(item);
}

// False if reading ends.
Bool ResolveItems::ReadMember(NodeIndex item, NodeIndex member) {
  const NodeIndex typeNode = Child(member, 0);
  const TypeIndex type = _types.ReadType(typeNode);
  if (IsStopped()) return false;
  if (type == kVoidType || type == kGradientType || type == kCounterType ||
      (_tree.nodes[typeNode].flags & (kIsConst | kIsReference | kIsPointer))) {
    Stop(member, "a member of this type");
    return false;
  }
  SetType(member, _types.ReadArray(type, Child(member, 1), kNoNode));
  _names.CheckName(member);
  if (IsShaderMemberWord(NameOf(member)) && !IsShaderWord(NameOf(member))) Extend(member, true);
  for (const NodeIndex other : _tree.GetChildren(item)) {
    if (other == member) break;
    if (NameOf(other) == NameOf(member)) Fail(member, Join({"there is a member \"", NameOf(member), "\" already"}));
  }
  return true;
}

void ResolveItems::ReadStruct(NodeIndex item) {
  for (const NodeIndex member : _tree.GetChildren(item)) {
    if (!ReadMember(item, member)) return;
  }
  if (_tree.GetChildren(item).size() > 256) Stop(item, "a struct of more than 256 members");
  if (IsStopped()) return;
  _names.CheckName(item);
  const TypeIndex type = _resolved.types.AddStruct(item, NameOf(item));
  SetType(item, type);
  _resolved.structs.push_back(item);
  if (!_names.AddStruct(item, type)) Stop(item, "a second struct of this name");
  _types.CheckTypeCount(item);
}

}  // namespace ostra::kernellanguage
