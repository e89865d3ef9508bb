#include "apps/ostra/languageserver/features.h"
#include "parallelprogram/kernellanguage/join.h"

namespace ostra::tool {

using namespace kernellanguage;

namespace {

std::string PrintTyped(const AnalyzedKernel& kernel, NodeIndex node) {
  return Join({kernel.resolved.types.GetName(kernel.resolved.type[node]), " ", kernel.tree.GetName(node)});
}

std::string PrintFunction(const AnalyzedKernel& kernel, NodeIndex function) {
  const auto children = kernel.tree.GetChildren(function);
  const std::string result = kernel.resolved.types.GetName(kernel.resolved.type[children[0]]);
  std::string text = Join({result, " ", kernel.tree.GetName(function), "("});
  std::string_view separator;
  for (const NodeIndex child : children) {
    if (!kernel.tree.Is(child, NodeKind::kFunctionParameter)) continue;
    text += separator;
    if (kernel.tree.HasFlag(child, kIsInOut)) text += "INOUT ";
    if (kernel.tree.HasFlag(child, kIsOut)) text += "OUT ";
    text += PrintTyped(kernel, child);
    separator = ", ";
  }
  return text + ")";
}

}  // namespace

std::string PrintDeclaration(const AnalyzedKernel& kernel, NodeIndex declaration) {
  const std::string_view name = kernel.tree.GetName(declaration);
  switch (kernel.tree.nodes[declaration].kind) {
    case NodeKind::kFunction:
      return PrintFunction(kernel, declaration);
    case NodeKind::kStruct:
      return Join({"struct ", name});
    case NodeKind::kKernel:
      return Join({"kernel ", name});
    case NodeKind::kParameter:
      return Join({"(", kernel.resolved.types.GetName(kernel.resolved.type[declaration]), ") ", name});
    default:
      return Join({kernel.tree.HasFlag(declaration, kIsConst) ? "const " : "", PrintTyped(kernel, declaration)});
  }
}

}  // namespace ostra::tool
