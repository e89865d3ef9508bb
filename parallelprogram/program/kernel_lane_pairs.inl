// What the wide form of a kernel needs beside pairs of lanes (ostra/math/lanes/pairs.inl): as kernel_lanes.inl, which
// it includes, for kernels that run two vectors at a time.
#include "ostra/math/lanes/pairs.inl"
#include "parallelprogram/program/kernel_lanes.inl"

#if (OSTRA_LANE_LEVEL == 1 && !defined(OSTRA_HAS_KERNEL_LANE_PAIRS_1)) || \
    (OSTRA_LANE_LEVEL == 2 && !defined(OSTRA_HAS_KERNEL_LANE_PAIRS_2))
#if OSTRA_LANE_LEVEL == 1
#define OSTRA_HAS_KERNEL_LANE_PAIRS_1
#else
#define OSTRA_HAS_KERNEL_LANE_PAIRS_2
#endif

#define OSTRA_LANE_PAIRS
#include "ostra/math/lanes/level_begin.inl"

namespace ostra::OSTRA_LANES {

template <class T>
OSTRA_LANE_INLINE Lanes<T> Ramp(T first, Int32 stride) {
  const T second = static_cast<T>(first + static_cast<T>(stride) * static_cast<T>(half::kLaneCount));
  return {half::Ramp<T>(first, stride), half::Ramp<T>(second, stride)};
}

OSTRA_LANE_INLINE Mask MakeFirstLanes(UInt32 count) {
  return {half::MakeFirstLanes(count), half::MakeFirstLanes(count < half::kLaneCount ? 0 : count - half::kLaneCount)};
}

template <UInt32 size>
OSTRA_LANE_INLINE Lanes<UInt32> GroupX(UInt32 x) {
  return {half::GroupX<size>(x), half::GroupX<size>(x + half::kLaneCount)};
}
template <UInt32 size>
OSTRA_LANE_INLINE Lanes<UInt32> LocalX(UInt32 x) {
  return {half::LocalX<size>(x), half::LocalX<size>(x + half::kLaneCount)};
}

template <class T, class Index>
OSTRA_LANE_INLINE typename Spread<T>::Lane LoadRun(const T* base, Index first, Mask mask) {
  return Spread<T>::Join(half::LoadRun(base, first, mask.a),
                         half::LoadRun(base, static_cast<Index>(first + half::kLaneCount), mask.b));
}
template <class T, class Index>
OSTRA_LANE_INLINE void StoreRun(T* base, Index first, const typename Spread<T>::Lane& lanes, Mask mask) {
  half::StoreRun(base, first, Spread<T>::First(lanes), mask.a);
  half::StoreRun(base, static_cast<Index>(first + half::kLaneCount), Spread<T>::Second(lanes), mask.b);
}
template <class T>
OSTRA_LANE_INLINE void StoreLast(T* place, const typename Spread<T>::Lane& lanes, Mask mask) {
  half::StoreLast(place, Spread<T>::First(lanes), mask.a);
  half::StoreLast(place, Spread<T>::Second(lanes), mask.b);
}

}  // namespace ostra::OSTRA_LANES

#include "parallelprogram/program/kernel_lane_loops.inl"
//
#include "ostra/math/lanes/level_end.inl"
#undef OSTRA_LANE_PAIRS
#endif
