#include <cmath>

#include "bench/references/spread.h"

namespace bench {

void Saxpy(Style style, std::int64_t count, float a, const float* x, float* y) {
  Spread(
      style, count, 1 << 16,
      [=](std::int64_t begin, std::int64_t end) {
#pragma omp simd
        for (std::int64_t i = begin; i < end; ++i) y[i] += a * x[i];
      },
      [=](std::int64_t i) { y[i] += a * x[i]; });
}

void Index(Style style, std::int64_t count, std::uint32_t* out) {
  Spread(
      style, count, 1 << 14,
      [=](std::int64_t begin, std::int64_t end) {
#pragma omp simd
        for (std::int64_t i = begin; i < end; ++i) out[i] = static_cast<std::uint32_t>(i);
      },
      [=](std::int64_t i) { out[i] = static_cast<std::uint32_t>(i); });
}

namespace {

int Clamp(int value, int limit) { return value < 0 ? 0 : value >= limit ? limit - 1 : value; }

void BlurPixel(int width, int height, const float* taps, const float* source, float* target, int x, int y) {
  float sum[4] = {0, 0, 0, 0};
  for (int row = 0; row < 5; ++row) {
    for (int column = 0; column < 5; ++column) {
      const std::int64_t sample = std::int64_t{Clamp(y + row - 2, height)} * width + Clamp(x + column - 2, width);
      const float weight = taps[row * 5 + column];
      for (int channel = 0; channel < 4; ++channel) sum[channel] += source[sample * 4 + channel] * weight;
    }
  }
  for (int channel = 0; channel < 4; ++channel) target[(std::int64_t{y} * width + x) * 4 + channel] = sum[channel];
}

std::uint32_t Escape(float cx, float cy, std::uint32_t limit) {
  float x = 0, y = 0;
  std::uint32_t iteration = 0;
  while (iteration < limit && x * x + y * y <= 4.0f) {
    const float next = x * x - y * y + cx;
    y = 2.0f * x * y + cy;
    x = next;
    ++iteration;
  }
  return iteration;
}

}  // namespace

void Blur5(Style style, int width, int height, const float* taps, const float* source, float* target) {
  auto pixel = [=](std::int64_t index) {
    BlurPixel(width, height, taps, source, target, static_cast<int>(index % width), static_cast<int>(index / width));
  };
  Spread(
      style, std::int64_t{width} * height, width,
      [=](std::int64_t begin, std::int64_t end) {
        for (std::int64_t i = begin; i < end; ++i) pixel(i);
      },
      pixel);
}

void Mandelbrot(Style style, const Plane& plane, std::uint32_t limit, std::uint32_t* iterations) {
  auto pixel = [=](std::int64_t index) {
    const float cx = plane.left + static_cast<float>(index % plane.width) * plane.pixel;
    const float cy = plane.top + static_cast<float>(index / plane.width) * plane.pixel;
    iterations[index] = Escape(cx, cy, limit);
  };
  Spread(
      style, std::int64_t{plane.width} * plane.height, plane.width,
      [=](std::int64_t begin, std::int64_t end) {
        for (std::int64_t i = begin; i < end; ++i) pixel(i);
      },
      pixel);
}

void NBody(Style style, const Bodies& bodies) {
  auto step = [=](std::int64_t i) {
    const float* body = bodies.positions + i * 4;
    const float* velocity = bodies.velocities + i * 4;
    float pull[3] = {0, 0, 0};
    float x = 0, y = 0, z = 0;
#pragma omp simd reduction(+ : x, y, z)
    for (int j = 0; j < bodies.count; ++j) {
      const float* other = bodies.positions + j * 4;
      const float dx = other[0] - body[0], dy = other[1] - body[1], dz = other[2] - body[2];
      const float inverse = 1.0f / std::sqrt(dx * dx + dy * dy + dz * dz + bodies.softening);
      const float scale = other[3] * inverse * inverse * inverse;
      x += dx * scale;
      y += dy * scale;
      z += dz * scale;
    }
    pull[0] = x;
    pull[1] = y;
    pull[2] = z;
    for (int axis = 0; axis < 3; ++axis) {
      const float next = velocity[axis] + pull[axis] * bodies.timeStep;
      bodies.nextVelocities[i * 4 + axis] = next;
      bodies.nextPositions[i * 4 + axis] = body[axis] + next * bodies.timeStep;
    }
    bodies.nextVelocities[i * 4 + 3] = velocity[3];
    bodies.nextPositions[i * 4 + 3] = body[3];
  };
  Spread(
      style, bodies.count, 64,
      [=](std::int64_t begin, std::int64_t end) {
        for (std::int64_t i = begin; i < end; ++i) step(i);
      },
      step);
}

}  // namespace bench
