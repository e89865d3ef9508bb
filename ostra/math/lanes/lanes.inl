// Lanes: values of several invocations side by side, in the compilers' vector types. See masks.inl and values.inl for
// the types, conversions.inl for half floats and conversions, division.inl for integers, functions.inl, vectors.inl and
// matrices.inl for the vocabulary's functions, memory.inl for loads and stores, rows.inl for vectors that are not taken
// apart.
//
// OSTRA_LANE_LEVEL says for which instruction level: 0 every x86-64 processor and other processors, 1 AVX2, FMA and
// F16C, 2 AVX-512 (F, BW, DQ, VL). A source that is compiled for several levels includes this header once for each, so
// there is no guard around the whole. Each level is a namespace of its own (lanes4, lanes8, lanes16), so that no inline
// function of one level can replace that of another when the program is linked.
#ifndef OSTRA_LANE_LEVEL
#define OSTRA_LANE_LEVEL 0
#endif

#if (OSTRA_LANE_LEVEL == 0 && !defined(OSTRA_HAS_LANES_0)) || \
    (OSTRA_LANE_LEVEL == 1 && !defined(OSTRA_HAS_LANES_1)) || (OSTRA_LANE_LEVEL == 2 && !defined(OSTRA_HAS_LANES_2))
#if OSTRA_LANE_LEVEL == 0
#define OSTRA_HAS_LANES_0
#elif OSTRA_LANE_LEVEL == 1
#define OSTRA_HAS_LANES_1
#else
#define OSTRA_HAS_LANES_2
#endif

#include <cstring>
#include <type_traits>
#include <utility>

#include "ostra/math/half_float.h"
#include "ostra/math/matrix.h"
#include "ostra/math/scalar_functions.h"
#include "ostra/math/vector.h"

#include "ostra/math/lanes/level_begin.inl"

#include "ostra/math/lanes/widths.inl"
//
#include "ostra/math/lanes/masks.inl"
//
#include "ostra/math/lanes/values.inl"
//
#include "ostra/math/lanes/conversions.inl"
//
#include "ostra/math/lanes/division.inl"
//
#include "ostra/math/lanes/functions.inl"
//
#include "ostra/math/lanes/functions64.inl"
//
#include "ostra/math/lanes/vectors.inl"
//
#include "ostra/math/lanes/matrices.inl"
//
#include "ostra/math/lanes/one_lane.inl"
//
#include "ostra/math/lanes/memory.inl"
//
#include "ostra/math/lanes/rows.inl"

#include "ostra/math/lanes/level_end.inl"
#endif
