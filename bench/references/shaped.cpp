// The workloads as an expert shapes them for the vector unit: several neighbours at a time, in vectors
// of eight or sixteen numbers.
#include "bench/references/shaped.h"

#ifdef __AVX2__

#include <immintrin.h>

#include <algorithm>

#include "bench/references/spread.h"

namespace bench {
namespace {

struct EightLanes {
  static constexpr int kCount = 8;
  using Float = __m256;
  static Float Splat(float x) { return _mm256_set1_ps(x); }
  static Float Load(const float* from) { return _mm256_loadu_ps(from); }
  static void Store(float* to, Float x) { _mm256_storeu_ps(to, x); }
  static Float Sqrt(Float x) { return _mm256_sqrt_ps(x); }
  static Float AddProduct(Float a, Float b, Float c) { return _mm256_fmadd_ps(a, b, c); }
  static Float EstimateInverseRoot(Float x) { return _mm256_rsqrt_ps(x); }

  struct Counter {
    __m256i counts = _mm256_setzero_si256();
    __m256i active = _mm256_set1_epi32(-1);
    // Takes the lanes out whose `value` is above `limit`, adds one to the others, and says whether there are any.
    bool Step(Float value, Float limit) {
      active = _mm256_and_si256(active, _mm256_castps_si256(_mm256_cmp_ps(value, limit, _CMP_LE_OQ)));
      counts = _mm256_sub_epi32(counts, active);
      return _mm256_movemask_ps(_mm256_castsi256_ps(active)) != 0;
    }
    void Store(std::uint32_t* to) const { _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), counts); }
  };
};

#ifdef __AVX512F__
struct SixteenLanes {
  static constexpr int kCount = 16;
  using Float = __m512;
  static Float Splat(float x) { return _mm512_set1_ps(x); }
  static Float Load(const float* from) { return _mm512_loadu_ps(from); }
  static void Store(float* to, Float x) { _mm512_storeu_ps(to, x); }
  // With a mask: what GCC 12 has for the plain ones it takes for uninitialized itself.
  static Float Sqrt(Float x) { return _mm512_maskz_sqrt_ps(0xffff, x); }
  static Float AddProduct(Float a, Float b, Float c) { return _mm512_fmadd_ps(a, b, c); }
  static Float EstimateInverseRoot(Float x) { return _mm512_maskz_rsqrt14_ps(0xffff, x); }

  struct Counter {
    __m512i counts = _mm512_setzero_si512();
    __mmask16 active = 0xffff;
    bool Step(Float value, Float limit) {
      active = _mm512_mask_cmp_ps_mask(active, value, limit, _CMP_LE_OQ);
      counts = _mm512_mask_add_epi32(counts, active, counts, _mm512_set1_epi32(1));
      return active != 0;
    }
    void Store(std::uint32_t* to) const { _mm512_storeu_si512(to, counts); }
  };
};
using WidestLanes = SixteenLanes;
#else
using WidestLanes = EightLanes;
#endif

template <class Row>
void ForEachRow(std::int64_t rows, const Row& row) {
#pragma omp parallel for schedule(dynamic)
  for (std::int64_t i = 0; i < rows; ++i) {
    row(i);
    _mm256_zeroupper();  // GCC 12 leaves it out, and other code on this thread is several times slower then
  }
}

