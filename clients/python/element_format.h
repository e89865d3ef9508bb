// Elements of buffers and values of uniforms, as numpy and Python have them.
#pragma once

#include <pybind11/numpy.h>

#include <optional>
#include <string>
#include <vector>

#include "ostra/core/data_type.h"

namespace ostra::python {

// str(value).
inline std::string TextOf(const pybind11::handle& value) { return std::string(pybind11::str(value)); }

// Numbers of one type, tightly packed: a scalar, a vector, or a matrix column by column; or a struct.
struct ElementFormat {
  std::string dtype;  // as numpy names it: "float32"; of a struct its name
  Int componentCount = 1;
  bool isStruct = false;
};

// Nothing for types that are not made of numbers.
std::optional<ElementFormat> FindElementFormat(DataType type);
// "float32", "float32[4]", "struct Particle"; the name of other types.
std::string DescribeElement(DataType type);
// Of one component, or of a struct, with its members and their offsets. For types that have a format. Throws TypeError
// for a member that is not made of numbers.
pybind11::dtype MakeDtype(DataType type);
// What makes `dtype` another one than that of the struct `type`: names the first member. Empty for the same.
std::string ExplainStructDifference(DataType type, const pybind11::dtype& dtype);

// The bytes of a value of `type` from a number, or from a sequence or array of as many numbers as it has components.
// Throws TypeError for what is no such number and OverflowError for one that the type does not have; both name the
// parameter.
std::vector<char> MakeValue(const std::string& parameter, DataType type, const pybind11::handle& value);

}  // namespace ostra::python
