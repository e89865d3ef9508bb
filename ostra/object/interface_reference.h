// Interfaces of plain functions that the host and modules offer each other, and the references through which a module
// calls them. A reference names the interface and its methods; the host fills it before any start-up entry runs.
//
//   // who offers the functions
//   const std::array kMethods = {MakeHostFunction<&GetFeature>("GetFeature")};
//   OSTRA_RETURN_IF_ERROR(HostInterfaces::Publish("com.example.interface.features"_id, kMethods));
//
//   // who calls them
//   constinit HostMethod<Result<Bool>(const Id&)> GetFeature("GetFeature");
//   HostMethodBase* const kFeatureMethods[] = {&GetFeature};
//   constinit InterfaceReference g_features{"com.example.interface.features"_id, kFeatureMethods};
//   ... list &g_features in the module's descriptor, then: GetFeature(id)
//
// A reference whose interface or one of whose methods is not there stays unresolved as a whole. Calling through it is
// a mistake that the program survives: it is reported, and the call returns the null result of the method.
//
// Publishing and resolving happen on the loading thread; calls are as thread-safe as the functions behind them.
#pragma once

#include <span>
#include <typeinfo>

#include "ostra/core/base_array.h"
#include "ostra/core/id.h"
#include "ostra/core/result.h"

namespace ostra {

using AnyFunction = void (*)();

// Why a method gives its null result instead of being called.
enum class NullReturnReason : Int32 { UnresolvedInterface = 0, OutOfMemory = 1, NotImplemented = 2 };

// The ready-made error for a reason. A reason without one writes "Stop: reason not supported by
// PrivateGetNullReturnError." and gives that of UnresolvedInterface. Allocates nothing.
OSTRA_API Error PrivateGetNullReturnError(NullReturnReason reason);

// Writes what was called and stops in an attached debugger.
OSTRA_API void ReportUnresolvedCall(std::string_view interfaceName);

namespace reference {

template <class R>
struct NullReturn {
  static_assert(!std::is_reference_v<R>, "a method that returns a reference has no null result");
  static R Get(NullReturnReason) { return R(); }
};
template <class T>
struct NullReturn<Result<T>> {
  static Result<T> Get(NullReturnReason reason) { return PrivateGetNullReturnError(reason); }
};

}  // namespace reference

// A method of a referenced interface; HostMethod is its typed form.
class HostMethodBase {
 public:
  const char* GetName() const { return _name; }
  // The C++ type of the method; both sides must agree on it.
  const std::type_info& GetSignature() const { return *_signature; }
  Bool IsResolved() const { return _function; }

  void Resolve(const Id& interfaceId, AnyFunction function) {
    _interfaceId = &interfaceId;
    _function = function;
  }

 protected:
  constexpr HostMethodBase(const char* name, const std::type_info& signature) : _name(name), _signature(&signature) {}
  void Report() const { ReportUnresolvedCall(_interfaceId ? _interfaceId->GetView() : std::string_view(_name)); }

  AnyFunction _function = nullptr;

 private:
  const char* _name;
  const std::type_info* _signature;
  const Id* _interfaceId = nullptr;
};

template <class Signature>
class HostMethod;

template <class R, class... Arguments>
class HostMethod<R(Arguments...)> : public HostMethodBase {
 public:
  constexpr explicit HostMethod(const char* name) : HostMethodBase(name, typeid(R(Arguments...))) {}

  R operator()(Arguments... arguments) const {
    if (_function) [[likely]]
      return reinterpret_cast<R (*)(Arguments...)>(_function)(std::forward<Arguments>(arguments)...);
    Report();
    return reference::NullReturn<R>::Get(NullReturnReason::UnresolvedInterface);
  }
};

// What a module calls of one interface.
struct InterfaceReference {
  Id interfaceId;
  std::span<HostMethodBase* const> methods;

  Bool IsResolved() const { return !methods.empty() && methods.front()->IsResolved(); }
};

// A function that is offered under a name.
struct HostFunction {
  const char* name;
  const std::type_info* signature;
  AnyFunction function;
};

template <auto function>
HostFunction MakeHostFunction(const char* name) {
  return {name, &typeid(std::remove_pointer_t<decltype(function)>), reinterpret_cast<AnyFunction>(function)};
}

namespace HostInterfaces {
// Offers an interface; `methods` must stay valid until it is withdrawn. Errors: illegal argument when the interface is
// published already; out of memory.
OSTRA_API Result<void> Publish(const Id& interfaceId, std::span<const HostFunction> methods);
// True when the interface was there.
OSTRA_API Bool Withdraw(const Id& interfaceId);
// Fills the reference. False, and the reference is unresolved, when the interface or a method is missing.
OSTRA_API Bool Resolve(InterfaceReference& reference);
OSTRA_API void Unresolve(InterfaceReference& reference);
}  // namespace HostInterfaces

}  // namespace ostra
