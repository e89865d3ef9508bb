#include "clients/python/pictures.h"

#include <cstring>

#include "clients/python/engine.h"
#include "ostra/image/image.h"

OSTRA_UNIT("python");

namespace ostra::python {

namespace py = pybind11;

namespace {

Image Read(const std::string& path) {
  const auto engine = OrThrow(Engine::Get());  // files are read with a host
  const py::gil_scoped_release release;
  return OrThrow(ReadImage(OrThrow(Url::Create(path))));
}

const char* GetName(PictureColors colors) {
  switch (colors) {
    case PictureColors::Linear:
      return "linear";
    case PictureColors::Srgb:
      return "sRGB";
    case PictureColors::Gamma:
      return "gamma";
    case PictureColors::Profile:
      return "profile";
    default:
      return nullptr;
  }
}

}  // namespace

py::array ReadPicture(const std::string& path) {
  const Image image = Read(path);
  py::array_t<float> picture({image.height, image.width, Int(4)});
  std::memcpy(picture.mutable_data(), image.rgba.GetFirst(), static_cast<std::size_t>(picture.nbytes()));
  return picture;
}

py::dict DescribePicture(const std::string& path) {
  const Image image = Read(path);
  const PictureDescription& description = image.description;
  py::dict result;
  result["format"] = description.format;
  result["width"] = image.width;
  result["height"] = image.height;
  result["channels"] = description.channels;
  result["dtype"] = (description.isFloat ? "float" : "uint") + std::to_string(description.bits);
  const char* colors = GetName(description.colors);
  result["colors"] = colors ? py::object(py::str(colors)) : py::object(py::none());
  if (description.colors == PictureColors::Gamma) result["gamma"] = description.gamma;
  result["orientation"] = description.orientation;
  return result;
}

void WritePicture(const std::string& path, const py::array& picture, Int quality, Int bits, Int channels) {
  const bool isPicture = picture.dtype().equal(py::dtype("float32")) && picture.ndim() == 3 && picture.shape(2) == 4;
  if (!isPicture || !(picture.flags() & py::array::c_style))
    throw py::type_error("a picture is an array of float32 of the shape (height, width, 4) in C order, not of " +
                         std::string(py::str(picture.dtype())) + " of the shape " +
                         std::string(py::str(picture.attr("shape"))));
  const auto* first = static_cast<const Float32*>(picture.data());
  const ImageView view(picture.shape(1), picture.shape(0), Block<const Float32>(first, picture.size()));
  const auto engine = OrThrow(Engine::Get());
  const py::gil_scoped_release release;
  OrThrow(WriteImage(OrThrow(Url::Create(path)), view, {.quality = quality, .bits = bits, .channels = channels}));
}

}  // namespace ostra::python
