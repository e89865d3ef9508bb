#include "parallelprogram/program/parameter_checks.h"

#include "ostra/core/atomic.h"
#include "ostra/core/format.h"
#include "parallelprogram/program/same_bits.h"
#include "parallelprogram/textures/texture_factory.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
namespace {

Bool IsBuffer(DataType type) { return type.IsMadeWith(kBlockParametricType); }
Bool IsCounter(DataType type) { return type.IsPointer() && type.GetInnerType() == GetDataType<AtomicUInt32>(); }
Bool IsTexture(DataType type) { return type.IsPointer() && IsSamplerType(type.GetInnerType()); }

std::string_view GetKindName(DataType type) {
  if (IsBuffer(type)) return "buffer";
  if (IsCounter(type)) return "counter";
  return IsTexture(type) ? "texture" : "value";
}

}  // namespace

const KernelDeclaration* ParameterChecks::Find(const InternedId& name) const {
  for (const KernelDeclaration& declaration : _declarations)
    if (declaration.name == name) return &declaration;
  return nullptr;
}

Result<void> ParameterChecks::MakeKindError(const KernelDeclaration& declaration, std::string_view given) const {
  return OSTRA_ILLEGAL_ARGUMENT("The parameter \"@\" of the kernel \"@\" is declared as a @ and was given a @.",
                                declaration.name, _kernelId, GetKindName(declaration.type), given);
}

// A block that is given as a value is taken as it is, so its type must be the parameter's own. A pointer is never a
// value: the parameter would get the address of it.
Bool ParameterChecks::TakesValue(const KernelDeclaration& declaration, DataType type) {
  if (declaration.type.IsPointer()) return false;
  return declaration.type == type || (!IsBuffer(declaration.type) && HaveSameBits(type, declaration.type));
}

Result<void> ParameterChecks::CheckValue(const KernelDeclaration* declaration, DataType type) const {
  if (!declaration || TakesValue(*declaration, type)) return OK;
  if (declaration->type.IsPointer() || IsBuffer(declaration->type)) return MakeKindError(*declaration, "value");
  return OSTRA_ILLEGAL_ARGUMENT(
      "The parameter \"@\" of the kernel \"@\" is declared as @ and was given a value of type @.", declaration->name,
      _kernelId, declaration->type, type);
}

Result<void> ParameterChecks::CheckBuffer(const KernelDeclaration* declaration, DataType elementType,
                                          Int stride) const {
  if (!declaration) return OK;
  if (!IsBuffer(declaration->type)) return MakeKindError(*declaration, "buffer");
  const DataType wanted = declaration->type.GetInnerType();
  if (!HaveSameBits(elementType, wanted)) {
    OSTRA_ASSIGN_OR_RETURN(const String reason, ExplainOtherBits(wanted, elementType));
    return OSTRA_ILLEGAL_ARGUMENT(
        "The buffer \"@\" of the kernel \"@\" is declared with elements of type @ and was given a buffer of type @@.",
        declaration->name, _kernelId, wanted, elementType, reason);
  }
  if (stride != wanted.GetSize())
    return OSTRA_ILLEGAL_ARGUMENT("The buffer \"@\" of the kernel \"@\" was given an array whose elements have gaps.",
                                  declaration->name, _kernelId);
  return OK;
}

Result<void> ParameterChecks::CheckTexture(const KernelDeclaration* declaration) const {
  return !declaration || IsTexture(declaration->type) ? Result<void>(OK) : MakeKindError(*declaration, "texture");
}

Result<void> ParameterChecks::CheckCounter(const KernelDeclaration* declaration) const {
  return !declaration || IsCounter(declaration->type) ? Result<void>(OK) : MakeKindError(*declaration, "counter");
}

Result<void> ParameterChecks::MakeUnsetError(const KernelDeclaration& declaration) const {
  const std::string_view kind = GetKindName(declaration.type);
  return OSTRA_ILLEGAL_STATE(
      "The @ \"@\" of the kernel \"@\" is not set: link a @ to it and call UpdateUniforms before the dispatch.", kind,
      declaration.name, _kernelId, kind);
}

}  // namespace ostra
