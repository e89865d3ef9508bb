// Parameters of programs: how they are declared, and by what they are bound.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/data_type.h"
#include "ostra/core/delegate.h"
#include "ostra/core/interned_id.h"
#include "ostra/drawport/resources.h"

namespace ostra {

class DrawportParameterValueSet;
class DrawportProgramFactory;

// The element of a buffer: a type of the shading language, or a struct with its members as text. No padding: members
// follow each other at the alignment of their scalars, as on the host.
struct DrawportStructLayout {
  String typeName;
  String members;      // "float x; uint y;"; empty when the type is known without a declaration
  Int byteSize = 0;    // of one element
  DataType type = {};  // of elements that are structs whose members are known; else no type
};

enum class DrawportParameterKind : Int32 { Uniform, Buffer, Texture, Image };

struct DrawportParameter {
  DrawportStage stage = DrawportStage::Compute;
  DrawportParameterKind kind = DrawportParameterKind::Uniform;
  InternedId name;
  DrawportShaderValueType valueType = DrawportShaderValueType::Float;  // of uniforms
  DrawportStructLayout layout;  // of buffers; of uniforms of 64 bits the type name
  DrawportBufferAccess access = DrawportBufferAccess::ReadWrite;
  Bool isValue = false;                                              // a buffer of one element that is set as a value
  DrawportTextureType textureType = DrawportTextureType::Texture2D;  // of textures and images
  PixelFormatRef format = nullptr;
  Bool isLinear = false;
  Bool hasLayers = false;
  Bool isMultisampled = false;  // a texture whose samples are read one by one
};

// Stands for one parameter of one program factory: a value that is good for that factory only. Empty for a name that
// the program does not declare.
struct DrawportParameterHandle {
  Int32 index = -1;  // in the description's parameters
  explicit operator bool() const { return index >= 0; }
};

// Sets the current values of all parameters; called with no lock held and nothing half recorded, so it may record,
// execute, map and look up items. `parameters` are the program's, in the order of their declaration.
using DrawportParameterBinder = Delegate<Result<void>(
    DrawportProgramFactory& factory, DrawportParameterValueSet& values, Block<const DrawportParameter> parameters)>;

}  // namespace ostra
