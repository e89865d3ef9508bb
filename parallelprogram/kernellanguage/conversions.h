// Implicit conversions, as C++ makes them of the types of kernels, and the choice between overloads.
#pragma once

#include <optional>
#include <span>

#include "parallelprogram/kernellanguage/types.h"

namespace ostra::kernellanguage {

enum class ConversionRank : UInt8 {
  kExact,
  kPromotion,   // to int from smaller integers, to double from float
  kConversion,  // between other scalars
  kUser,        // of a half float to other scalars, of vectors component by component
  kCut,         // of a vector to a shorter one: C++ accepts it, and it is probably a mistake
  kNone,
};

ConversionRank GetConversion(const TypeTable& types, TypeIndex from, TypeIndex to);

// int for smaller integers and bool, float for a half float, other scalars as they are.
Scalar Promote(Scalar scalar);
// The type in which C++ computes with two scalars.
Scalar GetCommonScalar(Scalar a, Scalar b);

struct Candidate {
  std::span<const TypeIndex> parameters;
  std::span<const Bool> needsExact;  // for arguments that the function changes; empty: none
};
enum class Choice : UInt8 { kFound, kNone, kAmbiguous, kUncertain };

// Whether the conversion is by way of an int, whose upper bits are dropped: Int8(300.0) is 44.
Bool IsCutFloat(Scalar from, Scalar to);

// Whether all shading languages make the conversion by themselves, as C++ does: GLSL knows few.
Bool ConvertsEverywhere(Scalar from, Scalar to);

// The overload that C++ takes for the arguments. kUncertain where a conversion of a user's type is involved in the
// choice.
Choice ChooseOverload(const TypeTable& types, std::span<const Candidate> candidates,
                      std::span<const TypeIndex> arguments, std::size_t& chosen);

}  // namespace ostra::kernellanguage
