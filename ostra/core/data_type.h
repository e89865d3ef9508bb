// DataType: a type described at run time. Two DataTypes are the same type exactly when they are the same object.
//
//   const DataType& type = GetDataType<Float32>();
//   type.GetName(); type.GetSize();
//   OSTRA_ASSIGN_OR_RETURN(DataType pointer, DataType::MakePointer(type));
//
//   OSTRA_DATATYPE(my::Particle, "com.example.datatype.particle", "my::Particle");   // at file scope, once
//
// Descriptions live until the process ends and are immutable; everything here is thread-safe.
#pragma once

#include <compare>
#include <concepts>
#include <type_traits>

#include "ostra/core/base_array.h"
#include "ostra/core/id.h"
#include "ostra/core/result.h"

namespace ostra {

class DataType;
class UniqueHashStream;

inline constexpr Id kPointerParametricType = "net.ostra.parametrictype.pointer"_id;
inline constexpr Id kCowParametricType = "net.ostra.parametrictype.cow"_id;
inline constexpr Id kAtomicParametricType = "net.ostra.parametrictype.atomic"_id;
inline constexpr Id kVectorParametricType = "net.ostra.parametrictype.vec"_id;
inline constexpr Id kSquareMatrixParametricType = "net.ostra.parametrictype.sqmat"_id;
inline constexpr Id kMatrixParametricType = "net.ostra.parametrictype.mat"_id;
inline constexpr Id kBlockParametricType = "net.ostra.parametrictype.block"_id;
inline constexpr Id kArrayParametricType = "net.ostra.parametrictype.array"_id;
inline constexpr Id kBaseArrayParametricType = "net.ostra.parametrictype.basearray"_id;

// What can be done with values of a type. Strides are distances between elements in bytes.
struct DataTypeOperations {
  // Makes default values in raw memory; types whose members have no initialisers become zero.
  void (*construct)(void* target, Int stride, Int count) = nullptr;
  void (*destruct)(void* target, Int stride, Int count) = nullptr;
  // Assigns to existing values. A copy stops at the first element that fails and returns its error.
  Result<void> (*copy)(void* target, Int targetStride, const void* source, Int sourceStride, Int count) = nullptr;
  void (*move)(void* target, Int targetStride, void* source, Int sourceStride, Int count) = nullptr;
  // Makes values in raw memory out of existing ones. A copy that fails leaves raw memory.
  Result<void> (*constructCopy)(void* target, Int targetStride, const void* source, Int sourceStride,
                                Int count) = nullptr;
  void (*constructMoved)(void* target, Int targetStride, void* source, Int sourceStride, Int count) = nullptr;
  // The rest is optional.
  Bool (*isEqual)(const void* a, const void* b) = nullptr;
  std::partial_ordering (*compare)(const void* a, const void* b) = nullptr;
  UInt64 (*hash)(const void* value) = nullptr;
  void (*uniqueHash)(const void* value, UniqueHashStream& stream) = nullptr;
  Result<String> (*toText)(const void* value) = nullptr;
};

struct DataTypeDescription {
  Id id;
  String name;
  Int size = 0;          // bytes
  Int alignment = 1;     // bytes
  Bool isPlain = false;  // copied and destroyed by copying bytes
  Id parametricType;     // empty for types that are made from no other
  Int elementCount = 1;  // elements of a vector, columns of a matrix
  DataTypeOperations operations;
};

class OSTRA_API DataType {
 public:
  // No type.
  constexpr DataType() = default;

  const Id& GetId() const;
  const String& GetName() const;
  std::string_view GetView() const;  // the name, for the formatter
  Int GetSize() const;               // bytes
  Int GetAlignment() const;          // bytes
  Bool IsPlain() const;
  Bool IsDefaultConstructible() const;
  // The ID of the template that this type is made with, such as net.ostra.parametrictype.pointer; empty for others.
  const Id& GetParametricType() const;
  // What a parametric type is made of: T of a pointer to T.
  DataType GetInnerType() const;
  Int GetElementCount() const;
  Bool IsPointer() const { return IsMadeWith(kPointerParametricType); }
  Bool IsMadeWith(const Id& parametricType) const { return IsPopulated() && GetParametricType() == parametricType; }
  constexpr Bool IsPopulated() const { return _record; }

