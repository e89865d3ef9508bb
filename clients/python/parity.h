// The conformance suite for ostra.parity, in a process that runs nothing else.
#pragma once

#include <pybind11/pybind11.h>

#include <string>

namespace ostra::python {

// The names of the groups, in their order: a list of str.
pybind11::list ListParityGroups();
// The rows of a group: a list of dicts. `language`: "GLSL" or "HLSL". The kernels of the suite take the names of those
// of the library: no kernel may have been loaded before. Throws ValueError for an unknown group and Exception: those of
// the device.
pybind11::list RunParityGroup(const std::string& name, const std::string& language);

}  // namespace ostra::python
