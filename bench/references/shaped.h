// The same workloads as in references.h, shaped for the vector unit and spread by OpenMP.
#pragma once

#include "bench/references/references.h"

namespace bench {

// How many numbers a vector of this machine has: 16 or 8, or 0 where there are none and nothing below may be called.
int GetShapedLanes();

// Masked by hand, with vectors of `lanes` points: 8, or as many as a vector has. Rows are a multiple of twice as many.
void ShapedMandelbrot(int lanes, const Plane& plane, std::uint32_t limit, std::uint32_t* iterations);

// Exact with the arithmetic of the kernel; fast with contracted arithmetic and an estimated root, improved once. The
// bodies are a multiple of 32.
void ShapedNBody(bool isFast, const Bodies& bodies);

// Rows of 20 pixels at least.
void ShapedBlur5(int width, int height, const float* taps, const float* source, float* target);

}  // namespace bench
