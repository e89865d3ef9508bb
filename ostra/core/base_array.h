// Contiguous growing array. The address of its elements is stable until it grows.
//
//   BaseArray<Int32> numbers;
//   OSTRA_RETURN_IF_ERROR(numbers.Append(3));
//   OSTRA_RETURN_IF_ERROR(numbers.Resize(100));      // new elements are value-initialised (zero)
//   for (Int32& number : numbers) ...
//
// Not synchronised. Copies can fail and are made with CopyFrom; moves cannot.
#pragma once

#include <initializer_list>
#include <type_traits>
#include <utility>

#include "ostra/core/memory.h"
#include "ostra/core/result.h"

namespace ostra {

// A view of elements in memory: first element, number of elements, distance between elements in bytes. Owns nothing.
// Kernels receive the address of a block. Every Block has the same layout, whatever its element type.
template <class T>
class Block {
 public:
  constexpr Block() = default;
  // `stride` in bytes; the default is tight packing.
  constexpr Block(T* first, Int count, Int stride = DefaultStride()) : _first(first), _count(count), _stride(stride) {}

  // Elements that may be written are also elements that may be read.
  template <class Other, class = std::enable_if_t<std::is_same_v<const Other, T> && !std::is_same_v<Other, T>>>
  constexpr Block(const Block<Other>& other)  // NOLINT(google-explicit-constructor)
      : _first(other.GetFirst()), _count(other.GetCount()), _stride(other.GetStride()) {}

  constexpr T* GetFirst() const { return _first; }
  constexpr Int GetCount() const { return _count; }
  constexpr Int GetStride() const { return _stride; }
  constexpr Bool IsEmpty() const { return _count == 0; }

  // The element at `index`, which must be in range.
  template <class Element = T>
  Element& operator[](Int index) const {
    using Bytes = std::conditional_t<std::is_const_v<Element>, const Byte, Byte>;
    return *reinterpret_cast<Element*>(reinterpret_cast<Bytes*>(_first) + index * _stride);
  }

 private:
  static constexpr Int DefaultStride() {
    if constexpr (std::is_same_v<std::remove_const_t<T>, Generic>)
      return 0;
    else
      return static_cast<Int>(sizeof(T));
  }
  T* _first = nullptr;
  Int _count = 0;
  Int _stride = 0;
};

template <class T>
class BaseArray {
 public:
  using Element = T;

  BaseArray() = default;
  BaseArray(BaseArray&& other) noexcept
      : _first(std::exchange(other._first, nullptr)),
        _count(std::exchange(other._count, 0)),
        _capacity(std::exchange(other._capacity, 0)) {}
  BaseArray(const BaseArray&) = delete;
  BaseArray& operator=(BaseArray&& other) noexcept {
    std::swap(_first, other._first);
    std::swap(_count, other._count);
    std::swap(_capacity, other._capacity);
    return *this;
  }
  BaseArray& operator=(const BaseArray&) = delete;
  ~BaseArray() {
    Clear();
    FreeMem(_first);
  }

  // An array of the given values. Error: out of memory.
  static Result<BaseArray> Create(std::initializer_list<T> values) {
    BaseArray array;
    OSTRA_RETURN_IF_ERROR(array.Reserve(static_cast<Int>(values.size())));
    for (const T& value : values) OSTRA_RETURN_IF_ERROR(array.Append(value));
    return array;
  }

  // Replaces the contents by copies of `other`'s elements, which are copied with CopyFrom when they cannot be copied
  // otherwise. On error (out of memory, or that of CopyFrom) the array is unchanged.
  Result<void> CopyFrom(const BaseArray& other) requires(std::is_copy_constructible_v<T> ||
                                                         requires(T & to, const T& from) { to.CopyFrom(from); }) {
    BaseArray copy;
    OSTRA_RETURN_IF_ERROR(copy.Reserve(other._count));
    for (const T& value : other) {
      if constexpr (std::is_copy_constructible_v<T>) {
        OSTRA_RETURN_IF_ERROR(copy.Append(value));
      } else {
        OSTRA_ASSIGN_OR_RETURN(T & element, copy.Append(T()));
        OSTRA_RETURN_IF_ERROR(element.CopyFrom(value));
      }
    }
    *this = std::move(copy);
    return OK;
  }

