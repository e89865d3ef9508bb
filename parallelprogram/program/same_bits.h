// Whether bytes of one type mean the same as those of another.
#pragma once

#include "ostra/core/data_type.h"
#include "ostra/core/result.h"

namespace ostra {

// True for the same type, and for plain types of one size that are made of the same numbers; whether those have a sign
// does not count. Structs are compared member by member; types whose numbers or members are not known by their size.
Bool HaveSameBits(DataType a, DataType b);

// What makes the difference between the struct that a kernel wants and the one that it is given, as the end of a
// sentence: ": the member "mass" is float32 in the kernel and uint32 in the buffer". Empty where a member of one of
// them is not known. Error: out of memory.
Result<String> ExplainOtherBits(DataType wanted, DataType given);

}  // namespace ostra
