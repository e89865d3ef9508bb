// What the wide form of a kernel needs beside lanes (ostra/math/lanes): its loop over a range, runs of buffer elements,
// and words that are called once per lane. Included once per instruction level, like lanes.inl.
#if (OSTRA_LANE_LEVEL == 0 && !defined(OSTRA_HAS_KERNEL_LANES_0)) || \
    (OSTRA_LANE_LEVEL == 1 && !defined(OSTRA_HAS_KERNEL_LANES_1)) || \
    (OSTRA_LANE_LEVEL == 2 && !defined(OSTRA_HAS_KERNEL_LANES_2))
#if OSTRA_LANE_LEVEL == 0
#define OSTRA_HAS_KERNEL_LANES_0
#elif OSTRA_LANE_LEVEL == 1
#define OSTRA_HAS_KERNEL_LANES_1
#else
#define OSTRA_HAS_KERNEL_LANES_2
#endif

#include "ostra/math/lanes/lanes.inl"
#include "parallelprogram/program/kernel_group_interface.h"
#include "parallelprogram/program/kernel_loops.h"

#include "ostra/math/lanes/level_begin.inl"

namespace ostra::OSTRA_LANES {

// first, first + stride, ...; wraps.
template <class T>
OSTRA_LANE_INLINE Lanes<T> Ramp(T first, Int32 stride) {
  if (stride == 1) return Lanes<T>(first) + MakeIota<T>();
  return Lanes<T>(first) + MakeIota<T>() * Lanes<T>(static_cast<T>(stride));
}

OSTRA_LANE_INLINE Mask MakeFirstLanes(UInt32 count) { return MakeIota<UInt32>() < count; }

// The x of the invocations in their groups, and of the groups.
template <UInt32 size>
OSTRA_LANE_INLINE Lanes<UInt32> GroupX(UInt32 x) {
  Lanes<UInt32> group;
  for (int i = 0; i < kLaneCount; ++i) group.v[i] = (x + static_cast<UInt32>(i)) / size;
  return group;
}
template <UInt32 size>
OSTRA_LANE_INLINE Lanes<UInt32> LocalX(UInt32 x) {
  if constexpr ((size & (size - 1)) == 0) return Ramp<UInt32>(x, 1) & (size - 1);
  Lanes<UInt32> local;
  for (int i = 0; i < kLaneCount; ++i) local.v[i] = (x + static_cast<UInt32>(i)) % size;
  return local;
}

// Consecutive elements, the first lane's at `first`, which may lie before the buffer when that lane is off: then an
// unsigned index has wrapped.
template <class Index>
OSTRA_LANE_INLINE Int GetRunBegin(Index first) {
  if constexpr (sizeof(Index) == 4 && Index(-1) > Index(0)) {
    return first > 0xffffffffu - kLaneCount ? static_cast<Int>(static_cast<Int32>(first)) : static_cast<Int>(first);
  } else {
    return static_cast<Int>(first);
  }
}
template <class T, class Index>
OSTRA_LANE_INLINE auto LoadRun(const T* base, Index first, Mask mask) {
  return Load(base + GetRunBegin(first), mask);
}
template <class T, class Index>
OSTRA_LANE_INLINE void StoreRun(T* base, Index first, const typename Spread<T>::Lane& lanes, Mask mask) {
  Store(base + GetRunBegin(first), lanes, mask);
}

// The same for vectors that are not taken apart.
template <class T, class Index>
OSTRA_LANE_INLINE LaneRows<T> LoadRowsOfRun(const T* base, Index first, Mask mask) {
  return LoadRows(base + GetRunBegin(first), mask);
}
template <class T, class Index>
OSTRA_LANE_INLINE void StoreRowsOfRun(T* base, Index first, const LaneRows<T>& rows, Mask mask) {
  StoreRows(base + GetRunBegin(first), rows, mask);
}

// offset + clamp(number, low, high), for the numbers first, first + 1, ...: nearly always a run, as positions in an
// image are that must not leave it.
template <class T>
struct ClampedRamp {
  T first, low, high, offset = 0;