  // Adds an element at the end and returns it; `value` may be an element of this array. On error (out of memory) the
  // array and `value` are unchanged.
  template <class Value = T>
  Result<T&> Append(Value&& value) {
    if (_count < _capacity) return *::new (static_cast<void*>(_first + _count++)) T(std::forward<Value>(value));
    const Int capacity = _capacity < 8 ? 8 : _capacity * 2;
    T* memory = Allocate(capacity);
    if (!memory) return Error::MakeOutOfMemory("basearray", __LINE__);
    // Made before the elements move, because `value` may be one of them.
    T* element = ::new (static_cast<void*>(memory + _count)) T(std::forward<Value>(value));
    MoveTo(memory, capacity);
    ++_count;
    return *element;
  }

  // Changes the number of elements, keeping the first ones; new ones are value-initialised. Errors: out of memory;
  // illegal argument for a negative count. On error the array is unchanged.
  Result<void> Resize(Int count) {
    if (count < 0)
      return Error::Make(kIllegalArgumentError, "An array cannot have a negative count.", "basearray", __LINE__);
    OSTRA_RETURN_IF_ERROR(Reserve(count));
    Shorten(count);
    while (_count < count) ::new (static_cast<void*>(_first + _count++)) T();
    return OK;
  }

  // Makes room for `count` elements without changing the contents. Error: out of memory.
  Result<void> Reserve(Int count) {
    if (count <= _capacity) return OK;
    T* memory = Allocate(count);
    if (!memory) return Error::MakeOutOfMemory("basearray", __LINE__);
    MoveTo(memory, count);
    return OK;
  }

  // Removals destroy elements and keep the memory, so they cannot fail.

  // Keeps the first `count` elements, which must be there.
  void Shorten(Int count) {
    while (_count > count) _first[--_count].~T();
  }
  void Clear() { Shorten(0); }
  // The array must not be empty.
  void RemoveLast() { Shorten(_count - 1); }
  // The element at `index`, which must be in range. Those behind it move up.
  void Remove(Int index) {
    for (; index + 1 < _count; ++index) _first[index] = std::move(_first[index + 1]);
    RemoveLast();
  }
  // The same, in constant time: the last element takes its place.
  void RemoveUnordered(Int index) {
    if (index + 1 < _count) _first[index] = std::move(_first[_count - 1]);
    RemoveLast();
  }

  T& operator[](Int index) { return _first[index]; }
  const T& operator[](Int index) const { return _first[index]; }
  // The array must not be empty.
  T& GetLast() { return _first[_count - 1]; }
  const T& GetLast() const { return _first[_count - 1]; }
  T* GetFirst() { return _first; }
  const T* GetFirst() const { return _first; }
  Int GetCount() const { return _count; }
  Bool IsEmpty() const { return _count == 0; }
  Bool IsPopulated() const { return _count != 0; }
  Block<T> GetBlock() { return Block<T>(_first, _count); }
  Block<const T> GetBlock() const { return Block<const T>(_first, _count); }

  T* begin() { return _first; }
  T* end() { return _first + _count; }
  const T* begin() const { return _first; }
  const T* end() const { return _first + _count; }

 private:
  template <class Other>
  friend class BaseArray;
  friend class GenericBaseArray;

  // Raw memory; null when there is none.
  static T* Allocate(Int capacity) {
    static_assert(alignof(T) <= 32 && std::is_nothrow_move_constructible_v<T>);
    constexpr Int kElementSize = static_cast<Int>(sizeof(T));
    return capacity > INT64_MAX / kElementSize ? nullptr : static_cast<T*>(AllocMem(capacity * kElementSize));
  }
  void MoveTo(T* memory, Int capacity) {
    for (Int i = 0; i < _count; ++i) {
      ::new (static_cast<void*>(memory + i)) T(std::move(_first[i]));
      _first[i].~T();
    }
    FreeMem(_first);
    _first = memory;
    _capacity = capacity;
  }

  T* _first = nullptr;
  Int _count = 0;
  Int _capacity = 0;
};

}  // namespace ostra
