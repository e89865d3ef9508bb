// Shader assembly: the pieces of a kernel or of a graphics stage become one whole text for a compiler.
//
//   ShaderRecords records;
//   records.language = kShadingLanguageGlsl;
//   records.workGroupSize = {64, 1, 1};
//   OSTRA_RETURN_IF_ERROR(records.parameters.Append(ShaderParameter{
//       .kind = ShaderParameterKind::Buffer, .name = "values"_s, .elementType = "Float32"_s, .binding = 1}));
//   records.body.text = "{\nUNIFORM_BUFFER(values)[InGlobalInvocationID.x] = 1.0;\n}"_s;
//   OSTRA_ASSIGN_OR_RETURN(const AssembledShader shader, AssembleShader(records));
//   shader.text;          // #version 450 ...
//   shader.lines[40];     // where line 41 comes from
//
// The text is: support code of the language (ostra/drawport/shading), defines, structs, functions, declarations of
// parameters, file-scope code, and the entry point with the body. What the support code offers is listed in
// docs/kernel-words.md.
//
// Resources are found by set 0 and the binding numbers of the records; HLSL registers (b, t, u, s) and Metal's buffer,
// texture and sampler indices have the same numbers. A sampled texture and its sampler share one number: for Vulkan
// they are one combined image sampler. Values of all uniforms lie in one uniform buffer whose layout comes back with
// the text and is the same for all languages. Buffers of elements are tightly packed (scalar layout): the same bytes as
// on the CPU.
//
// Nothing is kept between calls; all functions are thread-safe.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/data_type.h"
#include "ostra/drawport/enumerations.h"
#include "ostra/image/pixel_format.h"
#include "ostra/math/vector.h"

namespace ostra {

// A line of a source file. Lines count from 1; 0 stands for a line that comes from no file.
struct ShaderOrigin {
  String file;
  Int line = 0;
};

// A piece of code with the origin of each of its lines; lines beyond the origins come from no file.
struct ShaderCode {
  String text;
  BaseArray<ShaderOrigin> origins;
};

struct ShaderMember {
  String type;  // a type word such as "vec3", or the name of a struct
  String name;
  ShaderOrigin origin;
};

struct ShaderStruct {
  String name;
  BaseArray<ShaderMember> members;
  ShaderOrigin origin;
};

enum class ShaderParameterKind : Int32 {
  Value,      // UNIFORM(name): a member of the uniform buffer; of the type AtomicUInt it is a counter instead
  Buffer,     // UNIFORM_BUFFER(name)[i]
  Counter,    // AtomicAdd(GetAtomicCounter(name), 1u, old): a buffer of one UInt32
  Attribute,  // vertex stage: input of each vertex
  // Handed on to the next stage under the same name; interpolated on the way to the fragment stage. Stages of
  // tessellation read what they receive with InPatch(name, i), one for each control point.
  Varying,
  Output,  // fragment stage: colour of a target; the depth when the name contains "depth"
};

struct ShaderParameter {
  ShaderParameterKind kind = ShaderParameterKind::Value;
  String name;
  // Of everything but buffers and counters.
  DrawportShaderValueType valueType = DrawportShaderValueType::Float;
  // Of buffers: a type word, or the name of a struct. Of values of type UInt2: "Int64", "UInt64" or "Float64" for those
  // of 64 bits, which programs read as such.
  String elementType;
  DrawportBufferAccess access = DrawportBufferAccess::ReadWrite;
  DataType structType = {};  // of elements that are structs whose members are known; else no type
  // A buffer with one element that is read as UNIFORM(name): for values that the uniform buffer has no code for.
  Bool isValue = false;
  Int byteSize = 0;  // of such a value; 0 if unknown
  // Binding of buffers and counters; location of attributes, varyings and outputs. See AssignBindings.
  Int binding = -1;
  ShaderOrigin origin;
};

struct ShaderTexture {
  String name;
  DrawportTextureType textureType = DrawportTextureType::Texture2D;
  PixelFormatRef format = nullptr;
  Bool isLinear = true;
  // An image that is read and written without a sampler.
  Bool isImage = false;
  // An array of 1D or 2D textures, for the words with a layer.
  Bool hasLayers = false;
  // A 2D texture of floats with several samples per pixel, for GetFramebufferTexel.
  Bool isMultisampled = false;
  Int binding = -1;
  ShaderOrigin origin;
};

// All pieces of one stage.
struct ShaderRecords {
  Id language = kShadingLanguageGlsl;  // GLSL, HLSL or METAL
  DrawportStage stage = DrawportStage::Compute;
  Vec3<UInt32> workGroupSize{256, 1, 1};

