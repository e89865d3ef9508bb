// How DataTypeOperations are made from a C++ type, and the types of the arithmetic types. Included by data_type.h.
#pragma once

#include <bit>
#include <concepts>
#include <new>
#include <utility>

#include "ostra/core/atomic.h"
#include "ostra/core/data_type.h"
#include "ostra/core/format.h"
#include "ostra/core/interned_id.h"

namespace ostra {

namespace operations {

template <class T>
T& At(void* first, Int stride, Int index) {
  return *reinterpret_cast<T*>(static_cast<Byte*>(first) + stride * index);
}
template <class T>
const T& At(const void* first, Int stride, Int index) {
  return *reinterpret_cast<const T*>(static_cast<const Byte*>(first) + stride * index);
}

template <class T>
void Construct(void* target, Int stride, Int count) {
  for (Int i = 0; i < count; ++i) ::new (static_cast<void*>(static_cast<Byte*>(target) + stride * i)) T();
}

template <class T>
void Destruct(void* target, Int stride, Int count) {
  for (Int i = 0; i < count; ++i) At<T>(target, stride, i).~T();
}

template <class T>
Result<void> Copy(void* target, Int targetStride, const void* source, Int sourceStride, Int count) {
  for (Int i = 0; i < count; ++i) {
    if constexpr (requires(T & to, const T& from) { to.CopyFrom(from); }) {
      OSTRA_RETURN_IF_ERROR(At<T>(target, targetStride, i).CopyFrom(At<T>(source, sourceStride, i)));
    } else {
      At<T>(target, targetStride, i) = At<T>(source, sourceStride, i);
    }
  }
  return OK;
}

template <class T>
void Move(void* target, Int targetStride, void* source, Int sourceStride, Int count) {
  for (Int i = 0; i < count; ++i) At<T>(target, targetStride, i) = std::move(At<T>(source, sourceStride, i));
}

// Values whose copying can fail have a member function for it.
template <class T>
concept CopiedByMember = requires(T& to, const T& from) {
  { to.CopyFrom(from) } -> std::same_as<Result<void>>;
};
template <class T>
concept ConstructibleCopy = std::is_copy_constructible_v<T> ||(CopiedByMember<T>&& std::is_default_constructible_v<T>);

template <class T>
Result<void> ConstructCopy(void* target, Int targetStride, const void* source, Int sourceStride, Int count) {
  for (Int i = 0; i < count; ++i) {
    T* to = &At<T>(target, targetStride, i);
    const T& from = At<T>(source, sourceStride, i);
    if constexpr (CopiedByMember<T> && std::is_default_constructible_v<T>) {
      ::new (static_cast<void*>(to)) T();
      if (auto copied = to->CopyFrom(from); !copied) {
        Destruct<T>(target, targetStride, i + 1);
        return copied;
      }
    } else {
      ::new (static_cast<void*>(to)) T(from);
    }
  }
  return OK;
}

template <class T>
void ConstructMoved(void* target, Int targetStride, void* source, Int sourceStride, Int count) {
  for (Int i = 0; i < count; ++i)
    ::new (static_cast<void*>(&At<T>(target, targetStride, i))) T(std::move(At<T>(source, sourceStride, i)));
}

template <class T>
Bool IsEqual(const void* a, const void* b) {
  return At<T>(a, 0, 0) == At<T>(b, 0, 0);
}

template <class T>
std::partial_ordering Compare(const void* a, const void* b) {
  return At<T>(a, 0, 0) <=> At<T>(b, 0, 0);
}

// Both zeros are equal, so they have one hash.
inline UInt64 HashFloat(Float64 value) { return MixHash(std::bit_cast<UInt64>(value == 0 ? 0.0 : value)); }

template <class T>
UInt64 Hash(const void* value) {
  if constexpr (std::is_arithmetic_v<T>) {
    if constexpr (std::is_floating_point_v<T>)
      return HashFloat(At<T>(value, 0, 0));
    else
      return MixHash(static_cast<UInt64>(At<T>(value, 0, 0)));
  } else {
    return At<T>(value, 0, 0).GetHashCode();
  }
}

template <class T>
void UniqueHash(const void* value, UniqueHashStream& stream) {
  if constexpr (std::is_trivially_copyable_v<T>)
    stream.Write(value, static_cast<Int>(sizeof(T)));
  else
    stream.Write(Hash<T>(value));
}

template <class T>
Result<String> ToText(const void* value) {
  return Format("@", At<T>(value, 0, 0));
}

}  // namespace operations

template <class T>
constexpr DataTypeOperations MakeOperations() {
  DataTypeOperations result;
  if constexpr (std::is_default_constructible_v<T>) result.construct = &operations::Construct<T>;
  result.destruct = &operations::Destruct<T>;
  if constexpr (std::is_copy_assignable_v<T> || requires(T & to, const T& from) { to.CopyFrom(from); })
    result.copy = &operations::Copy<T>;
  if constexpr (std::is_move_assignable_v<T>) result.move = &operations::Move<T>;
  if constexpr (operations::ConstructibleCopy<T>) result.constructCopy = &operations::ConstructCopy<T>;
  if constexpr (std::is_move_constructible_v<T>) result.constructMoved = &operations::ConstructMoved<T>;
  constexpr Bool hashable = std::is_arithmetic_v<T> || requires(const T& value) {
    { value.GetHashCode() } -> std::same_as<UInt64>;
  };
  if constexpr (std::equality_comparable<T>) result.isEqual = &operations::IsEqual<T>;
  if constexpr (std::three_way_comparable<T, std::partial_ordering>) result.compare = &operations::Compare<T>;
  if constexpr (hashable) result.hash = &operations::Hash<T>;
  if constexpr (hashable) result.uniqueHash = &operations::UniqueHash<T>;
  if constexpr (std::is_constructible_v<FormatArgument, const T&>) result.toText = &operations::ToText<T>;
  return result;
}

template <>
struct OSTRA_API DataTypeOf<Generic> {
  static DataType Make();
};

template <class T>
struct DataTypeOf<Atomic<T>> {
  static DataType Make() { return MakeParametric<Atomic<T>>(kAtomicParametricType, GetDataType<T>()); }
};

}  // namespace ostra

OSTRA_HOST_DATATYPE(ostra::Bool);
OSTRA_HOST_DATATYPE(ostra::UInt8);
OSTRA_HOST_DATATYPE(ostra::Char);
OSTRA_HOST_DATATYPE(ostra::Int8);
OSTRA_HOST_DATATYPE(ostra::UInt16);
OSTRA_HOST_DATATYPE(ostra::Int16);
OSTRA_HOST_DATATYPE(ostra::UInt32);
OSTRA_HOST_DATATYPE(ostra::Int32);
OSTRA_HOST_DATATYPE(ostra::UInt64);
OSTRA_HOST_DATATYPE(ostra::Int64);
OSTRA_HOST_DATATYPE(ostra::Float32);
OSTRA_HOST_DATATYPE(ostra::Float64);
OSTRA_HOST_DATATYPE(ostra::String);
OSTRA_HOST_DATATYPE(ostra::CString);
OSTRA_HOST_DATATYPE(ostra::Id);
OSTRA_HOST_DATATYPE(ostra::InternedId);
