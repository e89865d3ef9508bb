// The counted objects of the GPU layer: contexts, drawports, caches and cache items. Backends make them; none is
// created through a class ID, so they need less than an ObjectInterface.
#pragma once

#include <atomic>

#include "ostra/core/strong_ref.h"

namespace ostra {

class DrawportObject {
 public:
  // Counting is thread-safe. The last Release destroys the object.
  virtual void AddRef() const = 0;
  virtual void Release() const = 0;

 protected:
  ~DrawportObject() = default;
};

// Implements the counting for a final class `Derived`, which is made with NewObj.
template <class Derived, class Interface>
class DrawportCounted : public Interface {
 public:
  void AddRef() const final { _references.fetch_add(1, std::memory_order_relaxed); }
  void Release() const final {
    if (_references.fetch_sub(1, std::memory_order_acq_rel) == 1) DeleteObj(static_cast<const Derived*>(this));
  }
  // Shares an object that may be on its way out, found through a table that does not own it: false when it is too late.
  Bool TryAddRef() const {
    Int32 count = _references.load(std::memory_order_relaxed);
    while (count > 0) {
      if (_references.compare_exchange_weak(count, count + 1, std::memory_order_relaxed)) return true;
    }
    return false;
  }

 protected:
  DrawportCounted() = default;
  DrawportCounted(const DrawportCounted&) = delete;
  DrawportCounted& operator=(const DrawportCounted&) = delete;
  ~DrawportCounted() = default;

 private:
  mutable std::atomic<Int32> _references{1};
};

}  // namespace ostra
