// Bytes in tests: as texts, as hexadecimal digits, as blocks of the host.
#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <string_view>

#include "ostra/core/base_array.h"

namespace ostra {

// `text` must live as long as the block.
inline Block<const Byte> BytesOf(std::string_view text) {
  return {reinterpret_cast<const Byte*>(text.data()), static_cast<Int>(text.size())};
}
inline Block<Byte> WritableBytesOf(std::string& text) {
  return {reinterpret_cast<Byte*>(text.data()), static_cast<Int>(text.size())};
}

inline std::string TextOf(const BaseArray<Byte>& bytes) { return std::string(bytes.begin(), bytes.end()); }

inline BaseArray<Byte> ArrayOf(std::string_view text) {
  BaseArray<Byte> bytes;
  if (!bytes.Resize(static_cast<Int>(text.size()))) return {};
  for (std::size_t i = 0; i < text.size(); ++i) bytes[static_cast<Int>(i)] = static_cast<Byte>(text[i]);
  return bytes;
}

inline std::string FromHex(std::string_view digits) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
    bytes += static_cast<char>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16));
  return bytes;
}

inline std::string ToHex(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const char byte : bytes) {
    text += kDigits[static_cast<unsigned char>(byte) >> 4];
    text += kDigits[static_cast<unsigned char>(byte) & 15];
  }
  return text;
}

// The same for the same seed.
inline std::string MakeRandomBytes(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::string bytes(count, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

}  // namespace ostra
