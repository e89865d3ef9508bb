// Array implementations for tests.
#pragma once

#include "ostra/core/array.h"
#include "ostra/core/format.h"

namespace ostra::test {

// Three Int32 elements 1, 2, 3 in two pieces of memory, the first of which holds two.
class TwoPieceArray final : public ArrayInterface {
 public:
  DataType GetElementType() const override { return GetDataType<Int32>(); }
  Int GetCount() const override { return 3; }
  Block<Generic> GetBlock(Int index) const override {
    if (index < 2) return MakeBlock(&_first[index], 2 - index);
    return MakeBlock(&_second, 1);
  }
  Result<void> Resize(Int, ResizeFlags) override { return MakeRefusal(); }
  Result<StrongRef<ArrayInterface>> Clone() const override { return MakeRefusal(); }

  static Array<Generic> Create() { return Array<Generic>(StrongRef<ArrayInterface>::Adopt(NewObj<TwoPieceArray>())); }

 private:
  static Block<Generic> MakeBlock(Int32* first, Int count) {
    return Block<Generic>(reinterpret_cast<Generic*>(first), count, sizeof(Int32));
  }
  static Error MakeRefusal() {
    return MakeError(kIllegalStateError, "array_sources", __LINE__, "An array in pieces does not change.");
  }
  mutable Int32 _first[2] = {1, 2};
  mutable Int32 _second = 3;
};

}  // namespace ostra::test
