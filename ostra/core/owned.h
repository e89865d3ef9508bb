// Objects of NewObj that delete themselves: alone, or several in an array.
//
//   Owned<Block> block = MakeOwned<Block>(size);
//   if (!block) return OSTRA_OUT_OF_MEMORY();
//   OSTRA_ASSIGN_OR_RETURN(Block * added, _blocks.Append(std::move(block)));       // OwnedArray<Block> _blocks
//
// Not synchronised.
#pragma once

#include <memory>
#include <utility>

#include "ostra/core/base_array.h"

namespace ostra {

struct DeleteOwned {
  template <class T>
  void operator()(T* object) const {
    DeleteObj(object);
  }
};

template <class T>
using Owned = std::unique_ptr<T, DeleteOwned>;

// Null when there is no memory.
template <class T, class... Arguments>
Owned<T> MakeOwned(Arguments&&... arguments) {
  return Owned<T>(NewObj<T>(std::forward<Arguments>(arguments)...));
}

// The objects keep their addresses while the array grows and shrinks.
template <class T>
class OwnedArray {
 public:
  OwnedArray() = default;
  OwnedArray(const OwnedArray&) = delete;
  OwnedArray& operator=(const OwnedArray&) = delete;
  ~OwnedArray() { Clear(); }

  Int GetCount() const { return _objects.GetCount(); }
  Bool IsPopulated() const { return _objects.IsPopulated(); }
  T* operator[](Int index) const { return _objects[index]; }
  T* const* begin() const { return _objects.begin(); }
  T* const* end() const { return _objects.end(); }

  // Gives the object, which is not null. Error: out of memory; the object is gone then, and the array as it was.
  Result<T*> Append(Owned<T> object) {
    OSTRA_RETURN_IF_ERROR(_objects.Append(object.get()));
    return object.release();
  }

  // Deletes the object at `index`, which must be in range; the last one takes its place.
  void Remove(Int index) {
    T* const removed = _objects[index];
    _objects.RemoveUnordered(index);
    DeleteObj(removed);
  }

  // From the last one to the first.
  void Clear() {
    while (IsPopulated()) Remove(GetCount() - 1);
  }

 private:
  BaseArray<T*> _objects;
};

}  // namespace ostra
