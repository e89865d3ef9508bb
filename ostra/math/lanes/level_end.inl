// Closes what level_begin.h has opened. No include guard.
#if OSTRA_LANE_LEVEL != 0
#ifdef __clang__
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif
#endif
#undef OSTRA_LANES
#undef OSTRA_LANE_COUNT
#undef OSTRA_LANE_INLINE
#undef OSTRA_LANE_CLEAR
