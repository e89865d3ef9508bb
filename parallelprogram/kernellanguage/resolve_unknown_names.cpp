#include "parallelprogram/kernellanguage/resolve_unknown_names.h"

#include "ostra/core/nearest_word.h"
#include "parallelprogram/kernellanguage/foreign_words.h"
#include "parallelprogram/kernellanguage/host_names.h"

namespace ostra::kernellanguage {

TypeIndex ResolveUnknownNames::FailParameter(NodeIndex node) {
  const std::string_view name = NameOf(node);
  if (_resolved.parameters.empty()) return Stop(node, Join({"\"", name, "\" of a kernel without parameters"}));
  NearestWord nearest(name, name.size() < 4 ? 2 : name.size() < 8 ? 3 : 4);
  for (const NodeIndex parameter : _resolved.parameters) nearest.Try(NameOf(parameter));
  // Macros could put the name of a parameter together, but those are expanded here.
  const std::string_view meant = nearest.Get();
  return Fail(node, meant.empty() ? Join({"there is no parameter \"", name, "\""})
                                  : Join({"there is no parameter \"", name, "\"; did you mean \"", meant, "\"?"}));
}

TypeIndex ResolveUnknownNames::FailName(NodeIndex node, Bool isCall) {
  const std::string_view name = NameOf(node);
  for (const NodeIndex item : _tree.GetChildren(_tree.root)) {
    if (!isCall || NameOf(item) != name) continue;
    if (_tree.Is(item, NodeKind::kFunction)) return Stop(node, "functions that call each other");
    if (_tree.Is(item, NodeKind::kPrototype)) return Stop(node, "a function before its body");
  }
  std::string_view instead = FindForeignWord(name, ForeignUse::kValue);
  if (instead.empty() && isCall) instead = FindForeignWord(name, ForeignUse::kDeclaration);
  if (!instead.empty()) return Fail(node, MakeForeignWordText(name, instead));
  if (MayBeHostName(name)) return Stop(node, Join({"\"", name, "\" is not declared in the kernel's files"}));
  const std::string_view meant = FindMeantName(name, isCall);
  if (meant.empty()) return FailUnlikeAll(node, isCall);
  if (const NodeIndex parameter = _names.FindParameter(meant); parameter != kNoNode && FindWord(meant) == nullptr) {
    const Bool isBuffer = Get(_resolved.type[parameter]).kind == TypeKind::kBuffer;
    return Fail(node, Join({"unknown name \"", name, "\"; did you mean ", isBuffer ? "UNIFORM_BUFFER(" : "UNIFORM(",
                            meant, ")?"}));
  }
  return Fail(node, Join({"unknown name \"", name, "\"; did you mean \"", meant, "\"?"}));
}

// A name that is not almost a known one.
TypeIndex ResolveUnknownNames::FailUnlikeAll(NodeIndex node, Bool isCall) {
  const std::string_view name = NameOf(node);
  const NodeIndex below = isCall ? kNoNode : FindVariableBelow(node);
  if (below == kNoNode) return Fail(node, Join({"unknown name \"", name, "\""}));
  return Fail(node, Join({"\"", name, "\" is used before it is declared"}),
              {{GetOffset(below), "it is declared here"}});
}

// A variable by the name of a kName that is declared in the same function, behind it.
NodeIndex ResolveUnknownNames::FindVariableBelow(NodeIndex name) const {
  NodeIndex found = kNoNode;
  for (NodeIndex node = 0; node < _tree.nodes.size(); ++node) {
    if (!_tree.Is(node, NodeKind::kVariable) || _tree.nodes[node].name != _tree.nodes[name].name) continue;
    const Bool isBelow = GetOffset(node) > GetOffset(name);
    if (isBelow && (found == kNoNode || GetOffset(node) < GetOffset(found))) found = node;
  }
  return found;
}

std::string_view ResolveUnknownNames::FindMeantName(std::string_view name, Bool isCall) const {
  NearestWord nearest(name, name.size() < 3 ? 1 : name.size() < 6 ? 2 : 3);
  if (!isCall)
    for (const std::string_view variable : _names.ListVariables()) nearest.Try(variable);
  for (const NodeIndex parameter : _resolved.parameters) {
    if (!isCall && _names.IsInKernel()) nearest.Try(NameOf(parameter));
  }
  for (const NodeIndex function : _resolved.functions) {
    if (isCall) nearest.Try(NameOf(function));
  }
  for (const Word& word : GetWords()) {
    const Bool isFunction = word.kind == WordKind::kFunction || word.kind == WordKind::kTexture ||
                            word.kind == WordKind::kAtomic || word.kind == WordKind::kCall ||
                            word.kind == WordKind::kParameter || word.kind == WordKind::kType;
    if (isCall ? isFunction : word.kind == WordKind::kValue) nearest.Try(word.name);
  }
  return nearest.Get();
}

}  // namespace ostra::kernellanguage
