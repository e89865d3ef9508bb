#include "parallelprogram/kernellanguage/literal.h"

#include <charconv>
#include <limits>
#include <string>

#include "ostra/core/text_characters.h"

namespace ostra::kernellanguage {
namespace {

template <class T>
Bool ParseAll(std::string_view text, T& value, auto... how) {
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value, how...);
  return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

Bool ParseFloating(std::string_view text, LiteralValue& value) {
  // The CPU form has an f behind numbers without a suffix, and those of base 16 are left as they are.
  const Bool hasSuffix = text.ends_with('f') || text.ends_with('F');
  if (hasSuffix) text.remove_suffix(1);
  Float32 number = 0;
  if (text.empty() || !ParseAll(text, number, std::chars_format::general)) return false;
  Float64 exact = number;
  static_cast<void>(ParseAll(text, exact, std::chars_format::general));
  value = {.scalar = Scalar::kFloat32, .floating = number, .isRounded = exact != Float64{number}};
  return true;
}

Bool ParseInteger(std::string_view text, LiteralValue& value) {
  Bool isUnsigned = false;
  int longs = 0;
  for (; !text.empty(); text.remove_suffix(1)) {
    const char last = ToLower(text.back());
    if (last == 'u' && !isUnsigned)
      isUnsigned = true;
    else if (last == 'l' && longs < 2)
      ++longs;
    else
      break;
  }
  int base = 10;
  if (text.size() > 1 && text[0] == '0') {
    const char mark = ToLower(text[1]);
    base = mark == 'x' ? 16 : mark == 'b' ? 2 : 8;
    text.remove_prefix(base == 8 ? 1 : 2);
  }
  UInt64 number = 0;
  if (text.empty() || !ParseAll(text, number, base)) return false;
  const Bool mayBeUnsigned = isUnsigned || base != 10;
  value = {.integer = number};
  if (!isUnsigned && longs == 0 && number <= 0x7fffffffu)
    value.scalar = Scalar::kInt32;
  else if (mayBeUnsigned && longs == 0 && number <= 0xffffffffu)
    value.scalar = Scalar::kUInt32;
  else if (!isUnsigned && number <= static_cast<UInt64>(std::numeric_limits<Int64>::max()))
    value.scalar = Scalar::kInt64;
  else if (mayBeUnsigned)
    value.scalar = Scalar::kUInt64;
  else
    return false;
  return true;
}

}  // namespace

Bool ParseLiteral(std::string_view text, LiteralValue& value) {
  if (text == "true" || text == "false") {
    value = {.scalar = Scalar::kBool, .integer = text == "true"};
    return true;
  }
  std::string plain;
  if (text.find('\'') != std::string_view::npos) {
    for (const char c : text) {
      if (c != '\'') plain += c;
    }
    text = plain;
  }
  const Bool isHexadecimal = text.size() > 1 && (text[1] == 'x' || text[1] == 'X');
  if (isHexadecimal && text.find_first_of(".pP") != std::string_view::npos) return false;
  const Bool isFloating = !isHexadecimal && text.find_first_of(".eE") != std::string_view::npos;
  return isFloating ? ParseFloating(text, value) : ParseInteger(text, value);
}

}  // namespace ostra::kernellanguage
