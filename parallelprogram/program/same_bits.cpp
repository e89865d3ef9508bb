#include "parallelprogram/program/same_bits.h"

#include "ostra/core/atomic.h"
#include "ostra/math/data_types.h"

namespace ostra {
namespace {

enum class NumberKind { Unknown, Integer, Float };

template <class... T>
Bool IsOneOf(DataType type) {
  return ((type == GetDataType<T>()) || ...);
}

// What a scalar, vector or matrix is made of.
DataType GetNumber(DataType type) {
  while (type.IsMadeWith(kVectorParametricType) || type.IsMadeWith(kSquareMatrixParametricType) ||
         type.IsMadeWith(kMatrixParametricType) || type.IsMadeWith(kAtomicParametricType))
    type = type.GetInnerType();
  return type;
}

NumberKind GetKind(DataType number) {
  if (IsOneOf<Float32, Float64, HalfFloat>(number)) return NumberKind::Float;
  if (IsOneOf<Int8, UInt8, Int16, UInt16, Int32, UInt32, Int64, UInt64>(number)) return NumberKind::Integer;
  return NumberKind::Unknown;
}

}  // namespace

Bool HaveSameBits(DataType a, DataType b) {
  if (a == b) return true;
  if (!a.IsPopulated() || !b.IsPopulated() || !a.IsPlain() || !b.IsPlain() || a.GetSize() != b.GetSize()) return false;
  const DataType numberA = GetNumber(a), numberB = GetNumber(b);
  const NumberKind kindA = GetKind(numberA), kindB = GetKind(numberB);
  if (kindA == NumberKind::Unknown || kindB == NumberKind::Unknown) return true;
  return kindA == kindB && numberA.GetSize() == numberB.GetSize();
}

}  // namespace ostra
