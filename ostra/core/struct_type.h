// The DataType of a struct of numbers, with its members: for buffers whose elements a program and its kernels share.
//
//   struct Particle {
//     Vector32 position;
//     Float32 mass;
//     UInt32 cells[3];
//   };
//   OSTRA_STRUCT(Particle, position, mass, cells)      // in the namespace of the struct, once
//
//   GetStructMembers(GetDataType<Particle>())[1].name == "mass"
//
// Members have a DataType: numbers, vectors, matrices, other such structs, arrays of these with one dimension. The same
// name with the same members is the same type, wherever it is described. Values are copied as bytes, and default values
// are zero. Thread-safe.
#pragma once

#include <cstddef>
#include <type_traits>

#include "ostra/core/data_type.h"
#include "ostra/core/map_macro.h"

namespace ostra {

struct StructMember {
  String name;
  DataType type;   // of the elements of an array
  Int offset = 0;  // bytes
  Int count = 0;   // elements of an array; 0 for a member that is none
};

struct StructDescription {
  std::string_view name;
  Int size = 0;       // bytes
  Int alignment = 1;  // bytes
  Block<const StructMember> members;
};

// The type of a struct; a struct without members is known by its name and size alone. Errors: illegal argument for a
// member without a type; out of memory.
OSTRA_API Result<DataType> MakeStructType(const StructDescription& description);

// The same for types known when the program is written: ends the process when memory is exhausted.
OSTRA_API DataType FindOrRegisterStructType(const StructDescription& description);

// The members in the order in which they were described; empty for types that are none of these structs. Valid as long
// as the process.
OSTRA_API Block<const StructMember> GetStructMembers(DataType type);

// Finds the description of a struct by its namespace.
template <class T>
struct StructTag {};

template <class T>
concept DescribedStruct = requires {
  OstraMakeStructType(StructTag<T>());
};

template <DescribedStruct T>
struct DataTypeOf<T> {
  static DataType Make() { return OstraMakeStructType(StructTag<T>()); }
};

template <class Member>
StructMember DescribeStructMember(std::string_view name, std::size_t offset) {
  using Element = std::remove_extent_t<Member>;
  static_assert(!std::is_array_v<Element>, "Members of such structs are arrays of one dimension at most.");
  return {String::FromStatic(name.data(), name.size()), GetDataType<Element>(), static_cast<Int>(offset),
          static_cast<Int>(std::extent_v<Member>)};
}

}  // namespace ostra

#define OSTRA_STRUCT(Type, ...)                                                                         \
  [[maybe_unused]] inline ::ostra::DataType OstraMakeStructType(::ostra::StructTag<Type>) {             \
    using OstraStruct = Type;                                                                           \
    static_assert(std::is_trivially_copyable_v<OstraStruct> && std::is_standard_layout_v<OstraStruct>); \
    const ::ostra::StructMember members[] = {OSTRA_MAP(OSTRA_STRUCT_MEMBER, __VA_ARGS__)};              \
    return ::ostra::FindOrRegisterStructType(                                                           \
        {#Type, sizeof(OstraStruct), alignof(OstraStruct), {members, std::size(members)}});             \
  }
#define OSTRA_STRUCT_MEMBER(name) \
  ::ostra::DescribeStructMember<decltype(OstraStruct::name)>(#name, offsetof(OstraStruct, name)),

// A struct whose members are told to no one.
#define OSTRA_OPAQUE_STRUCT(Type)                                                           \
  [[maybe_unused]] inline ::ostra::DataType OstraMakeStructType(::ostra::StructTag<Type>) { \
    return ::ostra::FindOrRegisterStructType({#Type, sizeof(Type), alignof(Type), {}});     \
  }
