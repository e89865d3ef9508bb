// What lanes_test.cpp does with the lanes of one instruction level: included once per level, between level_begin.inl
// and level_end.inl. All functions take and give kLaneCount elements per array.
namespace ostra::OSTRA_LANES {

struct LaneCases {
  static constexpr int kCount = kLaneCount;
  static constexpr int kLevel = OSTRA_LANE_LEVEL;

#define OSTRA_CASE(name) \
  static void Unary_##name(const Float32* x, Float32* result) { Store(result, OSTRA_LANES::name(Load(x))); }
  OSTRA_UNARY_FUNCTIONS(OSTRA_CASE)
#undef OSTRA_CASE
#define OSTRA_CASE(name)                                                           \
  static void Binary_##name(const Float32* x, const Float32* y, Float32* result) { \
    Store(result, OSTRA_LANES::name(Load(x), Load(y)));                            \
  }
  OSTRA_BINARY_FUNCTIONS(OSTRA_CASE)
#undef OSTRA_CASE
#define OSTRA_CASE(name)                                                                              \
  static void Ternary_##name(const Float32* x, const Float32* y, const Float32* z, Float32* result) { \
    Store(result, OSTRA_LANES::name(Load(x), Load(y), Load(z)));                                      \
  }
  OSTRA_TERNARY_FUNCTIONS(OSTRA_CASE)
#undef OSTRA_CASE

  // The functions of Float64, kCount results each.
  static void Functions64(const Float64* x, const Float64* y, const Float64* z, Float64* result) {
    const Lanes<Float64> a = Load(x), b = Load(y), c = Load(z);
    const auto add = [&](Lanes<Float64> lanes) {
      Store(result, lanes);
      result += kCount;
    };
#define OSTRA_CASE(name) add(OSTRA_LANES::name(a));
    OSTRA_UNARY_FUNCTIONS_64(OSTRA_CASE)
#undef OSTRA_CASE
#define OSTRA_CASE(name) add(OSTRA_LANES::name(a, b));
    OSTRA_BINARY_FUNCTIONS_64(OSTRA_CASE)
#undef OSTRA_CASE
#define OSTRA_CASE(name) add(OSTRA_LANES::name(a, b, c));
    OSTRA_TERNARY_FUNCTIONS(OSTRA_CASE)
#undef OSTRA_CASE
    add(Convert<Float64>(OSTRA_LANES::isnan(a))), add(Convert<Float64>(OSTRA_LANES::isinf(a)));
  }

  template <class T>
  static void Quotients(const T* x, const T* y, T* quotients, T* rests) {
    Store(quotients, Divide(Load(x), Load(y), Mask(true)));
    Store(rests, Remainder(Load(x), Load(y), Mask(true)));
  }

  // Results of the operators one after the other, kCount each: as many as ScalarOperators in the test writes.
  template <class T>
  static void Operators(const T* x, const T* y, T* result) {
    const Lanes<T> a = Load(x), b = Load(y);
    const auto add = [&](Lanes<T> lanes) {
      Store(result, lanes);
      result += kCount;
    };
    add(a + b), add(a - b), add(a * b), add(-a), add(a + T(3)), add(T(3) - b);
    add(Convert<T>(a < b)), add(Convert<T>(a <= b)), add(Convert<T>(a > b));
    add(Convert<T>(a >= b)), add(Convert<T>(a == b)), add(Convert<T>(a != b));
    add(Select((a < b) & !(b == T(1)), a, b)), add(Select((a < b) | (a == b), a, b)),
        add(Select((a < b) ^ (a < T(0)), a, b));
    if constexpr (std::is_floating_point_v<T>) {
      add(a / b);
    } else {
      add(a & b), add(a | b), add(a ^ b), add(~a);
      const Mask isDivisible = b != T(0);
      add(Select(isDivisible, Divide(a, b, isDivisible), Lanes<T>(T(0))));
      add(Select(isDivisible, Remainder(a, b, isDivisible), Lanes<T>(T(0))));
      add(DivideBy<1>(a)), add(DivideBy<48>(a)), add(DivideBy<T(-7)>(a)), add(DivideBy<0x7fffffff>(a));
      add(RemainderBy<1>(a)), add(RemainderBy<24>(a)), add(RemainderBy<T(-7)>(a)), add(RemainderBy<0x7fffffff>(a));
      const Lanes<T> shift = b & T(sizeof(T) * 8 - 1);
      add(ShiftLeft(a, shift)), add(ShiftRight(a, shift));
    }
  }

  template <class To, class From>
  static void ConvertAll(const From* x, To* result) {
    Store(result, Convert<To>(Load(x)));
  }

  static void WidenHalves(const HalfFloat* x, Float32* result) { Store(result, Convert<Float32>(Load(x))); }
  static void RoundToHalves(const Float32* x, HalfFloat* result) { Store(result, Convert<HalfFloat>(Load(x))); }

  // Results of the operators that numbers of 8 and 16 bits have, kCount each.
  template <class T>
  static void SmallOperators(const T* x, const T* y, UInt32 bits, T* result) {
    const Lanes<T> a = Load(x), b = Load(y);
    for (const Lanes<T> lanes : {a + b, a - b, a * b, -a, Select(MakeMask(bits), a, b), Convert<T>(a < b),
                                 Convert<T>(a == b), Select(Mask(a < b) & MakeMask(bits), a, b)}) {
      Store(result, lanes);
      result += kCount;
    }
  }

  static Mask MakeMask(UInt32 bits) {
    Mask mask = false;
    for (int i = 0; i < kCount; ++i) mask.Set(i, (bits >> i & 1u) != 0);
    return mask;
  }
  static UInt32 RepeatMask(UInt32 bits) { return GetBits(MakeMask(bits)); }
  static void Reduce(UInt32 bits, Bool* anyAllNone) {
    anyAllNone[0] = Any(MakeMask(bits)), anyAllNone[1] = All(MakeMask(bits)), anyAllNone[2] = None(MakeMask(bits));
  }

  template <class T>
  static void Copy(const T* from, T* to, UInt32 bits) {
    Store(to, Load(from, MakeMask(bits)), MakeMask(bits));
  }
  template <class T>
  static void LoadMasked(const T* from, T* to, UInt32 bits) {
    Store(to, Load(from, MakeMask(bits)));
  }
  template <class T, class Index>
  static void GatherAll(const T* base, const Index* index, T* to, UInt32 bits) {
    Store(to, Gather(base, Load(index), MakeMask(bits)));
  }
  template <class T, class Index>
  static void ScatterAll(T* base, const Index* index, const T* from, UInt32 bits) {
    Scatter(base, Load(index), Load(from), MakeMask(bits));
  }

  // dot, length, normalize, cross, reflect and mix of vectors with three components: 5 * 3 + ... floats per lane.
  static void Geometry(const Vec3<Float32>* x, const Vec3<Float32>* y, Vec3<Float32>* result) {
    const LaneVec3<Float32> a = Load(x), b = Load(y);
    const LaneVec3<Float32> results[] = {a + b,
                                         a * b / (b + 2.0f),
                                         LaneVec3<Float32>(dot(a, b), length(a), distance(a, b)),
                                         normalize(a),
                                         cross(a, b),
                                         reflect(a, b),
                                         mix(a, b, 0.25f),
                                         clamp(a, -1.0f, 1.0f),
                                         Select(a.x < b.y, a, -b)};
    for (const LaneVec3<Float32>& lanes : results) {
      Store(result, lanes);
      result += kCount;
    }
  }
};

}  // namespace ostra::OSTRA_LANES