  const DataTypeOperations& GetOperations() const;

  // Operations on values; see DataTypeOperations. `count` values, `stride` bytes apart.
  void Construct(void* target, Int count = 1) const;
  void Destruct(void* target, Int count = 1) const;
  Result<void> Copy(void* target, const void* source, Int count = 1) const;
  Result<void> Copy(void* target, Int targetStride, const void* source, Int sourceStride, Int count) const;
  void Move(void* target, void* source, Int count = 1) const;
  // Values in raw memory, made out of existing ones; on error the memory stays raw. Errors: not implemented for a type
  // that cannot be copied (moved); those of copying a value.
  Result<void> ConstructCopy(void* target, const void* source, Int count = 1) const;
  Result<void> ConstructCopy(void* target, const void* source, Int sourceStride, Int count) const;
  Result<void> ConstructMoved(void* target, void* source, Int count = 1) const;
  // A type without the operation writes "Stop: IsEqual not defined." (and so on) and answers false, no order or zero.
  Bool IsEqual(const void* a, const void* b) const;
  std::partial_ordering Compare(const void* a, const void* b) const;
  UInt64 GetHashCode(const void* value) const;
  void GetUniqueHashCode(const void* value, UniqueHashStream& stream) const;
  // Types without a text form give their name.
  Result<String> ToText(const void* value) const;

  // Types made at run time. The same arguments give the same type. Errors: illegal argument for no type; out of memory.
  static Result<DataType> MakePointer(DataType inner);
  static Result<DataType> MakeArray(DataType inner);
  static Result<DataType> MakeBlock(DataType inner);

  // The registry net.ostra.registry.datatypes. Register refuses an ID that is taken (illegal argument); Find fails with
  // illegal argument for an unknown one. Erase also takes out the types that are made with the type. An erased type
  // stays valid for values that still exist while the code of its operations is loaded.
  static Result<DataType> Register(const DataTypeDescription& description);
  static Result<DataType> Find(const Id& id);
  static Bool Erase(const Id& id);
  // Whether `matches` holds for an operation of a registered type: finds out who still needs a module's code.
  template <class Matches>
  static Bool AnyOperation(const Matches& matches) {
    return AnyOperation(
        [](const void* context, const void* operation) -> Bool {
          return (*static_cast<const Matches*>(context))(operation);
        },
        &matches);
  }
  static Bool AnyOperation(Bool (*matches)(const void* context, const void* operation), const void* context);

  // The type of this description: the registered one, or a new one, which is registered when its ID is free. When a
  // type with other properties has the ID, the new one stays outside of the registry: Find does not give it. Ends the
  // process when memory is exhausted: used for types known when the program is written.
  static DataType FindOrRegister(const DataTypeDescription& description);
  static DataType FindOrRegister(const DataTypeDescription& description, DataType inner);

  friend constexpr Bool operator==(DataType a, DataType b) { return a._record == b._record; }

 private:
  struct Record;
  friend struct DataTypeTable;
  constexpr explicit DataType(const Record* record) : _record(record) {}
  const Record* _record = nullptr;
};

// Collects 64-bit words into a 128-bit hash; the order of feeding decides.
class OSTRA_API UniqueHashStream {
 public:
  void Write(UInt64 word);
  void Write(const void* bytes, Int count);
  // No type counts as zero.
  void Write(DataType type) { Write(type.IsPopulated() ? type.GetId().GetHashCode() : 0); }
  struct Value {
    UInt64 low, high;
    friend bool operator==(const Value&, const Value&) = default;
  };
  Value GetValue() const { return {_low, _high}; }

