// The parameters of a kernel class, as its objects name them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ostra/core/result.h"
#include "plans/textures/texture_layout.h"

namespace ostra::plans {

enum class ParameterKind : Int32 {
  Uniform,  // one value
  Buffer,   // elements
  Texture,  // texels with rules how to read them
  Counter,  // an atomic number that invocations share
  Noise,    // the noises that the uniforms "noiseMode_0" and so on choose
  Other,    // what cannot be given on a command line
};

struct Parameter {
  std::string name;
  ParameterKind kind = ParameterKind::Other;
  DataType type;  // of the value; of the elements of a buffer
  const TextureLayout* texture = nullptr;
};

class KernelParameters {
 public:
  // Asks a new object of a registered kernel class. Errors: those of the registry and of the kernel's Init.
  static Result<KernelParameters> Read(std::string_view classId);
  explicit KernelParameters(std::vector<Parameter> parameters);

  // Sorted by name.
  const std::vector<Parameter>& GetAll() const { return _parameters; }
  // Null when there is none.
  const Parameter* Find(std::string_view name) const;
  // Whether the kernel calls noises.
  Bool HasNoise() const;
  // The parameter that an option names, which must be of one of the kinds. Error: usage error that names the option and
  // the nearest parameter.
  Result<const Parameter&> Get(std::string_view option, std::string_view name,
                               std::initializer_list<ParameterKind> kinds) const;

 private:
  std::string NameKinds(std::initializer_list<ParameterKind> kinds) const;

  std::vector<Parameter> _parameters;
};

// "buffer", "texture", "uniform", "counter" or "parameter".
const char* GetKindName(ParameterKind kind);

}  // namespace ostra::plans
