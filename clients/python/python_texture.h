// PythonTexture: texels with the way to read them, for ostra.Texture.
#pragma once

#include <pybind11/numpy.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "clients/python/constructed.h"
#include "clients/python/engine.h"
#include "parallelprogram/textures/texture_bind_data.h"

namespace ostra::python {

// What a texture parameter of a kernel takes.
struct TextureForm {
  Int dimensions = 2;
  Int channels = 4;
  TextureFormat format = TextureFormat::F32;
  TextureFilter filter = TextureFilter::LINEAR;

  friend bool operator==(const TextureForm&, const TextureForm&) = default;
};

// Nothing for types that are no textures, and for textures that programs do not make.
std::optional<TextureForm> FindTextureForm(DataType samplerType);
// "2D texture of float32[4]".
std::string DescribeTexture(const TextureForm& form);

struct TextureSettings {
  std::array<int, 3> wrapModes{1, 1, 1};  // of TextureWrapMode
  std::array<float, 4> border{};
  bool hasNormalizedCoordinates = true;
  bool isSrgb = false;
  bool hasLayers = false;  // the first axis of the array
};

// Programs get the texels with the first kernel that reads them, in the form that it declares, and keep them.
class PythonTexture {
 public:
  // Copies the array: numbers of float32, float16 (which become float32) or uint8. Throws TypeError and ValueError.
  PythonTexture(const pybind11::array& array, const TextureSettings& settings);
  PythonTexture(const PythonTexture&) = delete;
  PythonTexture& operator=(const PythonTexture&) = delete;
  ~PythonTexture();

  const pybind11::array& GetArray() const { return _array; }
  // Throws TypeError when the texels are not what a parameter takes; the message begins with `wanted`.
  void Check(const std::string& wanted, const TextureForm& form, Backend backend) const;
  // The texels along x, y and z of a texture of this form.
  std::array<Int, 3> GetExtent(const TextureForm& form) const;

  // Under the engine's mutex, without the interpreter lock: the name of the program's texture.
  Result<InternedId> Place(Engine& engine, Backend backend, const TextureForm& form);

 private:
  struct Placed {
    Backend backend;
    TextureForm form;
    InternedId name;
  };

  pybind11::array _array;
  const char* _texels;
  Int _byteCount;
  std::vector<Int> _shape;
  bool _isByte;
  const TextureSettings _settings;
  std::vector<Placed> _placed;
  std::shared_ptr<Engine> _engine;
};

}  // namespace ostra::python
