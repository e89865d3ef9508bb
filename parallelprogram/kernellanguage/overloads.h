// The choice between overloads of a word where C++ has none, or one that cuts an argument.
#pragma once

#include <optional>
#include <span>

#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernellanguage {

// The type in which C++ computes with all the numbers; Bool: there are others than numbers.
Scalar GetCommonScalarOf(const TypeTable& types, std::span<const TypeIndex> arguments);

// Whether there are vectors with different numbers of components.
Bool HasSeveralWidths(const TypeTable& types, std::span<const TypeIndex> arguments);

// Whether an argument is a vector longer than what the overload takes.
Bool IsCut(const TypeTable& types, const Overload& overload, std::span<const TypeIndex> arguments);

// The overload for arguments of several types: all numbers become those of the type that C++ would compute with, and a
// scalar becomes a vector where there is no other way.
std::optional<std::size_t> FindMixedOverload(const TypeTable& types, std::span<const Overload> overloads,
                                             std::span<const TypeIndex> arguments);

}  // namespace ostra::kernellanguage
