// Parameters of kernel classes: which member a declared type becomes, and the records made from a list of declarations.
//
// A record of parameters is a struct with one member per parameter and a function that names them all, and says which
// of them the kernel uses:
//
//   struct ScaleParameters {
//     OSTRA_PARAMETER_MEMBER(Float32, factor)
//     OSTRA_PARAMETER_MEMBER(Block<Float32>, values)
//     template <class Add> Result<void> ForEach(Add&& add) {
//       OSTRA_PARAMETER_RECORD(factor)
//       OSTRA_PARAMETER_RECORD(values)
//       return OK;
//     }
//   };
#pragma once

#include "ostra/core/atomic.h"
#include "ostra/core/map_macro.h"
#include "parallelprogram/program/kernel_buffer.h"
#include "parallelprogram/textures/kernel_texture.h"

namespace ostra::kernel {

// The member that a parameter declared with the type T becomes. Values stay what they are.
template <class T>
struct ParameterMember {
  using Type = T;
};
template <class T>
struct ParameterMember<const T> : ParameterMember<T> {};
template <class T>
struct ParameterMember<T&> : ParameterMember<T> {};
template <class T>
struct ParameterMember<Block<T>> {
  using Type = KernelBuffer<T>;
};
template <class T>
struct ParameterMember<const Block<T>> {
  using Type = KernelBuffer<const T>;
};
template <class T>
struct ParameterMember<BaseArray<T>> : ParameterMember<Block<T>> {};
template <class T>
struct ParameterMember<const BaseArray<T>> : ParameterMember<const Block<T>> {};
template <class T>
requires std::is_base_of_v<TextureSamplerDataHelper, T>
struct ParameterMember<T> {
  using Type = KernelTexture<T>;
};
template <>
struct ParameterMember<AtomicUInt32> {
  using Type = AtomicUInt32*;
};

// The member as the program writes it.
template <class T>
T& GetParameterTarget(T& member) {
  return member;
}
template <class T>
Block<std::remove_const_t<T>>& GetParameterTarget(KernelBuffer<T>& member) {
  return member;
}
template <class T>
const T*& GetParameterTarget(KernelTexture<T>& member) {
  return member.GetTarget();
}

}  // namespace ostra::kernel

#define OSTRA_PARAMETER_MEMBER(type, name) ::ostra::kernel::ParameterMember<type>::Type ostraParameter_##name{};
#define OSTRA_PARAMETER_RECORD(name) \
  OSTRA_RETURN_IF_ERROR(add(#name, ::ostra::kernel::GetParameterTarget(ostraParameter_##name), true));
// Counters keep their name, because GetAtomicCounter(name) is a function call.
#define OSTRA_COUNTER_MEMBER(type, name) ::ostra::kernel::ParameterMember<type>::Type name{};
#define OSTRA_COUNTER_RECORD(name) OSTRA_RETURN_IF_ERROR(add(#name, name, true));
// Parameters that the kernel file declares and does nothing with.
#define OSTRA_UNUSED_PARAMETER_RECORD(name) \
  OSTRA_RETURN_IF_ERROR(add(#name, ::ostra::kernel::GetParameterTarget(ostraParameter_##name), false));
#define OSTRA_UNUSED_COUNTER_RECORD(name) OSTRA_RETURN_IF_ERROR(add(#name, name, false));

// The record for declarations "(type) name" separated by commas, for kernel files that are included by hand.
#define OSTRA_KERNEL_PARAMETERS(record, ...)                         \
  struct record {                                                    \
    OSTRA_MAP(OSTRA_DECLARED_MEMBER, __VA_ARGS__)                    \
    template <class OstraAdd>                                        \
    ::ostra::Result<void> ForEach([[maybe_unused]] OstraAdd&& add) { \
      OSTRA_MAP(OSTRA_DECLARED_RECORD, __VA_ARGS__)                  \
      return ::ostra::OK;                                            \
    }                                                                \
  };

// A declaration is taken apart by putting the name of a macro in front of its parentheses.
#define OSTRA_DECLARED_MEMBER(declaration) \
  OSTRA_DECLARED(MEMBER, OSTRA_DROP_PARENTHESES declaration, OSTRA_SPLIT_AT_PARENTHESES declaration)
#define OSTRA_DECLARED_RECORD(declaration) \
  OSTRA_DECLARED(RECORD, OSTRA_DROP_PARENTHESES declaration, OSTRA_SPLIT_AT_PARENTHESES declaration)
#define OSTRA_DROP_PARENTHESES(type)
#define OSTRA_SPLIT_AT_PARENTHESES(type) type,
#define OSTRA_DECLARED(what, name, ...) OSTRA_DECLARED_OF(what, name, __VA_ARGS__)
#define OSTRA_DECLARED_OF(what, name, type, ...) OSTRA_DECLARED_##what##_OF(OSTRA_IS_COUNTER(type), type, name)
#define OSTRA_DECLARED_MEMBER_OF(isCounter, type, name) OSTRA_CONCAT(OSTRA_MEMBER_, isCounter)(type, name)
#define OSTRA_DECLARED_RECORD_OF(isCounter, type, name) OSTRA_CONCAT(OSTRA_RECORD_, isCounter)(name)
#define OSTRA_MEMBER_0 OSTRA_PARAMETER_MEMBER
#define OSTRA_MEMBER_1 OSTRA_COUNTER_MEMBER
#define OSTRA_RECORD_0 OSTRA_PARAMETER_RECORD
#define OSTRA_RECORD_1 OSTRA_COUNTER_RECORD

// 1 for AtomicUInt32 and pointers to it, else 0: only for those does pasting give a macro with a second argument.
#define OSTRA_IS_COUNTER(type) OSTRA_SECOND(OSTRA_COUNTER_TYPE_##type, 0, ~)
#define OSTRA_COUNTER_TYPE_AtomicUInt32 ~, 1,
#define OSTRA_SECOND(...) OSTRA_SECOND_OF(__VA_ARGS__)
#define OSTRA_SECOND_OF(first, second, ...) second
