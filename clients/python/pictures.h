// Pictures in files, as numpy arrays.
#pragma once

#include <pybind11/numpy.h>

#include <string>

#include "ostra/core/types.h"

namespace ostra::python {

// The picture in a file: an array of float32 of the shape (height, width, 4). Throws Exception, with the
// errors of ReadImage.
pybind11::array ReadPicture(const std::string& path);

// What the file says of its picture, and its size: a dict. It is read whole. Throws as ReadPicture.
pybind11::dict DescribePicture(const std::string& path);

// Writes such an array whole or not at all, as the suffix says; settings of 0 are the default. Throws TypeError for
// other arrays, and Exception with the errors of WriteImage.
void WritePicture(const std::string& path, const pybind11::array& picture, Int quality, Int bits, Int channels);

}  // namespace ostra::python
