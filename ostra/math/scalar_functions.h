// The vocabulary's functions of scalars (see vocabulary.h).
//
// They are written with the compiler's builtins, so that a loop over them becomes vector instructions where the
// processor has them. Powers, logarithms and functions of angles are those of elementary_functions.h.
#pragma once

#include <bit>

#include "ostra/core/types.h"
#include "ostra/math/elementary_functions.h"

namespace ostra::vocabulary {

#define OSTRA_FLOAT Float32
#define OSTRA_BUILTIN(name) __builtin_##name##f
#include "ostra/math/float_functions.inl"
#undef OSTRA_FLOAT
#undef OSTRA_BUILTIN

#define OSTRA_WORD(name) using elementary::name;
OSTRA_ELEMENTARY_UNARY(OSTRA_WORD)
#undef OSTRA_WORD
// A square is a multiplication, with the same bits.
inline Float32 pow(Float32 x, Float32 y) { return y == 2.0f ? x * x : elementary::pow(x, y); }

// The least number stays what it is, as on a GPU.
inline Int32 abs(Int32 x) { return static_cast<Int32>(x < 0 ? 0u - static_cast<UInt32>(x) : static_cast<UInt32>(x)); }
inline Int32 sign(Int32 x) { return static_cast<Int32>(x > 0) - static_cast<Int32>(x < 0); }
inline Int32 min(Int32 x, Int32 y) { return y < x ? y : x; }
inline UInt32 min(UInt32 x, UInt32 y) { return y < x ? y : x; }
inline Int32 max(Int32 x, Int32 y) { return x < y ? y : x; }
inline UInt32 max(UInt32 x, UInt32 y) { return x < y ? y : x; }
inline Int32 clamp(Int32 x, Int32 low, Int32 high) { return min(max(x, low), high); }
inline UInt32 clamp(UInt32 x, UInt32 low, UInt32 high) { return min(max(x, low), high); }

// The same bits as another type.
inline UInt32 floatBitsToUint(Float32 x) { return std::bit_cast<UInt32>(x); }
inline Int32 floatBitsToInt(Float32 x) { return std::bit_cast<Int32>(x); }
inline Float32 uintBitsToFloat(UInt32 x) { return std::bit_cast<Float32>(x); }
inline Float32 intBitsToFloat(Int32 x) { return std::bit_cast<Float32>(x); }

}  // namespace ostra::vocabulary
