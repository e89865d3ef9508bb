// 64-bit hashing of texts and integers. Stable within a process; not a promise about the value.
#pragma once

#include <string_view>

#include "ostra/core/types.h"

namespace ostra {

// Spreads the bits of `value` (the finaliser of SplitMix64, Steele, Lea and Flood 2014). Thread-safe.
constexpr UInt64 MixHash(UInt64 value) {
  value ^= value >> 30;
  value *= 0xBF58476D1CE4E5B9ULL;
  value ^= value >> 27;
  value *= 0x94D049BB133111EBULL;
  return value ^ (value >> 31);
}

// Hash of a byte string (64-bit FNV-1a, then mixed). Usable at compile time. Thread-safe.
constexpr UInt64 HashText(std::string_view text) {
  UInt64 hash = 0xCBF29CE484222325ULL;
  for (char character : text) {
    hash ^= static_cast<unsigned char>(character);
    hash *= 0x100000001B3ULL;
  }
  return MixHash(hash);
}

// Hash of a pair of hashes; the order counts. Thread-safe.
constexpr UInt64 CombineHash(UInt64 first, UInt64 second) { return MixHash(first * 31 + second); }

}  // namespace ostra
