// The numbers that an element of a buffer is made of.
#pragma once

#include <string>
#include <vector>

#include "ostra/core/data_type.h"

namespace ostra::plans {

struct ElementNumber {
  DataType type;
  Int offset = 0;     // bytes, in the element
  std::string place;  // in a struct: ".body.mass[2]"; empty in vectors and matrices
};

// In the order in which they lie; the bytes of a type that is not made of numbers.
std::vector<ElementNumber> ListNumbers(DataType type);

}  // namespace ostra::plans