// Two vectors at a time: the steps of one fill the time in which those of the other are not done.
template <class Lanes>
void CountSteps(const Plane& plane, std::uint32_t limit, std::int64_t y, std::uint32_t* iterations) {
  using Float = typename Lanes::Float;
  constexpr int kVectors = 2;
  const Float four = Lanes::Splat(4.0f), cy = Lanes::Splat(plane.top + static_cast<float>(y) * plane.pixel);
  for (int x = 0; x < plane.width; x += kVectors * Lanes::kCount) {
    Float cx[kVectors], zx[kVectors] = {}, zy[kVectors] = {};
    typename Lanes::Counter counters[kVectors];
    for (int i = 0; i < kVectors; ++i) {
      float places[Lanes::kCount];
      for (int lane = 0; lane < Lanes::kCount; ++lane)
        places[lane] = plane.left + static_cast<float>(x + i * Lanes::kCount + lane) * plane.pixel;
      cx[i] = Lanes::Load(places);
    }
    for (std::uint32_t iteration = 0; iteration < limit; ++iteration) {
      bool isAny = false;
      for (int i = 0; i < kVectors; ++i) {
        const Float xx = zx[i] * zx[i], yy = zy[i] * zy[i];
        isAny |= counters[i].Step(xx + yy, four);
        zy[i] = (zx[i] + zx[i]) * zy[i] + cy;
        zx[i] = xx - yy + cx[i];
      }
      if (!isAny) break;
    }
    for (int i = 0; i < kVectors; ++i) counters[i].Store(iterations + y * plane.width + x + i * Lanes::kCount);
  }
}

template <class Lanes>
void CountAllSteps(const Plane& plane, std::uint32_t limit, std::uint32_t* iterations) {
  ForEachRow(plane.height, [&](std::int64_t y) { CountSteps<Lanes>(plane, limit, y, iterations); });
}

// The next places of kVectors vectors of bodies from `first` on.
template <class Lanes, bool kIsFast>
void MoveBodies(const Bodies& bodies, std::int64_t first) {
  using Float = typename Lanes::Float;
  constexpr int kVectors = 2;
  Float at[kVectors][3], pull[kVectors][3] = {};
  for (int i = 0; i < kVectors; ++i) {
    for (int axis = 0; axis < 3; ++axis) {
      float places[Lanes::kCount];
      for (int lane = 0; lane < Lanes::kCount; ++lane)
        places[lane] = bodies.positions[(first + i * Lanes::kCount + lane) * 4 + axis];
      at[i][axis] = Lanes::Load(places);
    }
  }
  const Float softening = Lanes::Splat(bodies.softening), one = Lanes::Splat(1.0f);
  for (int j = 0; j < bodies.count; ++j) {
    const float* other = bodies.positions + std::int64_t{j} * 4;
    const Float mass = Lanes::Splat(other[3]);
    for (int i = 0; i < kVectors; ++i) {
      Float way[3];
      for (int axis = 0; axis < 3; ++axis) way[axis] = Lanes::Splat(other[axis]) - at[i][axis];
      if constexpr (kIsFast) {
        Float square = Lanes::AddProduct(way[0], way[0], softening);
        for (int axis = 1; axis < 3; ++axis) square = Lanes::AddProduct(way[axis], way[axis], square);
        // One step of Newton's from what the processor estimates.
        const Float estimate = Lanes::EstimateInverseRoot(square);
        const Float half = Lanes::Splat(0.5f) * estimate;
        const Float nearness = half * (Lanes::Splat(3.0f) - square * estimate * estimate);
        const Float scale = mass * nearness * (nearness * nearness);
        for (int axis = 0; axis < 3; ++axis) pull[i][axis] = Lanes::AddProduct(way[axis], scale, pull[i][axis]);
      } else {
        const Float square = way[0] * way[0] + way[1] * way[1] + way[2] * way[2];
        const Float nearness = one / Lanes::Sqrt(square + softening);
        const Float scale = mass * nearness * nearness * nearness;
        for (int axis = 0; axis < 3; ++axis) pull[i][axis] = pull[i][axis] + way[axis] * scale;
      }
    }
  }
  for (int i = 0; i < kVectors; ++i) {
    float pulls[3][Lanes::kCount];
    for (int axis = 0; axis < 3; ++axis) Lanes::Store(pulls[axis], pull[i][axis]);
    for (int lane = 0; lane < Lanes::kCount; ++lane) {
      const std::int64_t body = (first + i * Lanes::kCount + lane) * 4;
      for (int axis = 0; axis < 3; ++axis) {
        const float next = bodies.velocities[body + axis] + pulls[axis][lane] * bodies.timeStep;
        bodies.nextVelocities[body + axis] = next;
        bodies.nextPositions[body + axis] = bodies.positions[body + axis] + next * bodies.timeStep;
      }
      bodies.nextVelocities[body + 3] = bodies.velocities[body + 3];
      bodies.nextPositions[body + 3] = bodies.positions[body + 3];
    }
  }
}