 private:
  UInt64 _low = 0x243F6A8885A308D3ULL;
  UInt64 _high = 0x13198A2E03707344ULL;
};

// Says which DataType a C++ type has; specialised with OSTRA_DATATYPE or beside the type.
template <class T>
struct DataTypeOf;

// The type of T. Resolved on first use in each shared object.
template <class T>
const DataType& GetDataType() {
  static const DataType type = DataTypeOf<T>::Make();
  return type;
}

// The operations of T, taken from its C++ members. A T with `Result<void> CopyFrom(const T&)` is copied with it.
template <class T>
constexpr DataTypeOperations MakeOperations();

template <class T>
DataTypeDescription DescribeType(const Id& id, const String& name) {
  DataTypeDescription description;
  description.id = id;
  description.name = name;
  description.size = static_cast<Int>(sizeof(T));
  description.alignment = static_cast<Int>(alignof(T));
  description.isPlain = std::is_trivially_copyable_v<T>;
  description.operations = MakeOperations<T>();
  return description;
}

// Describes `Template<Inner>` types; the ID and the name are put together from the parts.
OSTRA_API DataType FindOrRegisterParametric(DataTypeDescription description, const Id& parametricType, DataType inner,
                                            Int elementCount);

// The same at run time. Errors: illegal argument when there is no inner type; out of memory.
OSTRA_API Result<DataType> MakeParametricType(const DataTypeDescription& description, const Id& parametricType,
                                              DataType inner);

template <class T>
DataType MakeParametric(const Id& parametricType, DataType inner, Int elementCount = 1) {
  return FindOrRegisterParametric(DescribeType<T>(Id(), String()), parametricType, inner, elementCount);
}

// Pointers and blocks are described by the host, so that using one does not keep a module in memory.
OSTRA_API DataType FindOrRegisterPointerType(DataType inner);
OSTRA_API DataType FindOrRegisterBlockType(DataType inner);

template <class T>
struct DataTypeOf<T*> {
  static DataType Make() { return FindOrRegisterPointerType(GetDataType<std::remove_const_t<T>>()); }
};

template <class T>
struct DataTypeOf<Block<T>> {
  static DataType Make() { return FindOrRegisterBlockType(GetDataType<std::remove_const_t<T>>()); }
};

template <class T>
struct DataTypeOf<BaseArray<T>> {
  static DataType Make() { return MakeParametric<BaseArray<T>>(kBaseArrayParametricType, GetDataType<T>()); }
};

}  // namespace ostra

// Gives a C++ type a DataType under an ID. At global scope, in one place that every user of the type includes.
// The function is a template, so that compilers make the operations only of types that are asked for.
#define OSTRA_DATATYPE(Type, idText, nameText)                                                               \
  template <>                                                                                                \
  struct ostra::DataTypeOf<Type> {                                                                           \
    template <class OstraType = Type>                                                                        \
    static ::ostra::DataType Make() {                                                                        \
      using namespace ::ostra::literals;                                                                     \
      return ::ostra::DataType::FindOrRegister(::ostra::DescribeType<OstraType>(idText##_id, nameText##_s)); \
    }                                                                                                        \
  }

// For types of the host: their operations are in libostra alone, so that compilers of kernels do not make them again.
// The DataType is defined there with OSTRA_HOST_DATATYPE_DEFINITION.
#define OSTRA_HOST_DATATYPE(Type)            \
  template <>                                \
  struct OSTRA_API ostra::DataTypeOf<Type> { \
    static ::ostra::DataType Make();         \
  }
#define OSTRA_HOST_DATATYPE_DEFINITION(Type, idText, nameText)                                        \
  ::ostra::DataType ostra::DataTypeOf<Type>::Make() {                                                 \
    using namespace ::ostra::literals;                                                                \
    return ::ostra::DataType::FindOrRegister(::ostra::DescribeType<Type>(idText##_id, nameText##_s)); \
  }

#include "ostra/core/data_type_operations.h"
