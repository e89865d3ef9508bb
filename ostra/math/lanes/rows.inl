// LaneRows<V>: a small vector for each lane, as such vectors lie in memory one after the other.
//
// Sums, and products with numbers, do the same to every component: they need not be taken apart, as LaneVec2 to
// LaneVec4 are. Loads and stores of elements in a row are plain then. The bits are those of the other form, into which
// it converts.

namespace ostra::OSTRA_LANES {

template <class V>
struct LaneRows {
  using Part = typename Spread<V>::Part;
  using Lane = typename Spread<V>::Lane;
  static constexpr int kRows = Spread<V>::kParts;

  Native<Part> v[kRows];

  // What `make` gives for the number of each row. A loop over them would keep them in memory.
  template <class MakeRow>
  OSTRA_LANE_INLINE static LaneRows Make(MakeRow&& make) {
    return MakeAll(make, std::make_integer_sequence<int, kRows>());
  }
  // The number as all components, one for all lanes or one for each.
  OSTRA_LANE_INLINE static LaneRows Repeat(Part number) {
    return Make([&](int) { return number - Native<Part>{}; });
  }
  OSTRA_LANE_INLINE static LaneRows Repeat(Lanes<Part> numbers) {
    LaneRows rows;
    internal::RepeatLanes<kRows>(numbers.v, rows.v, std::make_integer_sequence<int, kRows>());
    return rows;
  }

  OSTRA_LANE_INLINE explicit operator Lane() const {
    Native<Part> parts[kRows];
    internal::PickParts<kRows, Part>(v, parts, std::make_integer_sequence<int, kRows>());
    return Spread<V>::Join(parts);
  }

#define OSTRA_ROW_OPERATOR(op)                                                                               \
  friend OSTRA_LANE_INLINE LaneRows operator op(const LaneRows& a, const LaneRows& b) {                      \
    return Make([&](int row) { return a.v[row] op b.v[row]; });                                              \
  }                                                                                                          \
  friend OSTRA_LANE_INLINE LaneRows operator op(const LaneRows& a, Part b) { return a op Repeat(b); }        \
  friend OSTRA_LANE_INLINE LaneRows operator op(Part a, const LaneRows& b) { return Repeat(a) op b; }        \
  friend OSTRA_LANE_INLINE LaneRows operator op(const LaneRows& a, Lanes<Part> b) { return a op Repeat(b); } \
  friend OSTRA_LANE_INLINE LaneRows operator op(Lanes<Part> a, const LaneRows& b) { return Repeat(a) op b; }
  OSTRA_ROW_OPERATOR(+)
  OSTRA_ROW_OPERATOR(-)
  OSTRA_ROW_OPERATOR(*)
  OSTRA_ROW_OPERATOR(/)
#undef OSTRA_ROW_OPERATOR
  // As the vectors do it: what is 0 stays 0 with four components.
  friend OSTRA_LANE_INLINE LaneRows operator-(const LaneRows& a) {
    return Make([&](int row) { return kRows == 4 ? Native<Part>{} - a.v[row] : -a.v[row]; });
  }

 private:
  template <class MakeRow, int... row>
  OSTRA_LANE_INLINE static LaneRows MakeAll(MakeRow& make, std::integer_sequence<int, row...>) {
    LaneRows rows;
    ((rows.v[row] = make(row)), ...);
    return rows;
  }
};

// The same vector in all lanes, or one that was taken apart.
template <class V>
OSTRA_LANE_INLINE LaneRows<V> ToRows(const V& shared) {
  return LaneRows<V>::Make([&](int row) {
    Native<typename Spread<V>::Part> numbers = {};
    for (int i = 0; i < kLaneCount; ++i) numbers[i] = shared[(row * kLaneCount + i) % Spread<V>::kParts];
    return numbers;
  });
}
template <class V>
OSTRA_LANE_INLINE LaneRows<V> ToRows(const typename Spread<V>::Lane& lanes) {
  using Part = typename Spread<V>::Part;
  constexpr int kRows = Spread<V>::kParts;
  Native<Part> parts[kRows];
  LaneRows<V> rows;
  Spread<V>::Split(lanes, parts);
  internal::MakeRows<kRows, Part>(parts, rows.v, std::make_integer_sequence<int, kRows>());
  return rows;
}

// `a` where the mask holds, `b` elsewhere.
template <class V>
OSTRA_LANE_INLINE LaneRows<V> Select(Mask mask, const LaneRows<V>& a, const LaneRows<V>& b) {
  constexpr int kRows = Spread<V>::kParts;
  Native<Int32> lanes[kRows];
  internal::RepeatLanes<kRows>(mask.As<Int32>(), lanes, std::make_integer_sequence<int, kRows>());
  return LaneRows<V>::Make([&](int row) { return Mask::Make(lanes[row]).Choose(a.v[row], b.v[row]); });
}

// The kLaneCount elements from `first` on, those of the lanes in the mask only.
template <class V>
OSTRA_LANE_INLINE LaneRows<V> LoadRows(const V* first) {
  using Part = typename Spread<V>::Part;
  const Part* from = reinterpret_cast<const Part*>(first);
  return LaneRows<V>::Make([&](int row) { return internal::LoadNative<Part>(from + row * kLaneCount); });
}
template <class V>
OSTRA_LANE_INLINE LaneRows<V> LoadRows(const V* first, Mask mask) {
  if (All(mask)) [[likely]]
    return LoadRows(first);
  V elements[kLaneCount] = {};
  for (UInt32 bits = GetBits(mask); bits != 0; bits &= bits - 1) {
    const int lane = __builtin_ctz(bits);
    elements[lane] = first[lane];
  }
  return LoadRows(elements);
}
template <class V>
OSTRA_LANE_INLINE void StoreRows(V* first, const LaneRows<V>& rows) {
  using Part = typename Spread<V>::Part;
  Part* to = reinterpret_cast<Part*>(first);
  LaneRows<V>::Make([&](int row) {
    internal::StoreNative<Part>(to + row * kLaneCount, rows.v[row]);
    return rows.v[row];
  });
}
template <class V>
OSTRA_LANE_INLINE void StoreRows(V* first, const LaneRows<V>& rows, Mask mask) {
  if (All(mask)) [[likely]]
    return StoreRows(first, rows);
  V elements[kLaneCount];
  StoreRows(elements, rows);
  for (UInt32 bits = GetBits(mask); bits != 0; bits &= bits - 1) {
    const int lane = __builtin_ctz(bits);
    first[lane] = elements[lane];
  }
}
// Element base[index] of each lane in the mask.
template <class V, class Index>
OSTRA_LANE_INLINE LaneRows<V> GatherRows(const V* base, Lanes<Index> index, Mask mask) {
  const UInt32 bits = GetBits(mask);
  V elements[kLaneCount] = {};
  if (bits != 0) {
    // Lanes that are off read what the first one reads.
    const Lanes<Index> places = Select(mask, index, Lanes<Index>(index.Get(__builtin_ctz(bits))));
    for (int i = 0; i < kLaneCount; ++i) elements[i] = base[places.v[i]];
  }
  return LoadRows(elements);
}

}  // namespace ostra::OSTRA_LANES
