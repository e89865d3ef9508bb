// DrawportProgramDescription: what a builder fills in to say what a program is. Plain records in the order of the
// calls; backends read them, tests compare them.
//
//   const DrawportStage stage = DrawportStage::Compute;
//   OSTRA_RETURN_IF_ERROR(program.AddRequiredFeature(stage, DrawportFeature::ComputeShader));
//   OSTRA_RETURN_IF_ERROR(program.AddUniformParameter(stage, DrawportShaderValueType::UInt, "count"_iid));
//   const DrawportStructLayout element{.typeName = "float"_s, .byteSize = 4};
//   OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(stage, element, "values"_iid, DrawportBufferAccess::ReadWrite));
//   OSTRA_RETURN_IF_ERROR(program.AddCode(stage, kAppendCode, "UNIFORM_BUFFER(values)[0] = 1.0;"_s));
//   OSTRA_RETURN_IF_ERROR(program.SetComputeShaderProperties(256, 1, 1));
//
// Filled by one thread. Errors: illegal argument, named at each operation; out of memory.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/delegate.h"
#include "ostra/core/interned_id.h"
#include "ostra/drawport/function_cache.h"
#include "ostra/drawport/graphics_objects.h"
#include "ostra/drawport/parameters.h"
#include "ostra/drawport/shader_assembly.h"

namespace ostra {

// Position of AddCode that adds at the end of a section.
inline constexpr Int kAppendCode = -1;

struct DrawportCode {
  DrawportStage stage = DrawportStage::Compute;
  DrawportCodeSection section = DrawportCodeSection::Body;
  ShaderCode code;
};

struct DrawportNoiseFunction {
  DrawportStage stage = DrawportStage::Compute;
  Id id;
  Int32 variant = 0;
};

struct DrawportRequiredFeature {
  DrawportStage stage = DrawportStage::Compute;
  DrawportFeature feature = DrawportFeature::ComputeShader;
};

struct DrawportFunctionUse {
  DrawportStage stage = DrawportStage::Compute;
  DrawportFunctionId id;
};

// What the stages of a graphics program hand to each other, besides what their records declare.
struct DrawportVarying {
  DrawportStage from = DrawportStage::Vertex;
  DrawportStage to = DrawportStage::Fragment;
  DrawportShaderValueType type = DrawportShaderValueType::Float;
  InternedId name;
};

struct DrawportColorOutput {
  Int32 target = 0;
  InternedId name;
};

class OSTRA_API DrawportProgramDescription {
 public:
  DrawportProgramDescription() = default;

  // Forgets the noise functions; `noiseSet` 0 is the only set there is (illegal argument otherwise).
  Result<void> ReinitializeDrawportNoise(Int32 noiseSet);
  // Who sets the parameters, and for whom; one per program (illegal argument for a second one).
  Result<void> SetParameterInitializationHandler(const DrawportParameterBinder& handler, UInt64 owner);
  // A build on a device without the feature fails.
  Result<void> AddRequiredFeature(DrawportStage stage, DrawportFeature feature);
  // Adds a piece of source text to a section of a stage, in front of its piece number `position`, or behind all pieces.
  // Error: a position beyond the pieces of the section.
  Result<void> AddCode(DrawportStage stage, Int position, const String& text,
                       DrawportCodeSection section = DrawportCodeSection::Body);
  // The same for a piece that knows where its lines come from.
  Result<void> AddCode(DrawportStage stage, Int position, ShaderCode code,
                       DrawportCodeSection section = DrawportCodeSection::Body);
  // Takes over all pieces and parameters that were put into records elsewhere, in place of those that were added to
  // their stage so far. Later calls add to them.
  Result<void> SetShaderRecords(ShaderRecords records);

  // Parameters. Errors: an empty name, a name that is taken in this stage.
  Result<void> AddUniformParameter(DrawportStage stage, DrawportShaderValueType type, InternedId name);
  // An array of run-time length, or with `isValue` one element that is read as UNIFORM(name): for values that have no
  // type code. Error: a size below 1.
  Result<void> AddBufferParameter(DrawportStage stage, const DrawportStructLayout& layout, InternedId name,
                                  DrawportBufferAccess access, Bool isValue = false);
  // A texture with its sampler; `isLinear` is what the program expects of the sampler. With `hasLayers` it is an array
  // of textures of one or two dimensions: the layers of a texture lie along the next dimension of its extent.
  // With `isMultisampled` it is one of a target with several samples, see GetFramebufferTexel.
  Result<void> AddTextureParameter(DrawportStage stage, DrawportTextureType type, PixelFormatRef format, Bool isLinear,
                                   InternedId name, Bool hasLayers = false, Bool isMultisampled = false);
  // A texture that is read and written. Error: no format.
  Result<void> AddImageParameter(DrawportStage stage, DrawportTextureType type, PixelFormatRef format, InternedId name);

