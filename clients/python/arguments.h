// Arguments of the package's functions: one place that takes them over from Python, and that says what is wrong with
// one: the name of the parameter, what it takes and what was given.
#pragma once

#include <pybind11/numpy.h>

#include <optional>
#include <string>
#include <vector>

#include "ostra/core/types.h"

namespace ostra::python {

// repr(value) in one line, cut after 80 characters; the name of the type for a value that cannot be shown.
std::string ShowValue(const pybind11::handle& value);

// A text in quotes, as messages name parameters.
std::string Quote(const std::string& name);

// The name of the type of a value.
std::string NameType(const pybind11::handle& value);

// Throws TypeError: "name" is `wanted`, not `value`.
[[noreturn]] void RefuseArgument(const std::string& name, const std::string& wanted, const pybind11::handle& value);

// What a function was given for its parameters, in their order; null for one that was left out. The first
// `requiredCount` must be given. Throws TypeError for others, for too many and for missing ones.
std::vector<pybind11::object> TakeArguments(const std::string& function, const std::vector<std::string>& names,
                                            std::size_t requiredCount, const pybind11::args& positional,
                                            const pybind11::kwargs& named);

// Throws TypeError if `value` is not a str, and ValueError for a null character and for unpaired surrogates, which
// UTF-8 cannot encode.
std::string TakeText(const std::string& name, const pybind11::handle& value);
// Throws TypeError for a numpy array with a mask, which kernels would not look at.
void CheckUnmasked(const std::string& name, const pybind11::handle& array);
// Throws TypeError if `value` is not a numpy array, and for one with a mask.
pybind11::array TakeArray(const std::string& name, const pybind11::handle& value);
// Throws TypeError if `value` is not a whole number, and OverflowError below 0 and from 2**32 on.
UInt32 TakeUInt32(const std::string& name, const pybind11::handle& value);
// A number, or a sequence of several. Throws TypeError if one is not a number, and OverflowError if it does not fit a
// float32.
std::vector<float> TakeFloats(const std::string& name, const pybind11::object& value);
// The same for a float64.
std::vector<double> TakeDoubles(const std::string& name, const pybind11::object& value);
// The elements of a sequence other than a text; nothing for other values. Throws what the sequence raises, but for
// TypeError of its length.
std::optional<pybind11::tuple> FindElements(const pybind11::handle& value);

}  // namespace ostra::python
