#include "ostra/object/interface_reference.h"

#include <cstring>

#include "ostra/core/diagnostics.h"
#include "ostra/core/hash_map.h"
#include "ostra/core/synchronized_hash_map.h"

OSTRA_UNIT("interfacereference");

namespace ostra {
namespace {

// Made when the library is loaded: when a call fails there may be no memory left for an error.
struct NullReturnErrors {
  Error unresolved = OSTRA_ILLEGAL_STATE("Method invocation of unresolvable interface");
  Error notImplemented = OSTRA_NOT_IMPLEMENTED("The method is not implemented.");

  static const NullReturnErrors& Get() {
    static const auto* errors = new NullReturnErrors;  // calls may come while the process ends
    return *errors;
  }
};
[[maybe_unused]] const NullReturnErrors& g_madeAtLoad = NullReturnErrors::Get();

using Methods = std::span<const HostFunction>;

SynchronizedHashMap<Id, Methods>& GetInterfaces() {
  static auto* interfaces = new SynchronizedHashMap<Id, Methods>;
  return *interfaces;
}

AnyFunction FindFunction(Methods functions, const HostMethodBase& method) {
  for (const HostFunction& function : functions) {
    // Compared by text: type information is not shared between shared objects.
    if (std::strcmp(function.name, method.GetName()) == 0 &&
        std::strcmp(function.signature->name(), method.GetSignature().name()) == 0)
      return function.function;
  }
  return nullptr;
}

}  // namespace

Error PrivateGetNullReturnError(NullReturnReason reason) {
  switch (reason) {
    case NullReturnReason::UnresolvedInterface:
      return NullReturnErrors::Get().unresolved;
    case NullReturnReason::OutOfMemory:
      return OSTRA_OUT_OF_MEMORY();
    case NullReturnReason::NotImplemented:
      return NullReturnErrors::Get().notImplemented;
  }
  DebugStop("Stop: reason not supported by PrivateGetNullReturnError.");
  return NullReturnErrors::Get().unresolved;
}

void ReportUnresolvedCall(std::string_view interfaceName) {
  WriteDiagnostic(DiagnosticLevel::Critical, "Method invocation of unresolvable interface");
  WriteDiagnostic(DiagnosticLevel::Critical, interfaceName);
  DebugStop("Stop");
}

Result<void> HostInterfaces::Publish(const Id& interfaceId, std::span<const HostFunction> methods) {
  OSTRA_ASSIGN_OR_RETURN(Id ownId, Id::Create(interfaceId.GetView()));
  OSTRA_ASSIGN_OR_RETURN(Bool isNew, GetInterfaces().Insert(ownId, methods));
  if (!isNew) return OSTRA_ILLEGAL_ARGUMENT("The interface \"@\" is already published.", interfaceId);
  return OK;
}

Bool HostInterfaces::Withdraw(const Id& interfaceId) { return GetInterfaces().Erase(interfaceId); }

Bool HostInterfaces::Resolve(InterfaceReference& reference) {
  Unresolve(reference);
  Methods functions;
  if (!GetInterfaces().Find(reference.interfaceId, functions)) return false;
  for (HostMethodBase* method : reference.methods) {
    if (!FindFunction(functions, *method)) return false;
  }
  for (HostMethodBase* method : reference.methods)
    method->Resolve(reference.interfaceId, FindFunction(functions, *method));
  return true;
}

void HostInterfaces::Unresolve(InterfaceReference& reference) {
  for (HostMethodBase* method : reference.methods) method->Resolve(reference.interfaceId, nullptr);
}

}  // namespace ostra