template <bool kIsFast>
void MoveAllBodies(const Bodies& bodies) {
  constexpr std::int64_t kBodies = 2 * WidestLanes::kCount;
  ForEachRow(bodies.count / kBodies,
             [&](std::int64_t piece) { MoveBodies<WidestLanes, kIsFast>(bodies, piece * kBodies); });
}

// Numbers `begin` to `end` of a row; none of them needs a pixel beyond the edges. The last vectors may overlap those
// before them.
template <class Lanes>
void BlurMiddle(const float* const* rows, const float* taps, std::int64_t begin, std::int64_t end, float* target) {
  using Float = typename Lanes::Float;
  constexpr int kVectors = 4;
  constexpr std::int64_t kNumbers = kVectors * Lanes::kCount;
  for (std::int64_t at = begin;; at = std::min(at + kNumbers, end - kNumbers)) {
    Float sums[kVectors] = {};
    for (int row = 0; row < 5; ++row) {
      for (int column = 0; column < 5; ++column) {
        const Float weight = Lanes::Splat(taps[row * 5 + column]);
        const float* from = rows[row] + at + (column - 2) * 4;
        for (int i = 0; i < kVectors; ++i) sums[i] = sums[i] + Lanes::Load(from + i * Lanes::kCount) * weight;
      }
    }
    for (int i = 0; i < kVectors; ++i) Lanes::Store(target + at + i * Lanes::kCount, sums[i]);
    if (at == end - kNumbers) return;
  }
}

void BlurRow(int width, int height, const float* taps, const float* source, float* target, int y) {
  const float* rows[5];
  for (int row = 0; row < 5; ++row)
    rows[row] = source + std::int64_t{std::clamp(y + row - 2, 0, height - 1)} * width * 4;
  float* to = target + std::int64_t{y} * width * 4;
  BlurMiddle<WidestLanes>(rows, taps, 8, std::int64_t{width} * 4 - 8, to);
  for (const int x : {0, 1, width - 2, width - 1}) {
    for (int channel = 0; channel < 4; ++channel) {
      float sum = 0;
      for (int tap = 0; tap < 25; ++tap)
        sum += rows[tap / 5][std::clamp(x + tap % 5 - 2, 0, width - 1) * 4 + channel] * taps[tap];
      to[x * 4 + channel] = sum;
    }
  }
}

}  // namespace

int GetShapedLanes() { return WidestLanes::kCount; }

void ShapedMandelbrot(int lanes, const Plane& plane, std::uint32_t limit, std::uint32_t* iterations) {
  if (lanes == WidestLanes::kCount) return CountAllSteps<WidestLanes>(plane, limit, iterations);
  CountAllSteps<EightLanes>(plane, limit, iterations);
}

void ShapedNBody(bool isFast, const Bodies& bodies) {
  isFast ? MoveAllBodies<true>(bodies) : MoveAllBodies<false>(bodies);
}

void ShapedBlur5(int width, int height, const float* taps, const float* source, float* target) {
  ForEachRow(height, [=](std::int64_t y) { BlurRow(width, height, taps, source, target, static_cast<int>(y)); });
}

}  // namespace bench

#else

namespace bench {

int GetShapedLanes() { return 0; }
void ShapedMandelbrot(int, const Plane&, std::uint32_t, std::uint32_t*) {}
void ShapedNBody(bool, const Bodies&) {}
void ShapedBlur5(int, int, const float*, const float*, float*) {}

}  // namespace bench

#endif
