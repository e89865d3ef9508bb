#include "clients/python/pictures.h"

#include <cstring>

#include "clients/python/engine.h"
#include "ostra/image/image.h"

OSTRA_UNIT("python");

namespace ostra::python {

namespace py = pybind11;

py::array ReadPicture(const std::string& path) {
  const auto engine = OrThrow(Engine::Get());  // files are read with a host
  const Image image = [&path] {
    const py::gil_scoped_release release;
    return OrThrow(ReadImage(OrThrow(Url::Create(path))));
  }();
  py::array_t<float> picture({image.height, image.width, Int(4)});
  std::memcpy(picture.mutable_data(), image.rgba.GetFirst(), static_cast<std::size_t>(picture.nbytes()));
  return picture;
}

void WritePicture(const std::string& path, const py::array& picture) {
  const bool isPicture = picture.dtype().equal(py::dtype("float32")) && picture.ndim() == 3 && picture.shape(2) == 4;
  if (!isPicture || !(picture.flags() & py::array::c_style))
    throw py::type_error("a picture is an array of float32 of the shape (height, width, 4) in C order, not of " +
                         std::string(py::str(picture.dtype())) + " of the shape " +
                         std::string(py::str(picture.attr("shape"))));
  const auto* first = static_cast<const Float32*>(picture.data());
  const ImageView view(picture.shape(1), picture.shape(0), Block<const Float32>(first, picture.size()));
  const auto engine = OrThrow(Engine::Get());
  const py::gil_scoped_release release;
  OrThrow(WriteImage(OrThrow(Url::Create(path)), view));
}

}  // namespace ostra::python
