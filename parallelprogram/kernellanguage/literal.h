// The value and type of a number as it is written. Numbers with a point or exponent are floats; "0.5" is one as it is
// in the shading languages.
#pragma once

#include <string_view>

#include "parallelprogram/kernellanguage/types.h"

namespace ostra::kernellanguage {

struct LiteralValue {
  Scalar scalar = Scalar::kInt32;
  UInt64 integer = 0;      // of integers and bools
  Float64 floating = 0;    // of floats: the value after rounding to the type
  Bool isRounded = false;  // of floats: whether the digits meant another number, as those of 0.1
};

// "12", "0x1fu", "1.5", "1e-3f", "true". False for what the language does not have: other suffixes, other bases with a
// point, numbers that do not fit.
Bool ParseLiteral(std::string_view text, LiteralValue& value);

}  // namespace ostra::kernellanguage
