// Data: one value of any type. Copies share the value, which does not change then, so copying cannot fail.
//
//   OSTRA_ASSIGN_OR_RETURN(Data data, Data::Create(Float32(2)));
//   OSTRA_ASSIGN_OR_RETURN(const Float32& value, data.Get<Float32>());
//
// ForwardingDataPtr hands a value over once, whatever its type; functions that consume values take it:
//
//   program->SetUniform("radius"_iid, Int32(4));
//   program->StoreUniformBufferData("points"_iid, std::move(baseArray));
//
// Not synchronised; a Data that does not change may be read from many threads.
#pragma once

#include "ostra/core/array.h"
#include "ostra/core/data_type.h"

namespace ostra {

class OSTRA_API Data {
 public:
  Data() = default;
  Data(const Data& other) noexcept;
  Data(Data&& other) noexcept;
  Data& operator=(Data other) noexcept;
  ~Data();

  // Errors: out of memory (never for plain values of at most eight bytes); that of copying the value; not implemented
  // for a type that can be neither copied nor moved; illegal argument for no type.
  template <class T>
  static Result<Data> Create(T&& value) {
    using Value = std::remove_cvref_t<T>;
    if constexpr (std::is_lvalue_reference_v<T> || std::is_const_v<std::remove_reference_t<T>>)
      return CreateCopy(GetDataType<Value>(), &value);
    else
      return CreateMoved(GetDataType<Value>(), &value);
  }
  static Result<Data> CreateCopy(DataType type, const void* value);
  static Result<Data> CreateMoved(DataType type, void* value);

  DataType GetType() const { return _type; }
  Bool IsEmpty() const { return !_type.IsPopulated(); }
  Bool IsPopulated() const { return _type.IsPopulated(); }
  // The value; null when empty. Valid while this object or a copy of it lives unchanged.
  const void* GetPointer() const;

  // The value, which must be a T: nothing is converted, not even between integers; that is what ConvertTo is for.
  // Array<Generic> is given for every Array<T>. Error: illegal argument for another type.
  template <class T>
  Result<const T&> Get() const {
    const T* value = GetIf<T>();
    if (!value) return MakeTypeError(GetDataType<T>());
    return *value;
  }
  // Null for another type.
  template <class T>
  const T* GetIf() const {
    return HoldsCompatible(GetDataType<T>()) ? static_cast<const T*>(GetPointer()) : nullptr;
  }
  // The value as an integer type, when it is an integer that fits exactly. Characters and Bool are no integers. Error:
  // illegal argument.
  template <std::integral T>
  requires(!std::is_same_v<T, Bool> && !std::is_same_v<T, Char>) Result<T> ConvertTo()
  const {
    if (const T* value = GetIf<T>()) return *value;
    Int64 wide = 0;
    if (!ReadInteger(wide) || !std::in_range<T>(wide)) return MakeTypeError(GetDataType<T>());
    return static_cast<T>(wide);
  }

  // Takes over a value of the type that this already has, in place and without memory. False, and nothing has changed,
  // for another type, for values that are more than their bytes, and while a copy shares the value: it would change
  // too.
  Bool TryOverwrite(DataType type, const void* value);

  Result<String> ToText() const;

 private:
  struct Box;
  template <class Make>
  static Result<Data> CreateBoxed(DataType type, const Make& make);
  Bool IsInline() const;
  Bool HoldsCompatible(DataType type) const;
  Bool ReadInteger(Int64& value) const;
  Error MakeTypeError(DataType wanted) const;

  DataType _type;
  union {
    Box* _box = nullptr;
    alignas(8) Byte _inline[8];
  };
};

class OSTRA_API ForwardingDataPtr {
 public:
  ForwardingDataPtr() = default;
  // A temporary or std::move(value) is moved from when the value is taken; a named value is copied. The value must
  // outlive the call that it is passed to.
  template <class T>
  requires(!std::is_same_v<std::remove_cvref_t<T>, ForwardingDataPtr> && !std::is_same_v<std::remove_cvref_t<T>, Data>)
      ForwardingDataPtr(T&& value)  // NOLINT(google-explicit-constructor): values are handed over as they are
      : _type(GetDataType<std::remove_cvref_t<T>>()),
        _value(const_cast<std::remove_cvref_t<T>*>(&value)),
        _isMovable(!std::is_lvalue_reference_v<T> && !std::is_const_v<std::remove_reference_t<T>>) {}
  // The value inside `data`, which stays as it is.
  ForwardingDataPtr(const Data& data)  // NOLINT(google-explicit-constructor)
      : _type(data.GetType()), _value(const_cast<void*>(data.GetPointer())), _data(&data) {}
  ForwardingDataPtr(ForwardingDataPtr&& other) noexcept { *this = std::move(other); }
  ForwardingDataPtr& operator=(ForwardingDataPtr&& other) noexcept;

  Bool IsEmpty() const { return !_type.IsPopulated(); }
  DataType GetType() const { return _type; }
  const void* GetPointer() const { return _value; }
  // True when the value may be moved from.
  Bool IsMovable() const { return _isMovable; }
  // The value to move from; only when IsMovable(). This object is then empty.
  void* Release();

  // Takes the value over; this object is then empty. Error: out of memory, or that of copying the value; the value
  // can then still be taken.
  Result<Data> Take();

 private:
  DataType _type;
  void* _value = nullptr;
  const Data* _data = nullptr;
  Bool _isMovable = false;
};

}  // namespace ostra

OSTRA_DATATYPE(ostra::Data, "net.ostra.datatype.data", "data");
