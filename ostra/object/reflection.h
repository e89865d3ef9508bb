// Reflection records: the methods of an interface with the names and types of their parameters, in slot order.
//
// The table of an interface stands next to the interface and names its methods; types and slots are taken from the
// declarations themselves, so they cannot drift:
//
//   inline const auto kCounterMethods = std::array{
//       DescribeMethod<&CounterInterface::Next>("Next", {}),
//       DescribeMethod<static_cast<Result<void> (CounterInterface::*)(Int)>(&CounterInterface::Add)>("Add",
//       {"amount"}),
//   };
//   OSTRA_RETURN_IF_ERROR(Reflection::Register(CounterInterface::kInterfaceId, "CounterInterface", kCounterMethods));
//
// Registration happens on the loading thread; look-ups are thread-safe.
#pragma once

#include <array>
#include <cstring>
#include <span>
#include <string_view>

#include "ostra/core/base_array.h"
#include "ostra/core/id.h"
#include "ostra/object/interface.h"
#include "ostra/object/type_name.h"

namespace ostra {

// One method as its declaration has it. Plain pointers, so that tables cost nothing until they are registered.
struct MethodDescription {
  static constexpr std::size_t MAX_PARAMETERS = 8;
  const char* name = "";
  std::string_view resultType;
  Int parameterCount = 0;
  std::array<const char*, MAX_PARAMETERS> parameterNames{};
  std::array<std::string_view, MAX_PARAMETERS> parameterTypes{};
  Bool isConst = false;
  Int slot = 0;  // index in the object's method table
};

namespace reflection {

// The slot of a virtual method: member pointers of the Itanium C++ ABI hold one plus the offset in the method table.
template <class Member>
Int GetSlot(Member member) {
  std::ptrdiff_t value = 0;
  std::memcpy(&value, &member, sizeof(value));
  return static_cast<Int>((value - 1) / static_cast<std::ptrdiff_t>(sizeof(void*)));
}

template <class R, class... Parameters>
MethodDescription Describe(const char* name, const std::array<const char*, sizeof...(Parameters)>& names) {
  static_assert(sizeof...(Parameters) <= MethodDescription::MAX_PARAMETERS);
  MethodDescription method;
  method.name = name;
  method.resultType = GetTypeName<R>();
  std::size_t index = 0;
  static_cast<void>(
      ((method.parameterNames[index] = names[index], method.parameterTypes[index] = GetTypeName<Parameters>(), ++index),
       ...));
  method.parameterCount = static_cast<Int>(index);
  return method;
}

template <class Member>
struct MemberTraits;
template <class R, class C, class... Parameters>
struct MemberTraits<R (C::*)(Parameters...)> {
  using Names = std::array<const char*, sizeof...(Parameters)>;
  static constexpr Bool IS_CONST = false;
  static MethodDescription Make(const char* name, const Names& names) {
    return Describe<R, Parameters...>(name, names);
  }
};
template <class R, class C, class... Parameters>
struct MemberTraits<R (C::*)(Parameters...) const> {
  using Names = std::array<const char*, sizeof...(Parameters)>;
  static constexpr Bool IS_CONST = true;
  static MethodDescription Make(const char* name, const Names& names) {
    return Describe<R, Parameters...>(name, names);
  }
};

}  // namespace reflection

// The description of a virtual method; `names` has one name per parameter.
template <auto member>
MethodDescription DescribeMethod(const char* name,
                                 const typename reflection::MemberTraits<decltype(member)>::Names& names) {
  using Traits = reflection::MemberTraits<decltype(member)>;
  MethodDescription method = Traits::Make(name, names);
  method.isConst = Traits::IS_CONST;
  method.slot = reflection::GetSlot(member);
  return method;
}

// What a client sees of a registered interface. Owns its texts.
struct ParameterRecord {
  String name;
  String type;
};
struct MethodRecord {
  String name;
  String resultType;
  BaseArray<ParameterRecord> parameters;
  Bool isConst = false;
  Int slot = 0;
};
struct InterfaceRecord : RefCounted<InterfaceRecord> {
  Id id;
  String name;
  BaseArray<MethodRecord> methods;
};
using InterfaceRecordRef = StrongRef<const InterfaceRecord>;

namespace Reflection {
// Errors: illegal argument when the interface already has a record; out of memory.
OSTRA_API Result<void> Register(const Id& interfaceId, std::string_view name,
                                std::span<const MethodDescription> methods);
OSTRA_API Bool Erase(const Id& interfaceId);
// Error: illegal argument when there is no record.
OSTRA_API Result<InterfaceRecordRef> Find(const Id& interfaceId);
// All interfaces with a record, sorted by text. Error: out of memory.
OSTRA_API Result<BaseArray<Id>> GetInterfaceIds();
}  // namespace Reflection

}  // namespace ostra
