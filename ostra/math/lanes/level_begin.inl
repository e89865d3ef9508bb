// Opens the code of one instruction level: included by lanes.inl, and by sources around their own code of that
// level; closed by level_end.inl. No include guard: a source may be compiled for several levels, one after the other.
//
// OSTRA_LANE_LEVEL says which: 0 every x86-64 processor and other processors, 1 AVX2, FMA and F16C, 2 AVX-512 (F,
// BW, DQ, VL). Everything between the two files is compiled for that level and lies in a namespace of its own, so that
// no inline function of one level can replace that of another when the program is linked. With OSTRA_LANE_PAIRS the
// namespace is that of pairs.inl.
#ifndef OSTRA_LANE_LEVEL
#error "OSTRA_LANE_LEVEL says for which instruction level lanes are compiled: 0, 1 or 2."
#endif

#if OSTRA_LANE_LEVEL == 0
#define OSTRA_LANES lanes4
#define OSTRA_LANE_COUNT 4
#elif OSTRA_LANE_LEVEL == 1
#ifdef OSTRA_LANE_PAIRS
#define OSTRA_LANES pairs8
#define OSTRA_LANE_COUNT 16
#else
#define OSTRA_LANES lanes8
#define OSTRA_LANE_COUNT 8
#endif
#ifdef __clang__
#pragma clang attribute push(__attribute__((target("avx2,fma,f16c,bmi,bmi2"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2,fma,f16c,bmi,bmi2")
#endif
#elif OSTRA_LANE_LEVEL == 2
#ifdef OSTRA_LANE_PAIRS
#define OSTRA_LANES pairs16
#define OSTRA_LANE_COUNT 32
#else
#define OSTRA_LANES lanes16
#define OSTRA_LANE_COUNT 16
#endif
#ifdef __clang__
#pragma clang attribute push(__attribute__((target("avx512f,avx512bw,avx512dq,avx512vl,avx2,fma,bmi,bmi2"))), \
                             apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx512f,avx512bw,avx512dq,avx512vl,avx2,fma,bmi,bmi2")
#endif
#else
#error "OSTRA_LANE_LEVEL is 0, 1 or 2."
#endif

#ifndef __clang__
// Vectors never cross a call: everything is inlined.
#pragma GCC diagnostic ignored "-Wpsabi"
#endif

#define OSTRA_LANE_INLINE inline __attribute__((always_inline, artificial))
// Code that was not made for wide vectors is several times slower as long as something is left in the upper halves of
// vector registers. Compilers clear them, but GCC 12 not always.
#if OSTRA_LANE_LEVEL == 0
#define OSTRA_LANE_CLEAR static_cast<void>(0)
#else
#define OSTRA_LANE_CLEAR __builtin_ia32_vzeroupper()
#endif