  Result<void> AddNoiseFunction(DrawportStage stage, const Id& id, Int32 variant);
  // A function of the function cache.
  Result<void> AddFunction(DrawportStage stage, DrawportFunctionId id);
  // Work group size. Error: a size of 0.
  Result<void> SetComputeShaderProperties(UInt32 x, UInt32 y, UInt32 z);

  // Graphics programs. A program has graphics stages as soon as one of these calls, code or records name one; it needs
  // a vertex stage, and tessellation stages come in pairs. What the records of a stage declare already is not declared
  // a second time, so callers may name everything here again.

  // An input of each vertex. Errors: illegal argument for another stage than the vertex stage, a type that is no scalar
  // or vector, or a name that is taken by another type.
  Result<void> AddAttribute(DrawportStage stage, DrawportShaderValueType type, InternedId name);
  // What stage `from` gives and the later stage `to` receives under the same name. The same one may be added again.
  // Errors: illegal argument for stages in another order, a type that no varying can have, or two types of one name.
  Result<void> AddVaryingVariable(DrawportStage from, DrawportStage to, DrawportShaderValueType type, InternedId name);
  // The variable of the fragment stage that is the colour of target number `target`. "f_transparency" stands for the
  // one whose name holds "transparency". One that no records declare has four components. Error: illegal argument for a
  // target outside 0 to 7, or one that has a variable.
  Result<void> AddOutputColorVariable(Int32 target, InternedId name);
  // 1: the fragment stage computes the depth; see DrawportStateDescription. Error: illegal argument for other numbers.
  Result<void> SetDepthWriteMode(Int32 mode);

  // Name for debuggers.
  Result<void> SetDebugLabel(std::string_view label);

  const BaseArray<DrawportRequiredFeature>& GetRequiredFeatures() const { return _features; }
  // Pieces of AddCode in the order of their positions, whatever their stage and section.
  const BaseArray<DrawportCode>& GetCode() const { return _code; }
  const BaseArray<DrawportParameter>& GetParameters() const { return _parameters; }
  const BaseArray<DrawportNoiseFunction>& GetNoiseFunctions() const { return _noises; }
  const BaseArray<DrawportFunctionUse>& GetFunctions() const { return _functions; }
  const BaseArray<DrawportVertexAttribute>& GetAttributes() const { return _attributes; }  // of AddAttribute
  const BaseArray<DrawportVarying>& GetVaryings() const { return _varyings; }
  const BaseArray<DrawportColorOutput>& GetColorOutputs() const { return _outputs; }
  DrawportDepthWriteMode GetDepthWriteMode() const { return _depthWrite; }
  // Whether anything was added for a stage.
  Bool HasStage(DrawportStage stage) const;
  const UInt32 (&GetWorkGroupSize() const)[3] { return _workGroupSize; }
  const String& GetDebugLabel() const { return _label; }
  const DrawportParameterBinder& GetParameterBinder() const { return _binder; }
  UInt64 GetOwner() const { return _owner; }

  // Everything that a stage is made of, in the language of the device, for AssembleShader. Bindings are not assigned.
  // Error: out of memory.
  Result<ShaderRecords> MakeShaderRecords(DrawportStage stage, const Id& language) const;

 private:
  Result<void> AddParameter(DrawportParameter parameter);
  Result<void> AddRecordedParameters(const ShaderRecords& records);
  // program_graphics.cpp: what stages hand on, in addition to what `records` have already.
  Result<void> AddStageVariables(ShaderRecords& records) const;

  BaseArray<DrawportRequiredFeature> _features;
  BaseArray<ShaderRecords> _records;  // of SetShaderRecords, one per stage; their parameters are in _parameters
  BaseArray<DrawportCode> _code;
  BaseArray<DrawportParameter> _parameters;
  BaseArray<DrawportNoiseFunction> _noises;
  BaseArray<DrawportFunctionUse> _functions;
  BaseArray<DrawportVertexAttribute> _attributes;
  BaseArray<DrawportVarying> _varyings;
  BaseArray<DrawportColorOutput> _outputs;
  DrawportDepthWriteMode _depthWrite = DrawportDepthWriteMode::Off;
  UInt32 _workGroupSize[3] = {0, 0, 0};
  String _label;
  DrawportParameterBinder _binder;
  UInt64 _owner = 0;
};

}  // namespace ostra
