// Loads and stores of lanes: a run of consecutive elements, or any element per lane.
//
// Elements are numbers, or small vectors of them, which become LaneVec2 to LaneVec4. A lane outside the mask touches no
// memory; what a load leaves in it is not defined. Where several lanes store to one element, the last of them does, as
// in ascending order.

namespace ostra::OSTRA_LANES {

// How an element of memory spreads over lanes: `Lane` is the type of all lanes, made of kParts vectors of Part, in
// which kParts numbers of the type Number are held.
template <class T>
struct Spread {
  using Lane = Lanes<T>;
  using Number = T;
  using Part = Held<T>;
  static constexpr int kParts = 1;
  OSTRA_LANE_INLINE static Lane Join(const Native<Part>* parts) { return Lane::Make(parts[0]); }
  OSTRA_LANE_INLINE static void Split(const Lane& lanes, Native<Part>* parts) { parts[0] = lanes.v; }
};
template <class T>
struct Spread<Vec2<T>> {
  using Lane = LaneVec2<T>;
  using Number = T;
  using Part = Held<T>;
  static constexpr int kParts = 2;
  OSTRA_LANE_INLINE static Lane Join(const Native<Part>* parts) {
    return {Lanes<T>::Make(parts[0]), Lanes<T>::Make(parts[1])};
  }
  OSTRA_LANE_INLINE static void Split(const Lane& lanes, Native<Part>* parts) {
    parts[0] = lanes.x.v, parts[1] = lanes.y.v;
  }
};
template <class T>
struct Spread<Vec3<T>> {
  using Lane = LaneVec3<T>;
  using Number = T;
  using Part = Held<T>;
  static constexpr int kParts = 3;
  OSTRA_LANE_INLINE static Lane Join(const Native<Part>* parts) {
    return {Lanes<T>::Make(parts[0]), Lanes<T>::Make(parts[1]), Lanes<T>::Make(parts[2])};
  }
  OSTRA_LANE_INLINE static void Split(const Lane& lanes, Native<Part>* parts) {
    parts[0] = lanes.x.v, parts[1] = lanes.y.v, parts[2] = lanes.z.v;
  }
};
template <class T>
struct Spread<Vec4<T>> {
  using Lane = LaneVec4<T>;
  using Number = T;
  using Part = Held<T>;
  static constexpr int kParts = 4;
  OSTRA_LANE_INLINE static Lane Join(const Native<Part>* parts) {
    return {Lanes<T>::Make(parts[0]), Lanes<T>::Make(parts[1]), Lanes<T>::Make(parts[2]), Lanes<T>::Make(parts[3])};
  }
  OSTRA_LANE_INLINE static void Split(const Lane& lanes, Native<Part>* parts) {
    parts[0] = lanes.x.v, parts[1] = lanes.y.v, parts[2] = lanes.z.v, parts[3] = lanes.w.v;
  }
};

namespace internal {

using LaneNumbers = std::make_integer_sequence<int, kLaneCount>;

template <class Vector, int... lane>
OSTRA_LANE_INLINE auto Join(Vector low, Vector high, std::integer_sequence<int, lane...>) {
  return __builtin_shufflevector(low, high, lane...);
}

// Part `part` of kLaneCount elements of `kParts` parts each that lie in `rows` one after the other.
template <int kParts, int part, class T, int... lane>
OSTRA_LANE_INLINE Native<T> PickPart(const Native<T>* rows, std::integer_sequence<int, lane...>) {
  constexpr int n = kLaneCount;
  if constexpr (kParts == 1) {
    return rows[0];
  } else if constexpr (kParts == 2) {
    return __builtin_shufflevector(rows[0], rows[1], (lane * 2 + part)...);
  } else if constexpr (kParts == 3) {
    const Native<T> low =
        __builtin_shufflevector(rows[0], rows[1], (lane * 3 + part < 2 * n ? lane * 3 + part : -1)...);
    return __builtin_shufflevector(low, rows[2], (lane * 3 + part < 2 * n ? lane : lane * 3 + part - n)...);
  } else {
    const Native<T> low = __builtin_shufflevector(rows[0], rows[1], (lane < n / 2 ? lane * 4 + part : -1)...);
    const Native<T> high = __builtin_shufflevector(rows[2], rows[3], (lane < n / 2 ? lane * 4 + part : -1)...);
    return __builtin_shufflevector(low, high, (lane < n / 2 ? lane : lane + n / 2)...);
  }
}

// Row `row` of those rows, made of the parts.
template <int kParts, int row, class T, int... lane>
OSTRA_LANE_INLINE Native<T> MakeRow(const Native<T>* parts, std::integer_sequence<int, lane...>) {
  constexpr int n = kLaneCount;
  constexpr int first = row * n;
  if constexpr (kParts == 1) {
    return parts[0];
  } else if constexpr (kParts == 2) {
    return __builtin_shufflevector(parts[0], parts[1], ((first + lane) % 2 * n + (first + lane) / 2)...);
  } else if constexpr (kParts == 3) {
    const Native<T> low = __builtin_shufflevector(
        parts[0], parts[1], ((first + lane) % 3 < 2 ? (first + lane) % 3 * n + (first + lane) / 3 : -1)...);
    return __builtin_shufflevector(low, parts[2], ((first + lane) % 3 < 2 ? lane : n + (first + lane) / 3)...);
  } else {
    const Native<T> low = __builtin_shufflevector(
        parts[0], parts[1], ((first + lane) % 4 < 2 ? (first + lane) % 4 * n + (first + lane) / 4 : -1)...);
    const Native<T> high = __builtin_shufflevector(
        parts[2], parts[3], ((first + lane) % 4 >= 2 ? ((first + lane) % 4 - 2) * n + (first + lane) / 4 : -1)...);
    return __builtin_shufflevector(low, high, ((first + lane) % 4 < 2 ? lane : n + lane)...);
  }
}

template <int kParts, class T, int... part>
OSTRA_LANE_INLINE void PickParts(const Native<T>* rows, Native<T>* parts, std::integer_sequence<int, part...>) {
  ((parts[part] = PickPart<kParts, part, T>(rows, LaneNumbers())), ...);
}
template <int kParts, class T, int... row>
OSTRA_LANE_INLINE void MakeRows(const Native<T>* parts, Native<T>* rows, std::integer_sequence<int, row...>) {
  ((rows[row] = MakeRow<kParts, row, T>(parts, LaneNumbers())), ...);
}

// base[places[first]] and the `count` - 1 next ones as numbers of the type To, four at a time: element by element, each
// would wait for the one before.
template <int first, int count, class To, class T, class Index>
OSTRA_LANE_INLINE auto PickElements(const T* base, const Index* places) {
  if constexpr (count == 4) {
    typedef To Four __attribute__((vector_size(sizeof(To) * 4)));
    return Four{base[places[first]], base[places[first + 1]], base[places[first + 2]], base[places[first + 3]]};
  } else {
    return Join(PickElements<first, count / 2, To>(base, places),
                PickElements<first + count / 2, count / 2, To>(base, places), std::make_integer_sequence<int, count>());
  }
}

// Each lane of `numbers` as many times as an element has parts.
template <int kParts, int row, class Vector, int... lane>
OSTRA_LANE_INLINE Vector RepeatLanesInRow(Vector numbers, std::integer_sequence<int, lane...>) {
  return __builtin_shufflevector(numbers, numbers, ((row * kLaneCount + lane) / kParts)...);
}
template <int kParts, class Vector, int... row>
OSTRA_LANE_INLINE void RepeatLanes(Vector numbers, Vector* rows, std::integer_sequence<int, row...>) {
  ((rows[row] = RepeatLanesInRow<kParts, row>(numbers, LaneNumbers())), ...);
}

// The rows of kLaneCount elements that are not held as they lie in memory.
template <class Number, class Part, int... row>
OSTRA_LANE_INLINE void LoadHeldRows(const void* first, Native<Part>* rows, std::integer_sequence<int, row...>) {
  ((rows[row] = LoadHeld<Number>(static_cast<const Number*>(first) + row * kLaneCount)), ...);
}
template <class Number, class Part, int... row>
OSTRA_LANE_INLINE void StoreHeldRows(void* first, const Native<Part>* rows, std::integer_sequence<int, row...>) {
  (StoreHeld<Number>(static_cast<Number*>(first) + row * kLaneCount, rows[row]), ...);
}

}  // namespace internal

// The kLaneCount elements from `first` on.
template <class T>
OSTRA_LANE_INLINE typename Spread<T>::Lane Load(const T* first) {
  using Number = typename Spread<T>::Number;
  using Part = typename Spread<T>::Part;
  constexpr int kParts = Spread<T>::kParts;
  Native<Part> rows[kParts], parts[kParts];
  if constexpr (std::is_same_v<Number, Part>) {
    for (int row = 0; row < kParts; ++row)
      rows[row] = internal::LoadNative<Part>(reinterpret_cast<const Part*>(first) + row * kLaneCount);
  } else {
    internal::LoadHeldRows<Number, Part>(first, rows, std::make_integer_sequence<int, kParts>());
  }
  internal::PickParts<kParts, Part>(rows, parts, std::make_integer_sequence<int, kParts>());
  return Spread<T>::Join(parts);
}
template <class T>
OSTRA_LANE_INLINE void Store(T* first, const typename Spread<T>::Lane& lanes) {
  using Number = typename Spread<T>::Number;
  using Part = typename Spread<T>::Part;
  constexpr int kParts = Spread<T>::kParts;
  Native<Part> rows[kParts], parts[kParts];
  Spread<T>::Split(lanes, parts);
  internal::MakeRows<kParts, Part>(parts, rows, std::make_integer_sequence<int, kParts>());
  if constexpr (std::is_same_v<Number, Part>) {
    for (int row = 0; row < kParts; ++row)
      internal::StoreNative<Part>(reinterpret_cast<Part*>(first) + row * kLaneCount, rows[row]);
  } else {
    internal::StoreHeldRows<Number, Part>(first, rows, std::make_integer_sequence<int, kParts>());
  }
}

// Element base[offset(lane)] of each lane in the mask.
template <class T, class Offset>
OSTRA_LANE_INLINE typename Spread<T>::Lane LoadEach(const T* base, Mask mask, Offset&& offset) {
  T elements[kLaneCount] = {};
  for (UInt32 bits = GetBits(mask); bits != 0; bits &= bits - 1) {
    const int lane = __builtin_ctz(bits);
    elements[lane] = base[offset(lane)];
  }
  return Load(elements);
}
template <class T, class Offset>
OSTRA_LANE_INLINE void StoreEach(T* base, const typename Spread<T>::Lane& lanes, Mask mask, Offset&& offset) {
  T elements[kLaneCount];
  Store(elements, lanes);
  for (UInt32 bits = GetBits(mask); bits != 0; bits &= bits - 1) {
    const int lane = __builtin_ctz(bits);
    base[offset(lane)] = elements[lane];
  }
}

// Consecutive elements, those of the lanes in the mask only.
template <class T>
OSTRA_LANE_INLINE typename Spread<T>::Lane Load(const T* first, Mask mask) {
  if (All(mask)) return Load(first);
#if OSTRA_LANE_LEVEL > 0
  if constexpr (Spread<T>::kParts == 1 && sizeof(T) == sizeof(Float32)) {
#if OSTRA_LANE_LEVEL == 1
    const auto loaded = __builtin_ia32_maskloadps256(
        reinterpret_cast<const Native<Float32>*>(reinterpret_cast<const void*>(first)), mask.v);
#else
    const auto loaded = __builtin_ia32_loadups512_mask(reinterpret_cast<const Float32*>(first), Native<Float32>{},
                                                       static_cast<UInt16>(GetBits(mask)));
#endif
    return Lanes<T>::Make(reinterpret_cast<Native<T>>(loaded));
  }
#endif
  return LoadEach(first, mask, [](int lane) { return lane; });
}
template <class T>
OSTRA_LANE_INLINE void Store(T* first, const typename Spread<T>::Lane& lanes, Mask mask) {
  if (All(mask)) return Store(first, lanes);
#if OSTRA_LANE_LEVEL > 0
  if constexpr (Spread<T>::kParts == 1 && sizeof(T) == sizeof(Float32)) {
    const auto values = reinterpret_cast<Native<Float32>>(lanes.v);
#if OSTRA_LANE_LEVEL == 1
    __builtin_ia32_maskstoreps256(reinterpret_cast<Native<Float32>*>(reinterpret_cast<void*>(first)), mask.v, values);
#else
    __builtin_ia32_storeups512_mask(reinterpret_cast<Float32*>(first), values, static_cast<UInt16>(GetBits(mask)));
#endif
    return;
  }
#endif
  StoreEach(first, lanes, mask, [](int lane) { return lane; });
}

// Element base[index] of each lane in the mask. Runs and equal indices are noticed.
template <class T, class Index>
OSTRA_LANE_INLINE typename Spread<T>::Lane Gather(const T* base, Lanes<Index> index, Mask mask) {
  const UInt32 bits = GetBits(mask);
  if (bits == 0) return typename Spread<T>::Lane{};
  // Of lane 0, which may be off: then this may lie before the first element.
  const Int64 first = static_cast<Int64>(index.Get(__builtin_ctz(bits))) - __builtin_ctz(bits);
  if (All((index == Lanes<Index>(static_cast<Index>(first)) + MakeIota<Index>()) | !mask))
    return Load(base + first, mask);
  const Index shared = index.Get(__builtin_ctz(bits));
  if (All((index == shared) | !mask)) return typename Spread<T>::Lane(base[shared]);
  // Lanes that are off read what the first one reads: loads that nothing decides about, one by one. The processors'
  // instruction for it is no faster.
  const Lanes<Index> all = Select(mask, index, Lanes<Index>(shared));
  Index places[kLaneCount];
  internal::StoreNative<Index>(places, all.v);
#ifndef __clang__
  // GCC would take them out of the register again.
  __asm__("" : "+m"(places));
#endif
  using Part = typename Spread<T>::Part;
  if constexpr (std::is_same_v<T, HalfFloat>) {
    const auto* halves = reinterpret_cast<const UInt16*>(base);
    return Lanes<T>::Make(internal::HoldHalves(internal::PickElements<0, kLaneCount, Int32>(halves, places)));
  } else if constexpr (Spread<T>::kParts == 1 && sizeof(Part) == sizeof(Int32)) {
    return Lanes<T>::Make(internal::PickElements<0, kLaneCount, Part>(base, places));
  } else {
    T elements[kLaneCount];
    for (int i = 0; i < kLaneCount; ++i) elements[i] = base[places[i]];
    return Load(elements);
  }
}
template <class T, class Index>
OSTRA_LANE_INLINE void Scatter(T* base, Lanes<Index> index, const typename Spread<T>::Lane& lanes, Mask mask) {
  const UInt32 bits = GetBits(mask);
  if (bits == 0) return;
  const Int64 first = static_cast<Int64>(index.Get(__builtin_ctz(bits))) - __builtin_ctz(bits);
  if (All((index == Lanes<Index>(static_cast<Index>(first)) + MakeIota<Index>()) | !mask))
    return Store(base + first, lanes, mask);
  StoreEach(base, lanes, mask, [&](int lane) { return index.Get(lane); });
}

}  // namespace ostra::OSTRA_LANES