  OSTRA_LANE_INLINE Bool IsRun() const {
    return first >= low && static_cast<Int64>(first) + (kLaneCount - 1) <= static_cast<Int64>(high);
  }
  OSTRA_LANE_INLINE explicit operator Lanes<T>() const {
    return clamp(Ramp<T>(first, 1), Lanes<T>(low), Lanes<T>(high)) + Lanes<T>(offset);
  }
  friend OSTRA_LANE_INLINE ClampedRamp operator+(const ClampedRamp& a, T b) {
    return {a.first, a.low, a.high, static_cast<T>(a.offset + b)};
  }
  friend OSTRA_LANE_INLINE ClampedRamp operator+(T a, const ClampedRamp& b) { return b + a; }
};
template <class T, class Index>
OSTRA_LANE_INLINE auto LoadRun(const T* base, const ClampedRamp<Index>& index, Mask mask) {
  if (index.IsRun()) [[likely]]
    return LoadRun(base, static_cast<Index>(index.first + index.offset), mask);
  return Gather(base, static_cast<Lanes<Index>>(index), mask);
}
template <class T, class Index>
OSTRA_LANE_INLINE LaneRows<T> LoadRowsOfRun(const T* base, const ClampedRamp<Index>& index, Mask mask) {
  if (index.IsRun()) [[likely]]
    return LoadRowsOfRun(base, static_cast<Index>(index.first + index.offset), mask);
  return GatherRows(base, static_cast<Lanes<Index>>(index), mask);
}

// The value of the last lane in the mask, as all of them store to one element in ascending order.
template <class T>
OSTRA_LANE_INLINE void StoreLast(T* place, const typename Spread<T>::Lane& lanes, Mask mask) {
  T elements[kLaneCount];
  Store(elements, lanes);
  const UInt32 bits = GetBits(mask);
  if (bits != 0) *place = elements[31 - __builtin_clz(bits)];
}

// What `function` does with the number of each lane in the mask, in ascending order.
template <class Function>
OSTRA_LANE_INLINE void ForEachLaneIn(Mask mask, Function&& function) {
  for (UInt32 bits = GetBits(mask); bits != 0; bits &= bits - 1) function(__builtin_ctz(bits));
}

// What `one` gives for the number of each lane in the mask; zeros in the others.
template <class Lane, class One>
OSTRA_LANE_INLINE Lane MapLanes(Mask mask, One&& one) {
  Lane lanes{};
  for (UInt32 bits = GetBits(mask); bits != 0; bits &= bits - 1) {
    const int lane = __builtin_ctz(bits);
    SetLane(lanes, lane, one(lane));
  }
  return lanes;
}

// Elements of an array that each lane has for itself, found by a number of each lane.
template <class Lane, class Index, int count>
OSTRA_LANE_INLINE Lane GetElements(const Lane (&array)[count], Lanes<Index> index, Mask mask) {
  Lane result = array[0];
  for (int i = 0; i < count; ++i) result = Select((index == static_cast<Index>(i)) & mask, array[i], result);
  return result;
}
template <class Lane, class Index, int count>
OSTRA_LANE_INLINE void SetElements(Lane (&array)[count], Lanes<Index> index, const Lane& value, Mask mask) {
  for (int i = 0; i < count; ++i) array[i] = Select((index == static_cast<Index>(i)) & mask, value, array[i]);
}

// Elements of an array that all lanes share.
template <class T, class Index, int count>
OSTRA_LANE_INLINE auto GetSharedElements(const T (&array)[count], Lanes<Index> index, Mask mask) {
  if constexpr (std::is_same_v<T, Bool>) {
    Mask result = false;
    for (int i = 0; i < count; ++i) result = result | ((index == Lanes<Index>(static_cast<Index>(i))) & Mask(array[i]));
    return result;
  } else {
    return LoadEach(
        array, mask, [&](int lane) __attribute__((always_inline)) { return index.Get(lane); });
  }
}

// The coordinates of all lanes, those of each axis one after the other, as wide lookups take them.
template <class T>
OSTRA_LANE_INLINE void StoreAxes(T* axes, const Lanes<T>& at) {
  Store(axes, at);
}
template <class T>
OSTRA_LANE_INLINE void StoreAxes(T* axes, const LaneVec2<T>& at) {
  Store(axes, at.x), Store(axes + kLaneCount, at.y);
}
template <class T>
OSTRA_LANE_INLINE void StoreAxes(T* axes, const LaneVec3<T>& at) {
  Store(axes, at.x), Store(axes + kLaneCount, at.y), Store(axes + 2 * kLaneCount, at.z);
}

// Values of a texture: a call of `wide` for all lanes when the sampler has that form, else one of `one` per lane.
template <class Value, class T, class Wide, class Sampler, class Coordinates, class One>
OSTRA_LANE_INLINE typename Spread<Value>::Lane LookUpLanes(Wide wide, const Sampler& sampler,
                                                           const Coordinates& coordinates, Lanes<UInt32> layer,
                                                           Mask mask, One&& one) {
  if (wide) [[likely]] {
    using Spreading = Spread<Value>;
    alignas(64) T axes[Sampler::kDimensions * kLaneCount];
    alignas(64) UInt32 layers[kLaneCount];
    alignas(64) Native<typename Spreading::Part> result[Spreading::kParts];
    StoreAxes(axes, coordinates);
    Store(layers, layer);
    wide(result, axes, layers, GetBits(mask), &sampler);
    return Spreading::Join(result);
  }
  Value values[kLaneCount] = {};
  ForEachLaneIn(
      mask, [&](int lane) __attribute__((always_inline)) { values[lane] = one(lane); });
  return Load(values);
}
template <class Texture, class Coordinates>
OSTRA_LANE_INLINE auto SampleLanes(const Texture& texture, const Coordinates& coordinates, Lanes<UInt32> layer,
                                   Mask mask) {
  return LookUpLanes<typename Texture::Value, Float32>(
      texture.GetSampler().GetSampleLanes(OSTRA_LANE_LEVEL), texture.GetSampler(), coordinates, layer,
      mask, [&](int lane) __attribute__((always_inline)) {
        return texture.Sample(GetLane(coordinates, lane), layer.Get(lane));
      });
}
template <class Texture, class Coordinates>
OSTRA_LANE_INLINE auto FetchLanes(const Texture& texture, const Coordinates& coordinates, Lanes<UInt32> layer,
                                  Mask mask) {
  return LookUpLanes<typename Texture::Value, Int32>(
      texture.GetSampler().GetFetchLanes(OSTRA_LANE_LEVEL), texture.GetSampler(), coordinates, layer,
      mask, [&](int lane) __attribute__((always_inline)) {
        return texture.Fetch(GetLane(coordinates, lane), layer.Get(lane));
      });
}

// Values of a noise: for all lanes at once when it has that form.
OSTRA_LANE_INLINE void StoreNoisePlaces(Float32* places, const Lanes<Float32>& at, Lanes<Float32> time) {
  const Lanes<Float32> zero = 0.0f;
  Store(places, at), Store(places + kLaneCount, zero), Store(places + 2 * kLaneCount, zero);
  Store(places + 3 * kLaneCount, time);
}
OSTRA_LANE_INLINE void StoreNoisePlaces(Float32* places, const LaneVec2<Float32>& at, Lanes<Float32> time) {
  StoreAxes(places, at);
  Store(places + 2 * kLaneCount, Lanes<Float32>(0.0f)), Store(places + 3 * kLaneCount, time);
}
OSTRA_LANE_INLINE void StoreNoisePlaces(Float32* places, const LaneVec3<Float32>& at, Lanes<Float32> time) {
  StoreAxes(places, at);
  Store(places + 3 * kLaneCount, time);
}
OSTRA_LANE_INLINE void StoreNoisePlaces(Float32* places, const LaneVec4<Float32>& at, Lanes<Float32> time) {
  Store(places, at.x), Store(places + kLaneCount, at.y), Store(places + 2 * kLaneCount, at.z);
  Store(places + 3 * kLaneCount, at.w + time);
}
template <class Body, class Index, class Position>
OSTRA_LANE_INLINE Lanes<Float32> NoiseLanes(const Body& body, Index number, const Position& position,
                                            Lanes<Float32> time, Mask mask) {
  const auto* noise = body.FindNoise(static_cast<Int>(number));
  if (!noise || None(mask)) return 0.0f;
  alignas(64) Float32 places[4 * kLaneCount], all[kLaneCount];
  StoreNoisePlaces(places, position, time);
  if (noise->NoiseLanes(OSTRA_LANE_LEVEL, all, places)) [[likely]]
    return Load(all);
  Float32 values[kLaneCount] = {};
  ForEachLaneIn(
      mask, [&](int lane) __attribute__((always_inline)) {
        values[lane] = body.RenderNoise(number, GetLane(position, lane), time.Get(lane));
      });
  return Load(values);
}

}  // namespace ostra::OSTRA_LANES

#include "parallelprogram/program/kernel_lane_groups.inl"
#include "parallelprogram/program/kernel_lane_loops.inl"
//
#include "ostra/math/lanes/level_end.inl"
#endif
