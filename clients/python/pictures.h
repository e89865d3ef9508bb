// Pictures in files, as numpy arrays.
#pragma once

#include <pybind11/numpy.h>

#include <string>

namespace ostra::python {

// The picture in a PNG or OpenEXR file: an array of float32 of the shape (height, width, 4). Throws Exception, with the
// errors of ReadImage.
pybind11::array ReadPicture(const std::string& path);

// Writes such an array whole or not at all, as the suffix says: ".png" or ".exr". Throws TypeError for other arrays,
// and Exception with the errors of WriteImage.
void WritePicture(const std::string& path, const pybind11::array& picture);

}  // namespace ostra::python
