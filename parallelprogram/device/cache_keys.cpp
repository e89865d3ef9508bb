#include "parallelprogram/device/cache_keys.h"

#include <algorithm>
#include <array>

#include "ostra/core/base_array.h"
#include "ostra/jobs/parallel_for.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

constexpr Int kStep = 8;              // bytes that are appended at once
constexpr Int kBlock = Int{1} << 20;  // bytes that a job folds

// Powers of the multiplier, as arithmetic modulo 2^64 has them.
constexpr UInt64 Power(Int exponent) {
  UInt64 result = 1;
  for (UInt64 base = kKeyMultiplier; exponent > 0; exponent /= 2, base *= base)
    if (exponent % 2 == 1) result *= base;
  return result;
}

// What a byte adds when `place` bytes follow it in its step: [place][byte].
using StepTable = std::array<std::array<UInt64, 256>, kStep>;

constexpr StepTable MakeStepTable() {
  StepTable table{};
  for (Int place = 0; place < kStep; ++place) {
    for (Int byte = 0; byte < 256; ++byte) {
      const UInt64 value = UInt64{MixKeyByte(static_cast<signed char>(byte < 128 ? byte : byte - 256))} + 1;
      table[static_cast<std::size_t>(place)][static_cast<std::size_t>(byte)] = value * Power(place);
    }
  }
  return table;
}

constexpr StepTable kTable = MakeStepTable();
constexpr UInt64 kStepPower = Power(kStep);

// The fold is a polynomial in the multiplier, so the bytes of a step can be added in any order.
UInt64 FoldBlock(const Byte* bytes, Int count) {
  UInt64 key = 0;
  Int i = 0;
  for (; i + kStep <= count; i += kStep) {
    key *= kStepPower;
    for (Int k = 0; k < kStep; ++k) key += kTable[static_cast<std::size_t>(kStep - 1 - k)][bytes[i + k]];
  }
  for (; i < count; ++i) key = key * kKeyMultiplier + kTable[0][bytes[i]];
  return key;
}

}  // namespace

Result<UInt64> FoldBytes(const Byte* bytes, Int count) {
  if (count <= kBlock) return count > 0 ? FoldBlock(bytes, count) : UInt64{0};
  const Int blockCount = (count - 1) / kBlock + 1;
  BaseArray<UInt64> keys;
  OSTRA_RETURN_IF_ERROR(keys.Resize(blockCount));
  ParallelFor::Dynamic(blockCount, [&](Int begin, Int end) {
    for (Int i = begin; i < end; ++i) keys[i] = FoldBlock(bytes + i * kBlock, std::min(kBlock, count - i * kBlock));
  });
  UInt64 key = 0;
  for (Int i = 0; i < blockCount; ++i) key = key * Power(std::min(kBlock, count - i * kBlock)) + keys[i];
  return key;
}

}  // namespace ostra
