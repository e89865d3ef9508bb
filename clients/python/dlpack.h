// Arrays of other packages by DLPack, in the memory of the CPU.
#pragma once

#include <pybind11/numpy.h>

namespace ostra::python {

// A numpy array in the memory of `owner`, which stays as long as the array does. It may be written unless the owner
// says that its memory is read-only, which version 1 of DLPack can say. Throws TypeError for an object without DLPack's
// methods and for elements that numpy does not have, BufferError for memory of another device and for another version.
pybind11::array ReadDlpack(const pybind11::object& owner);

}  // namespace ostra::python
