// Bytes that must not be guessed: made at random, and compared without telling where they differ.
#pragma once

#include "ostra/core/base_array.h"

namespace ostra {

// Fills `bytes` with random numbers fit for keys. Error: illegal state when the system has none. Thread-safe.
OSTRA_API Result<void> FillWithRandomBytes(Block<Byte> bytes);

// Whether both have the same bytes. Takes the same time wherever they differ; blocks of different sizes are known to
// differ at once. Thread-safe.
OSTRA_API Bool AreEqualInConstantTime(Block<const Byte> a, Block<const Byte> b);

// Overwrites what is no longer needed, also where a compiler would find it useless. Thread-safe.
OSTRA_API void WipeBytes(Block<Byte> bytes);

}  // namespace ostra
