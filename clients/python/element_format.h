// Elements of buffers and values of uniforms, as numpy and Python have them.
#pragma once

#include <pybind11/numpy.h>

#include <optional>
#include <string>
#include <vector>

#include "ostra/core/data_type.h"

namespace ostra::python {

// Numbers of one type, tightly packed: a scalar, a vector, or a matrix column by column.
struct ElementFormat {
  const char* dtype = nullptr;  // as numpy names it: "float32"
  Int componentCount = 1;
};

// Nothing for types that are not made of numbers.
std::optional<ElementFormat> FindElementFormat(DataType type);
// "float32", "float32[4]"; the name of other types.
std::string DescribeElement(DataType type);

// The bytes of a value of `type` from a number, or from a sequence or array of as many numbers as it has components.
// Throws TypeError for what is no such number and OverflowError for one that the type does not have; both name the
// parameter.
std::vector<char> MakeValue(const std::string& parameter, DataType type, const pybind11::handle& value);

}  // namespace ostra::python
