#include "ostra/core/format.h"
#include "ostra/drawport/program_factory_item.h"

OSTRA_UNIT("drawport_program");

namespace ostra {

Result<void> DrawportProgramDescription::ReinitializeDrawportNoise(Int32 noiseSet) {
  if (noiseSet != 0) return OSTRA_ILLEGAL_ARGUMENT("There is no set of noises @; the only one is 0.", noiseSet);
  _noises.Clear();
  return OK;
}

Result<void> DrawportProgramDescription::SetParameterInitializationHandler(const DrawportParameterBinder& handler,
                                                                           UInt64 owner) {
  if (_binder) return OSTRA_ILLEGAL_ARGUMENT("The program has a parameter initialization handler already.");
  _binder = handler;
  _owner = owner;
  return OK;
}

Result<void> DrawportProgramDescription::AddRequiredFeature(DrawportStage stage, DrawportFeature feature) {
  OSTRA_RETURN_IF_ERROR(_features.Append(DrawportRequiredFeature{stage, feature}));
  return OK;
}

Result<void> DrawportProgramDescription::AddCode(DrawportStage stage, Int position, const String& text,
                                                 DrawportCodeSection section) {
  return AddCode(stage, position, ShaderCode{text, {}}, section);
}

Result<void> DrawportProgramDescription::AddCode(DrawportStage stage, Int position, ShaderCode code,
                                                 DrawportCodeSection section) {
  // The pieces of all stages and sections share one array: `position` counts those of this stage and section only.
  Int target = _code.GetCount();
  if (position != kAppendCode) {
    Int seen = 0;
    Int index = 0;
    for (; index < _code.GetCount(); ++index) {
      if (_code[index].stage != stage || _code[index].section != section) continue;
      if (seen == position) break;
      ++seen;
    }
    if (position < 0 || seen != position)
      return OSTRA_ILLEGAL_ARGUMENT("Position @ is outside the @ pieces of code of this section.", position, seen);
    target = index;
  }
  OSTRA_RETURN_IF_ERROR(_code.Append(DrawportCode{stage, section, std::move(code)}));
  for (Int i = _code.GetCount() - 1; i > target; --i) std::swap(_code[i], _code[i - 1]);
  return OK;
}

Result<void> DrawportProgramDescription::AddParameter(DrawportParameter parameter) {
  if (parameter.name.IsEmpty()) return OSTRA_ILLEGAL_ARGUMENT("A parameter needs a name.");
  for (const DrawportParameter& known : _parameters) {
    if (known.stage == parameter.stage && known.name == parameter.name)
      return OSTRA_ILLEGAL_ARGUMENT("The program has a parameter \"@\" already.", parameter.name);
  }
  OSTRA_RETURN_IF_ERROR(_parameters.Append(std::move(parameter)));
  return OK;
}

Result<void> DrawportProgramDescription::AddUniformParameter(DrawportStage stage, DrawportShaderValueType type,
                                                             InternedId name) {
  return AddParameter(
      {.stage = stage, .kind = DrawportParameterKind::Uniform, .name = name, .valueType = type, .layout = {}});
}

Result<void> DrawportProgramDescription::AddBufferParameter(DrawportStage stage, const DrawportStructLayout& layout,
                                                            InternedId name, DrawportBufferAccess access,
                                                            Bool isValue) {
  if (layout.byteSize < 1)
    return OSTRA_ILLEGAL_ARGUMENT("An element of the buffer \"@\" cannot have @ bytes.", name, layout.byteSize);
  return AddParameter({.stage = stage,
                       .kind = DrawportParameterKind::Buffer,
                       .name = name,
                       .layout = layout,
                       .access = access,
                       .isValue = isValue});
}

Result<void> DrawportProgramDescription::AddTextureParameter(DrawportStage stage, DrawportTextureType type,
                                                             PixelFormatRef format, Bool isLinear, InternedId name,
                                                             Bool hasLayers, Bool isMultisampled) {
  return AddParameter({.stage = stage,
                       .kind = DrawportParameterKind::Texture,
                       .name = name,
                       .layout = {},
                       .access = DrawportBufferAccess::ReadOnly,
                       .textureType = type,
                       .format = format,
                       .isLinear = isLinear,
                       .hasLayers = hasLayers,
                       .isMultisampled = isMultisampled});
}

Result<void> DrawportProgramDescription::AddImageParameter(DrawportStage stage, DrawportTextureType type,
                                                           PixelFormatRef format, InternedId name) {
  if (!format) return OSTRA_ILLEGAL_ARGUMENT("The image \"@\" needs a pixel format.", name);
  return AddParameter({.stage = stage,
                       .kind = DrawportParameterKind::Image,
                       .name = name,
                       .layout = {},
                       .textureType = type,
                       .format = format});
}

Result<void> DrawportProgramDescription::AddNoiseFunction(DrawportStage stage, const Id& id, Int32 variant) {
  OSTRA_RETURN_IF_ERROR(_noises.Append(DrawportNoiseFunction{stage, id, variant}));
  return OK;
}

Result<void> DrawportProgramDescription::AddFunction(DrawportStage stage, DrawportFunctionId id) {
  OSTRA_RETURN_IF_ERROR(FunctionCache::Find(id));
  OSTRA_RETURN_IF_ERROR(_functions.Append(DrawportFunctionUse{stage, id}));
  return OK;
}

Result<void> DrawportProgramDescription::SetComputeShaderProperties(UInt32 x, UInt32 y, UInt32 z) {
  if (x == 0 || y == 0 || z == 0)
    return OSTRA_ILLEGAL_ARGUMENT("A work group of @ x @ x @ invocations cannot run.", x, y, z);
  _workGroupSize[0] = x;
  _workGroupSize[1] = y;
  _workGroupSize[2] = z;
  return OK;
}

Result<void> DrawportProgramDescription::SetDebugLabel(std::string_view label) {
  OSTRA_ASSIGN_OR_RETURN(_label, String::Create(label));
  return OK;
}

}  // namespace ostra
