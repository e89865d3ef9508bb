// The keys under which a GPU program finds cached parsers, buffers and textures again. Constants and shifts are part of
// what is promised: equal names, sizes and bytes give equal keys, in every version.
#pragma once

#include "ostra/core/hash.h"
#include "ostra/core/interned_id.h"
#include "ostra/drawport/cache.h"

namespace ostra {

inline constexpr UInt64 kKeyMultiplier = 0xBF58476D1CE4E5B9ULL;

constexpr UInt64 MixKey(UInt64 value) {
  value ^= value >> 32;
  value ^= (value >> 20) ^ (value >> 12);
  value ^= (value >> 7) ^ (value >> 4);
  return value;
}

constexpr UInt32 MixKeyByte(signed char byte) {
  auto value = static_cast<UInt32>(static_cast<Int32>(byte));
  value ^= (value >> 12) ^ (value >> 20);
  value ^= (value >> 7) ^ (value >> 4);
  return value;
}

constexpr UInt64 AppendToKey(UInt64 key, UInt64 value) { return key * kKeyMultiplier + value + 1; }

// The bytes appended one after the other, from 0 on; 0 for no bytes. Computed in blocks, by several threads when there
// are many bytes. Error: out of memory.
Result<UInt64> FoldBytes(const Byte* bytes, Int count);

// The first number of the keys of a program's buffers and textures.
constexpr UInt64 MakeNameKey(UInt64 nameHash, UInt64 program) { return AppendToKey(nameHash, MixKey(program)); }

}  // namespace ostra
