#include "parallelprogram/program/cpu_kernel.h"

#include <algorithm>

#include "ostra/object/class.h"
#include "parallelprogram/program/parameter_checks.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {

const BaseArray<KernelDeclaration>& CpuKernel::GetDeclarations() const {
  static const BaseArray<KernelDeclaration> none;
  return declarations ? declarations->GetDeclarations() : none;
}

Result<void> CpuKernel::CreateObject(const Class& kernelClass) {
  OSTRA_ASSIGN_OR_RETURN(KernelRef object, kernelClass.CreateObject<KernelInterface>());
  OSTRA_RETURN_IF_ERROR(object->Init());
  range = FindInterface<KernelRangeInterface>(*object);
  groups = FindInterface<KernelGroupInterface>(*object);
  declarations = FindInterface<KernelDeclarationInterface>(*object);
  kernel = std::move(object);
  FindUnset();
  if (const char* const table = declarations ? declarations->GetReportTable() : nullptr) {
    OSTRA_ASSIGN_OR_RETURN(reports, KernelReportTable::Parse(table));
  }
  return OK;
}

// A value of the parameter's own type stands for a buffer. What was handed over has been checked to be of the declared
// kind.
void CpuKernel::FindUnset() {
  unset = nullptr;
  for (const KernelDeclaration& declaration : GetDeclarations()) {
    const Data* value = uniforms.FindData(declaration.name);
    if (declaration.name.GetView() == kReportBuffer) continue;  // the program gives it with each dispatch
    if (!declaration.isRequired || (value && ParameterChecks::TakesValue(declaration, value->GetType()))) continue;
    const auto sets = [&](const HandedOver& given) { return given.name == declaration.name && given.resource; };
    if (std::any_of(handedOver.begin(), handedOver.end(), sets)) continue;
    unset = &declaration;
    return;
  }
}

}  // namespace ostra
