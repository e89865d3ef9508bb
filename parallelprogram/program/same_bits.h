// Whether bytes of one type mean the same as those of another.
#pragma once

#include "ostra/core/data_type.h"

namespace ostra {

// True for the same type, and for plain types of one size that are made of the same numbers; whether those have a sign
// does not count. Types that only the client knows, such as structs, are compared by their size.
Bool HaveSameBits(DataType a, DataType b);

}  // namespace ostra
