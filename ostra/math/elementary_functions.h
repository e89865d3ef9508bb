// exp, exp2, log, log2, pow, sin, cos, tan, asin, acos, atan: one definition, on every processor and for every number
// of lanes.
//
//   Float32 y = elementary::sin(x);
//   elementary::lanes16::sin(sixteenFloats, result);    // result[i] has the bits of elementary::sin(sixteenFloats[i])
//
// Results are within 0.501 units in the last place of the exact ones, for all arguments: angles of any size, results
// below the normal range. Special values are those of the C standard; which NaN a NaN is, is not promised. Nothing
// depends on the C library. Kernels say `sin`, not this (vocabulary.h).
//
// The functions of lanes read and write 4, 8 and 16 numbers, anywhere in memory; the result may lie where an argument
// does. Those of 8 need a processor with AVX2, those of 16 one with AVX-512 (F, BW, DQ, VL).
#pragma once

#include "ostra/core/export.h"
#include "ostra/core/types.h"

// Calls `form(name)` for every function of one number, or of two. atan of two is the angle of the point (second,
// first).
#define OSTRA_ELEMENTARY_UNARY(form) \
  form(exp) form(exp2) form(log) form(log2) form(sin) form(cos) form(tan) form(asin) form(acos) form(atan)
#define OSTRA_ELEMENTARY_BINARY(form) form(atan) form(pow)

namespace ostra::elementary {

#define OSTRA_FUNCTION(name) OSTRA_API Float32 name(Float32 x) noexcept __attribute__((const));
OSTRA_ELEMENTARY_UNARY(OSTRA_FUNCTION)
#undef OSTRA_FUNCTION
#define OSTRA_FUNCTION(name) OSTRA_API Float32 name(Float32 x, Float32 y) noexcept __attribute__((const));
OSTRA_ELEMENTARY_BINARY(OSTRA_FUNCTION)
#undef OSTRA_FUNCTION

#define OSTRA_UNARY(name) OSTRA_API void name(const Float32* x, Float32* result) noexcept;
#define OSTRA_BINARY(name) OSTRA_API void name(const Float32* x, const Float32* y, Float32* result) noexcept;
namespace lanes4 {
OSTRA_ELEMENTARY_UNARY(OSTRA_UNARY)
OSTRA_ELEMENTARY_BINARY(OSTRA_BINARY)
}  // namespace lanes4
#ifdef __x86_64__
namespace lanes8 {
OSTRA_ELEMENTARY_UNARY(OSTRA_UNARY)
OSTRA_ELEMENTARY_BINARY(OSTRA_BINARY)
}  // namespace lanes8
namespace lanes16 {
OSTRA_ELEMENTARY_UNARY(OSTRA_UNARY)
OSTRA_ELEMENTARY_BINARY(OSTRA_BINARY)
}  // namespace lanes16
#endif
#undef OSTRA_UNARY
#undef OSTRA_BINARY

}  // namespace ostra::elementary