  BaseArray<ShaderCode> defines;    // whole "#define" lines
  BaseArray<ShaderStruct> structs;  // in the order of use
  BaseArray<ShaderCode> functions;  // whole definitions
  BaseArray<ShaderParameter> parameters;
  BaseArray<ShaderTexture> textures;
  BaseArray<ShaderCode> fileScope;
  BaseArray<ShaderCode> groupShared;  // "groupSharedMemory float name[8];"
  ShaderCode body;                    // what the kernel does, with or without braces around it

  // Noises 0 to noiseTableCount - 1 can be called with RenderNoise: for each the values noiseMode_i, noiseSeed_i and
  // noiseData_i are declared (unless a parameter has that name already) and the code of all noises is added.
  Int noiseTableCount = 0;
  // The values of noiseMode_i, for all tables, when they are known: only these noises are then part of the program,
  // which drivers compile many times faster than a choice of all. Empty: the program chooses as it runs.
  BaseArray<Int32> noiseModes;

  Int uniformBinding = 0;    // of the uniform buffer
  Int gradientBinding = -1;  // of the buffer with the segments of all gradients
};

inline constexpr Int kMaxNoiseTables = 128;

// Gives every parameter, texture and buffer whose binding is -1 the next free number: 0 is the uniform buffer, then
// follow buffers and counters, textures and images, and the segments of gradients, each in the order of the records.
// Attributes, varyings and outputs are counted by themselves, from location 0.
OSTRA_API void AssignBindings(ShaderRecords& records);

// Locations that an attribute or varying takes: one, and one for each column of a matrix.
OSTRA_API Int GetLocationCount(DrawportShaderValueType type);

// A value of the uniform buffer.
struct ShaderUniform {
  String name;
  DrawportShaderValueType type;
  Int offset;  // in bytes; see GetUniformSize for the bytes that belong to it
};

struct AssembledShader {
  String text;
  BaseArray<ShaderOrigin> lines;      // one per line of the text
  Int supportLineCount = 0;           // the first lines of the text, which are the same for every program
  BaseArray<ShaderUniform> uniforms;  // in the order of their offsets
  Int uniformByteCount = 0;           // size of the uniform buffer, a multiple of 16
};

// Bytes of a value in the uniform buffer. Scalars and vectors are as on the CPU; columns of matrices begin every 16
// bytes; a gradient is two UInt32 (first segment, number of segments), a noise table two Int32 (seed, depth). 0 for
// types that no uniform can have.
OSTRA_API Int GetUniformSize(DrawportShaderValueType type);

// The wrap modes of a sampled texture, which FetchTexture applies, are a UInt of the uniform buffer with this name: the
// key of the sampler as DrawportCacheInterface::GetTextureSampler takes it. Error: out of memory.
OSTRA_API Result<String> MakeWrapUniformName(std::string_view textureName);

// A segment of a gradient as shaders read it: sorted by position, see GradientTable.
struct ShaderGradientSegment {
  Float32 position, scale, bias, lowSlope, highSlope;
  Int32 interpolation;
  Float32 color[3], change[3];
};
static_assert(sizeof(ShaderGradientSegment) == 48);

// Errors: illegal argument for a language or stage that there is no support code for, a parameter that cannot stand in
// its stage, a texture without format or with layers that its type does not have, too many noise tables; out of memory.
OSTRA_API Result<AssembledShader> AssembleShader(const ShaderRecords& records);

// The names that support code gives to parameters, turned back into the words of kernel files: "ostraUniform_x" becomes
// "UNIFORM(x)". For messages of compilers. Error: out of memory.
OSTRA_API Result<String> RestoreShaderWords(std::string_view message);

}  // namespace ostra
