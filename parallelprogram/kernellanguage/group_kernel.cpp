#include "parallelprogram/kernellanguage/group_kernel.h"

#include "parallelprogram/kernellanguage/cpp_text.h"
#include "parallelprogram/kernellanguage/group_returns.h"
#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {

GroupKernel::GroupKernel(const AnalyzedKernel& kernel)
    : analyzed(kernel),
      tree(kernel.tree),
      resolved(kernel.resolved),
      types(kernel.resolved.types),
      isCut(kernel.groups.isCut),
      body(kernel.tree.GetChild(kernel.tree.kernel, 0)),
      earlyReturn(FindEarlyReturn(kernel.tree, kernel.groups.isCut)) {}

std::string GroupKernel::GetTypeName(TypeIndex type) const {
  const Type& kind = types[type];
  switch (kind.kind) {
    case TypeKind::kStruct:
      return std::string(tree.GetName(kind.declaration));
    case TypeKind::kArray:
      return GetTypeName(kind.element);
    default:
      return GetCppType(kind);
  }
}

std::string GroupKernel::GetArraySizes(TypeIndex type) const {
  const Type& kind = types[type];
  if (kind.kind != TypeKind::kArray) return "";
  return Join({"[", std::to_string(kind.count), "]", GetArraySizes(kind.element)});
}

std::string GroupKernel::GetUniqueName(NodeIndex variable) const {
  return Join({"ostra_", tree.GetName(variable), "_", std::to_string(variable)});
}

}  // namespace ostra::kernellanguage
