// Numbers by their bits, and as the bytes of files without a header.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace ostra {

using Word = std::uint32_t;

inline float FloatOf(Word bits) { return std::bit_cast<float>(bits); }
inline Word BitsOf(float x) { return std::bit_cast<Word>(x); }
inline bool IsNan(Word bits) { return (bits & 0x7FFFFFFF) > 0x7F800000; }

template <class T>
std::string BytesOf(const std::vector<T>& values) {
  return std::string(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T));
}

template <class T>
std::vector<T> ValuesOf(const std::string& bytes) {
  std::vector<T> values(bytes.size() / sizeof(T));
  std::memcpy(values.data(), bytes.data(), values.size() * sizeof(T));
  return values;
}

}  // namespace ostra
