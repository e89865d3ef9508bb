#include "clients/python/python_texture.h"

#include <algorithm>

#include "clients/python/element_format.h"
#include "parallelprogram/textures/sampler_types.h"

OSTRA_UNIT("python");

namespace ostra::python {

namespace py = pybind11;

std::optional<TextureForm> FindTextureForm(DataType samplerType) {
#define OSTRA_TEXTURE_FORM(dimensions, channels, element, filter, Element, count, lowerFilter)           \
  if (samplerType == GetDataType<TextureSamplerObj_##dimensions##D_##channels##_##element##_##filter>()) \
    return TextureForm{dimensions, count, TextureFormat::element, TextureFilter::filter};
  OSTRA_FOR_EACH_SAMPLER_TYPE(OSTRA_TEXTURE_FORM)
#undef OSTRA_TEXTURE_FORM
  return std::nullopt;
}

std::string DescribeTexture(const TextureForm& form) {
  const char* const element = form.format == TextureFormat::U8    ? "uint8"
                              : form.format == TextureFormat::F32 ? "float32"
                              : form.format == TextureFormat::U16 ? "uint16"
                                                                  : "int32";
  return std::to_string(form.dimensions) + "D texture of " + element +
         (form.channels == 1 ? std::string() : "[" + std::to_string(form.channels) + "]");
}

PythonTexture::PythonTexture(const py::array& array, const TextureSettings& settings) : _settings(settings) {
  const std::string dtype = py::str(array.dtype());
  if (dtype != "float32" && dtype != "float16" && dtype != "uint8")
    throw py::type_error("a texture is made of float32, float16 or uint8, not of " + dtype +
                         "; array.astype(\"float32\") converts it");
  if (array.size() == 0) throw py::value_error("a texture has texels, and the array is empty");
  _isByte = dtype == "uint8";
  _array = py::module_::import("numpy").attr("array")(array, _isByte ? "uint8" : "float32", py::arg("order") = "C",
                                                      py::arg("copy") = true);
  _array.attr("setflags")(py::arg("write") = false);
  _texels = static_cast<const char*>(_array.data());
  _byteCount = _array.nbytes();
  _shape.assign(_array.shape(), _array.shape() + _array.ndim());
  _engine = OrThrow(Engine::Get());
}

PythonTexture::~PythonTexture() {
  for (const Placed& placed : _placed) _engine->Retire({placed.backend, placed.name, true});
}

std::array<Int, 3> PythonTexture::GetExtent(const TextureForm& form) const {
  const std::size_t first = _settings.hasLayers ? 1 : 0;
  std::array<Int, 3> extent{1, 1, 1};
  for (Int axis = 0; axis < form.dimensions; ++axis)
    extent[static_cast<std::size_t>(axis)] = _shape[first + static_cast<std::size_t>(form.dimensions - 1 - axis)];
  return extent;
}

void PythonTexture::Check(const std::string& wanted, const TextureForm& form, Backend backend) const {
  if (form.format != TextureFormat::F32 && form.format != TextureFormat::U8)
    throw py::type_error(wanted + ", which programs do not make");
  if (_isByte != (form.format == TextureFormat::U8))
    throw py::type_error(wanted + ", not of " +
                         (_isByte ? "uint8; (array / 255).astype(\"float32\") has 0 to 1" : "float32"));
  const auto axes = static_cast<std::size_t>(form.dimensions + (_settings.hasLayers ? 1 : 0));
  const std::string names = std::string(_settings.hasLayers ? "layers, " : "") +
                            (form.dimensions == 1   ? "width"
                             : form.dimensions == 2 ? "height, width"
                                                    : "depth, height, width") +
                            (form.channels > 1 ? ", " + std::to_string(form.channels) : "");
  const bool hasChannels = _shape.size() == axes + 1 && _shape.back() == form.channels;
  if (!hasChannels && (form.channels > 1 || _shape.size() != axes))
    throw py::type_error(wanted + ", with the axes (" + names + "); the array has the shape " +
                         TextOf(_array.attr("shape")));
  const std::array<Int, 3> extent = GetExtent(form);
  for (std::size_t axis = 0; axis < static_cast<std::size_t>(form.dimensions); ++axis)
    if (extent[axis] < 2)
      throw py::value_error(wanted + ", which has at least two texels along each axis: numpy.repeat makes two of one");
  if (backend == Backend::kCpu) return;
  if (_settings.hasLayers) throw py::value_error(wanted + ", and textures on a GPU have no layers");
  if (std::any_of(_settings.border.begin(), _settings.border.end(), [](float value) { return value != 0; }))
    throw py::value_error(wanted + ", and textures on a GPU have a border of zeros");
  if (!_settings.hasNormalizedCoordinates)
    throw py::value_error(wanted + ", and textures on a GPU have normalized coordinates");
  if (_settings.isSrgb)
    throw py::value_error(wanted +
                          ", and textures on a GPU are not decoded: linear texels are what both backends have");
}

Result<InternedId> PythonTexture::Place(Engine& engine, Backend backend, const TextureForm& form) {
  for (const Placed& placed : _placed)
    if (placed.backend == backend && placed.form == form) return placed.name;
  OSTRA_ASSIGN_OR_RETURN(const InternedId name, engine.MakeName("texture"));
  const std::array<Int, 3> extent = GetExtent(form);
  TextureBindData description;
  description._data = reinterpret_cast<const Byte*>(_texels);
  description._dataSize = _byteCount;
  description._dimensions = {static_cast<UInt32>(extent[0]), static_cast<UInt32>(extent[1]),
                             static_cast<UInt32>(extent[2])};
  description._format = form.format;
  description._numChannels = static_cast<UInt32>(form.channels);
  description._filter = form.filter;
  description._normalizedCoordinates = _settings.hasNormalizedCoordinates;
  description._sRGB = _settings.isSrgb;
  for (std::size_t axis = 0; axis < 3; ++axis)
    description._wrapModes[axis] = static_cast<TextureWrapMode>(_settings.wrapModes[axis]);
  std::copy(_settings.border.begin(), _settings.border.end(), description._borderColor);
  OSTRA_RETURN_IF_ERROR(engine.GetSession(backend).GetProgram().StoreTextureBindData(name, description, false));
  _placed.push_back({backend, form, name});
  return name;
}

}  // namespace ostra::python
