// Arrays whose element type may only be known at run time.
//
//   OSTRA_ASSIGN_OR_RETURN(Array<Generic> array, NewBaseArray(GetDataType<Float32>()));
//   OSTRA_RETURN_IF_ERROR(array.Resize(100, ResizeFlags::Exact));      // zeros
//   Block<Float32> block = array.GetFirstBlock<Float32>();
//
// Array<T> is a shared reference: copies see the same elements. MakeWritable() gives an Array its own copy; Resize
// does so by itself. Elements are written in place through blocks, shared or not. Not synchronised.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/data_type.h"
#include "ostra/core/strong_ref.h"

namespace ostra {

enum class ResizeFlags : Int32 {
  None = 0,
  // Room for exactly the new count, none for growth. Existing elements are kept, new ones are default values.
  Exact = 4,
};

// A contiguous array of one element type that owns its elements: what BaseArray<T> is with T forgotten.
class OSTRA_API GenericBaseArray {
 public:
  GenericBaseArray() = default;
  // Takes over the elements of `array`, which is then empty.
  template <class T>
  explicit GenericBaseArray(BaseArray<T>&& array)
      : _type(GetDataType<T>()),
        _first(std::exchange(array._first, nullptr)),
        _count(std::exchange(array._count, 0)),
        _capacity(std::exchange(array._capacity, 0)) {}
  GenericBaseArray(GenericBaseArray&& other) noexcept { Swap(other); }
  GenericBaseArray& operator=(GenericBaseArray&& other) noexcept {
    Swap(other);
    return *this;
  }
  ~GenericBaseArray();

  // `count` default values of `type`. Errors: out of memory; illegal argument for a negative count.
  static Result<GenericBaseArray> Create(DataType type, Int count);
  // Copies of `elements`. Errors: out of memory; the error of the first element that cannot be copied.
  static Result<GenericBaseArray> CreateCopy(DataType type, Block<const Generic> elements);
  Result<void> CopyFrom(const GenericBaseArray& other);

  // The elements of a BaseArray of `elementType` whose C++ type is not known here: seen where they are, or taken over
  // (the array is then empty).
  static Block<Generic> ViewBaseArray(DataType elementType, const void* baseArray);
  static GenericBaseArray AdoptBaseArray(DataType elementType, void* baseArray);

  // Keeps the first elements; new ones are default values. Errors: out of memory; illegal argument for a negative
  // count; illegal state without an element type; not implemented for values without a default (that cannot be moved).
  // On error the array is unchanged.
  Result<void> Resize(Int count);

  DataType GetElementType() const { return _type; }
  Int GetCount() const { return _count; }
  void* GetFirst() const { return _first; }
  Block<Generic> GetBlock() const {
    return Block<Generic>(static_cast<Generic*>(_first), _count, _type.IsPopulated() ? _type.GetSize() : 0);
  }

 private:
  void Swap(GenericBaseArray& other);
  // Raw memory for elements. Errors: out of memory; illegal argument for a negative count.
  Result<void*> Allocate(Int count, Bool isZeroed) const;
  DataType _type;
  void* _first = nullptr;
  Int _count = 0;
  Int _capacity = 0;
};

// The contract behind Array<T>. Implementations made with NewObj; the last release destroys.
class OSTRA_API ArrayInterface : public RefCounted<ArrayInterface> {
 public:
  virtual ~ArrayInterface();
  virtual DataType GetElementType() const = 0;
  virtual Int GetCount() const = 0;
  // The elements from `index` on that lie in one piece of memory. Arrays of NewBaseArray have only one piece.
  virtual Block<Generic> GetBlock(Int index) const = 0;
  // Errors: out of memory; illegal argument for a negative count. On error the array is unchanged.
  virtual Result<void> Resize(Int count, ResizeFlags flags) = 0;
  virtual Result<StrongRef<ArrayInterface>> Clone() const = 0;
};

template <class T>
class Array {
 public:
  Array() = default;
  explicit Array(StrongRef<ArrayInterface> reference) : _reference(std::move(reference)) {}

  // An array of the given values. Error: out of memory.
  static Result<Array> Create(std::initializer_list<T> values) requires(!std::is_same_v<T, Generic>);

  const StrongRef<ArrayInterface>& GetReference() const { return _reference; }
  Bool IsPopulated() const { return static_cast<Bool>(_reference); }
  Int GetCount() const { return _reference ? _reference->GetCount() : 0; }
  DataType GetElementType() const { return _reference ? _reference->GetElementType() : DataType(); }

  // The first piece of memory. `Element` must be the element type.
  template <class Element = T>
  Block<Element> GetFirstBlock() const {
    if (!_reference) return {};
    const Block<Generic> block = _reference->GetBlock(0);
    return Block<Element>(reinterpret_cast<Element*>(block.GetFirst()), block.GetCount(), block.GetStride());
  }
  template <class Element = T>
  Element& operator[](Int index) const {
    return GetFirstBlock<Element>()[index];
  }

  // Makes this the only reference to its array, copying the elements when it is shared. Error: out of memory.
  Result<void> MakeWritable() {
    if (!_reference || _reference->IsUnique()) return OK;
    OSTRA_ASSIGN_OR_RETURN(_reference, _reference->Clone());
    return OK;
  }

  // Makes the array writable and changes its count; other holders keep the old elements. Error: illegal state when this
  // refers to no array.
  Result<void> Resize(Int count, ResizeFlags flags = ResizeFlags::Exact) {
    if (!_reference) return Error::Make(kIllegalStateError, "There is no array to resize.", "array", __LINE__);
    OSTRA_RETURN_IF_ERROR(MakeWritable());
    return _reference->Resize(count, flags);
  }

 private:
  StrongRef<ArrayInterface> _reference;
};

// The array factory: an empty array; one with copies of existing elements; one that takes over existing elements.
// Error: out of memory, or that of copying an element.
OSTRA_API Result<Array<Generic>> NewBaseArray(DataType type);
OSTRA_API Result<Array<Generic>> NewBaseArray(DataType type, Block<const Generic> elements);
OSTRA_API Result<Array<Generic>> NewBaseArray(GenericBaseArray&& elements);

template <class T>
Result<Array<T>> Array<T>::Create(std::initializer_list<T> values) requires(!std::is_same_v<T, Generic>) {
  OSTRA_ASSIGN_OR_RETURN(BaseArray<T> elements, BaseArray<T>::Create(values));
  OSTRA_ASSIGN_OR_RETURN(Array<Generic> array, NewBaseArray(GenericBaseArray(std::move(elements))));
  return Array<T>(array.GetReference());
}

// Array<T> is a copy-on-write reference to an array of T.
OSTRA_API DataType FindOrRegisterArrayType(DataType inner);

template <class T>
struct DataTypeOf<Array<T>> {
  static DataType Make() { return FindOrRegisterArrayType(GetDataType<T>()); }
};

}  // namespace ostra

OSTRA_DATATYPE(ostra::GenericBaseArray, "net.ostra.datatype.genericbasearray", "genericbasearray");
