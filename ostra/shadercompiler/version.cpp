#include "ostra/shadercompiler/version.h"

#include <glslang/build_info.h>
#include <spirv-tools/libspirv.h>

#include "ostra/core/format.h"

namespace ostra {

Result<String> GetShaderCompilerVersion() {
  return Format("glslang @.@.@@, @, passes @", GLSLANG_VERSION_MAJOR, GLSLANG_VERSION_MINOR, GLSLANG_VERSION_PATCH,
                GLSLANG_VERSION_FLAVOR, spvSoftwareVersionString(), OSTRA_SHADER_PASSES);
}

}  // namespace ostra
