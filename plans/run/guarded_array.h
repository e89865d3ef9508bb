// A guarded array: memory that cannot be accessed before its first element and behind its last one, so that
// reading or writing there is a fault at once. The guards are whole pages; what remains of a page before the elements,
// and up to 63 bytes behind them, are known bytes, which show afterwards whether they were overwritten.
#pragma once

#include "ostra/core/array.h"

namespace ostra::plans {

class GuardedArray final : public ArrayInterface {
 public:
  // Copies of elements of a plain type; `areZero`: all of their bytes are zero, so that none needs to be copied. Error:
  // out of memory.
  static Result<StrongRef<ArrayInterface>> Create(const GenericBaseArray& elements, Bool areZero = false);
  // Takes over `memory`; Create calls it.
  GuardedArray(DataType type, Int count, Byte* memory, Int memorySize);
  ~GuardedArray() override;

  DataType GetElementType() const override { return _type; }
  Int GetCount() const override { return _count; }
  Block<Generic> GetBlock(Int index) const override;
  // Not implemented: the guard stays where it is.
  Result<void> Resize(Int count, ResizeFlags flags) override;
  // A copy without guards.
  Result<StrongRef<ArrayInterface>> Clone() const override;

  // Whether the bytes between the elements and the guards are what they were.
  Bool AreMarginsWhole() const;

 private:
  // Calls visit(byte, what it should be) for every byte of the margins.
  template <class Visit>
  void VisitMargins(Visit&& visit) const;

  DataType _type;
  Int _count;
  Byte* _memory;  // everything, the guards included
  Int _memorySize;
  Byte* _first;  // element
};

}  // namespace ostra::plans
