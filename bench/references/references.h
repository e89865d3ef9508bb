// What others would write by hand for the same workloads, measured beside ours: plain loops on one thread (serial),
// OpenMP loops (openmp; openmp-shaped with a static partition), and oneTBB with the body inlined (tbb) or called
// through a virtual method per invocation at a grain of 16 (tbb-virtual). All are compiled for this machine, with the
// arithmetic of our kernels (no contraction).
#pragma once

#include <cstdint>

namespace bench {

enum class Style { Serial, OpenMp, OpenMpStatic, Tbb, TbbVirtual };

// y[i] += a * x[i].
void Saxpy(Style style, std::int64_t count, float a, const float* x, float* y);

// 5x5 filter of an RGBA picture with clamped edges; `taps` holds 25 weights row by row.
void Blur5(Style style, int width, int height, const float* taps, const float* source, float* target);

// Iterations until |z| > 2, at most `limit`, for the points (left + x * pixel, top + y * pixel).
struct Plane {
  int width, height;
  float left, top, pixel;
};
void Mandelbrot(Style style, const Plane& plane, std::uint32_t limit, std::uint32_t* iterations);

// One step of bodies that attract each other; four numbers a body (x, y, z, mass), and their velocities.
struct Bodies {
  int count;
  float softening, timeStep;
  const float* positions;
  const float* velocities;
  float* nextPositions;
  float* nextVelocities;
};
void NBody(Style style, const Bodies& bodies);

// out[i] = i.
void Index(Style style, std::int64_t count, std::uint32_t* out);

}  // namespace bench
