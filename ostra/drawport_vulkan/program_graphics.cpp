// What a graphics program reads of vertices and writes to targets.
#include <algorithm>

#include "ostra/drawport_vulkan/program_factory.h"
#include "ostra/drawport_vulkan/program_stages.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

// How the channels of a format or of a colour are read.
enum class NumberClass { Float, Signed, Unsigned };

NumberClass GetNumberClass(PixelFormatRef format) {
  if (format->valueClass == PixelValueClass::FloatingPoint || format->bitsPerChannel < 32) return NumberClass::Float;
  return format->valueClass == PixelValueClass::SignedInteger ? NumberClass::Signed : NumberClass::Unsigned;
}

NumberClass GetNumberClass(DrawportShaderValueType type) {
  const auto code = static_cast<Int32>(type);
  if (code >= static_cast<Int32>(DrawportShaderValueType::Int) &&
      code <= static_cast<Int32>(DrawportShaderValueType::Int4))
    return NumberClass::Signed;
  if (code >= static_cast<Int32>(DrawportShaderValueType::UInt) &&
      code <= static_cast<Int32>(DrawportShaderValueType::UInt4))
    return NumberClass::Unsigned;
  return NumberClass::Float;
}

const DrawportVertexAttribute* FindAttribute(const DrawportVertexAttributeLayout& layout, InternedId name) {
  for (const DrawportVertexAttribute& attribute : layout.GetAttributes())
    if (attribute.name == name) return &attribute;
  return nullptr;
}

Result<const DrawportVertexAttribute*> GetAttribute(const DrawportVertexAttributeSet* set,
                                                    const StageVariable& variable) {
  const DrawportVertexAttribute* attribute = set ? FindAttribute(set->GetLayout(), variable.name) : nullptr;
  if (!attribute)
    return OSTRA_ILLEGAL_ARGUMENT("The GPU program reads the attribute \"@\", which the vertices do not have.",
                                  variable.name);
  if (attribute->type != variable.type)
    return OSTRA_ILLEGAL_ARGUMENT("The attribute \"@\" of the GPU program has another type than that of the vertices.",
                                  variable.name);
  return attribute;
}

}  // namespace

Result<void> ProgramFactory::FindVariables(const BaseArray<ProgramStage>& stages) {
  for (Int i = 0; i < stages.GetCount(); ++i) {
    const PipelineStage& compiled = _pipeline->GetStages()[i];
    for (const ShaderParameter& parameter : stages[i].records.parameters) {
      const Bool isAttribute = parameter.kind == ShaderParameterKind::Attribute;
      if (!isAttribute && parameter.kind != ShaderParameterKind::Output) continue;
      const BaseArray<UInt32>& used = isAttribute ? compiled.inputs : compiled.outputs;
      const auto location = static_cast<UInt32>(parameter.binding);
      if (parameter.binding < 0 || std::find(used.begin(), used.end(), location) == used.end()) continue;
      OSTRA_ASSIGN_OR_RETURN(const InternedId name, InternedId::Create(parameter.name));
      OSTRA_RETURN_IF_ERROR(
          (isAttribute ? _attributes : _colors).Append(StageVariable{name, parameter.valueType, location}));
    }
    _writesDepth = _writesDepth || compiled.writesDepth;
  }
  return OK;
}

Result<void> ProgramFactory::CheckAttributes(const DrawportVertexAttributeSet& attributes) const {
  for (const StageVariable& variable : _attributes) OSTRA_RETURN_IF_ERROR(GetAttribute(&attributes, variable));
  return OK;
}

Result<void> ProgramFactory::CheckTargets(const DrawportFramebufferTargetSet& targets) const {
  for (const StageVariable& color : _colors) {
    if (static_cast<Int>(color.location) >= targets.GetColorCount())
      return OSTRA_ILLEGAL_ARGUMENT("The GPU program gives \"@\" as the colour of target @; there are @ targets.",
                                    color.name, color.location, targets.GetColorCount());
    const PixelFormatRef format = targets.GetColorFormat(static_cast<Int>(color.location));
    if (GetNumberClass(format) != GetNumberClass(color.type))
      return OSTRA_ILLEGAL_ARGUMENT("The colour \"@\" of the GPU program is of another type than target @ with @.",
                                    color.name, color.location, format->id);
  }
  return OK;
}

Result<void> ProgramFactory::AddAttributes(const DrawportVertexAttributeSet* attributes, GraphicsState& state) const {
  for (const StageVariable& variable : _attributes) {
    OSTRA_ASSIGN_OR_RETURN(const DrawportVertexAttribute* attribute, GetAttribute(attributes, variable));
    state.inputs[state.inputCount++] = {variable.location, GetAttributeFormat(variable.type),
                                        static_cast<UInt32>(attribute->offset)};
  }
  if (_attributes.IsEmpty()) return OK;
  const VkPhysicalDeviceLimits& limits = GetDevice().GetLimits();
  const Int stride = attributes->GetLayout().GetStride();
  if (stride > limits.maxVertexInputBindingStride || stride > limits.maxVertexInputAttributeOffset)
    return OSTRA_ILLEGAL_ARGUMENT("Vertices of @ bytes are larger than those of the GPU device.", stride);
  state.stride = static_cast<UInt32>(attributes->GetLayout().GetStride());
  state.isPerInstance = attributes->GetLayout().IsPerInstance();
  return OK;
}

void ProgramFactory::AddTargets(GraphicsState& state) const {
  state.writesDepth = _writesDepth;
  for (const StageVariable& color : _colors) state.colorMask |= 1u << color.location;
}

}  // namespace ostra::vulkan
