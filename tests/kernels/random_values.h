// Random inputs of kernels, the same ones for the same seed.
#pragma once

#include <random>
#include <vector>

#include "ostra/math/half_float.h"

namespace ostra::test {

class RandomValues {
 public:
  explicit RandomValues(UInt32 seed) : _random(seed) {}

  template <class T>
  std::vector<T> MakeIntegers(std::size_t count, Int64 low, Int64 high) {
    std::vector<T> numbers(count);
    for (T& number : numbers) number = static_cast<T>(std::uniform_int_distribution<Int64>(low, high)(_random));
    return numbers;
  }
  std::vector<Float32> MakeFloats(std::size_t count) {
    std::vector<Float32> numbers(count);
    for (Float32& number : numbers) number = std::uniform_real_distribution<Float32>(-6.0f, 6.0f)(_random);
    return numbers;
  }
  // Half floats, or vectors of them.
  template <class T>
  std::vector<T> MakeHalves(std::size_t count) {
    std::vector<T> elements(count);
    auto* halves = reinterpret_cast<HalfFloat*>(elements.data());
    for (std::size_t i = 0; i < count * sizeof(T) / sizeof(HalfFloat); ++i) halves[i] = HalfFloat(MakeFloats(1)[0]);
    return elements;
  }
  template <class Vector>
  std::vector<Vector> MakeVectors(std::size_t count) {
    std::vector<Vector> vectors(count);
    for (Vector& vector : vectors)
      for (int i = 0; i < Vector::length(); ++i) vector[i] = MakeFloats(1)[0];
    return vectors;
  }

 private:
  std::mt19937 _random;
};

}  // namespace ostra::test
