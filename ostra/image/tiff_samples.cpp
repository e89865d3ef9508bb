#include "ostra/image/tiff_samples.h"

#include <limits>

#include "ostra/math/half_float.h"

namespace ostra {

namespace {

template <class Value>
Value Load(const Byte* row, Int index) {
  Value value;
  MemCopy(&value, row + index * Int(sizeof(Value)), sizeof(Value));
  return value;
}

template <class Value>
void WidenIntegers(const Byte* row, Int count, Bool isPalette, Float32* target) {
  const Float64 largest = isPalette ? 1 : static_cast<Float64>(std::numeric_limits<Value>::max());
  for (Int i = 0; i < count; ++i) {
    if constexpr (sizeof(Value) < 4)
      target[i] = static_cast<Float32>(Load<Value>(row, i)) / static_cast<Float32>(largest);
    else
      target[i] = static_cast<Float32>(Load<Value>(row, i) / largest);
  }
}

void WidenBits(const Byte* row, Int bits, Int count, Bool isPalette, Float32* target) {
  const Int mask = (Int(1) << bits) - 1;
  const auto largest = static_cast<Float32>(isPalette ? 1 : mask);
  for (Int i = 0; i < count; ++i) {
    const Int position = i * bits;
    target[i] = static_cast<Float32>(row[position / 8] >> (8 - bits - position % 8) & mask) / largest;
  }
}

void WidenFloats(const Byte* row, Int bits, Int count, Float32* target) {
  for (Int i = 0; i < count; ++i)
    target[i] = bits == 16   ? static_cast<Float32>(HalfFloat::FromBits(Load<UInt16>(row, i)))
                : bits == 32 ? Load<Float32>(row, i)
                             : static_cast<Float32>(Load<Float64>(row, i));
}

}  // namespace

void WidenTiffSamples(const TiffLayout& layout, const Byte* row, Int count, Float32* target) {
  const Bool isPalette = layout.palette[0] != nullptr;
  if (layout.isFloat) return WidenFloats(row, layout.bits, count, target);
  if (layout.bits < 8) return WidenBits(row, layout.bits, count, isPalette, target);
  if (layout.bits == 8) return WidenIntegers<Byte>(row, count, isPalette, target);
  if (layout.bits == 16) return WidenIntegers<UInt16>(row, count, isPalette, target);
  WidenIntegers<UInt32>(row, count, isPalette, target);
}

}  // namespace ostra
