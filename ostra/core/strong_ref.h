// StrongRef<T>: the only owner of reference-counted objects.
//
// T offers AddRef() and Release() const; a new object has count 1 and is taken over with StrongRef<T>::Adopt.
// Counting is thread-safe; one StrongRef object is changed by one thread at a time.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

#include "ostra/core/atomic.h"
#include "ostra/core/hash.h"
#include "ostra/core/memory.h"

namespace ostra {

template <class T>
class StrongRef {
 public:
  constexpr StrongRef() = default;
  constexpr StrongRef(std::nullptr_t) {}  // NOLINT(google-explicit-constructor)
  // Shares `object`, which may be null.
  explicit StrongRef(T* object) : _object(object) {
    if (_object) _object->AddRef();
  }
  // Takes over the count that the caller holds.
  static StrongRef Adopt(T* object) {
    StrongRef ref;
    ref._object = object;
    return ref;
  }
  StrongRef(const StrongRef& other) : StrongRef(other._object) {}
  StrongRef(StrongRef&& other) noexcept : _object(std::exchange(other._object, nullptr)) {}
  template <class Derived>
  requires std::is_convertible_v<Derived*, T*> StrongRef(const StrongRef<Derived>& other)
      : StrongRef(static_cast<T*>(other.GetPointer())) {}  // NOLINT
  ~StrongRef() {
    if (_object) _object->Release();
  }
  StrongRef& operator=(StrongRef other) noexcept {
    std::swap(_object, other._object);
    return *this;
  }

  T* GetPointer() const { return _object; }
  T* operator->() const { return _object; }
  T& operator*() const { return *_object; }
  explicit operator bool() const { return _object; }
  // Gives the count to the caller; the reference is then empty.
  [[nodiscard]] T* Detach() { return std::exchange(_object, nullptr); }

  // References to one object are equal, whatever it holds.
  friend bool operator==(const StrongRef& a, const StrongRef& b) { return a._object == b._object; }
  UInt64 GetHashCode() const { return MixHash(reinterpret_cast<UInt64>(_object)); }

 private:
  T* _object = nullptr;
};

// Counting for classes that are made with NewObj. `Derived` is the class itself, or a base with a virtual destructor.
template <class Derived>
class RefCounted {
 public:
  void AddRef() const { _references.Add(); }
  void Release() const {
    if (_references.Drop()) DeleteObj(static_cast<const Derived*>(this));
  }
  // True if there is no other reference: the object may then be changed in place.
  Bool IsUnique() const { return _references.IsOne(); }

 protected:
  RefCounted() = default;
  RefCounted(const RefCounted&) {}
  RefCounted& operator=(const RefCounted&) { return *this; }
  ~RefCounted() = default;

 private:
  mutable ReferenceCount _references;
};

}  // namespace ostra
