#include "ostra/drawport/state_object_item.h"

#include "ostra/core/format.h"

OSTRA_UNIT("drawport_state");

namespace ostra {
namespace {

// The number as one of an enumeration whose largest value is `last`.
template <class Enumeration>
Result<Enumeration> ToEnumeration(Int32 number, Enumeration last, std::string_view what) {
  if (number < 0 || number > static_cast<Int32>(last))
    return OSTRA_ILLEGAL_ARGUMENT("@ is no @; there are 0 to @.", number, what, static_cast<Int32>(last));
  return static_cast<Enumeration>(number);
}

Result<void> CheckFactor(DrawportBlendFactor factor) {
  OSTRA_RETURN_IF_ERROR(
      ToEnumeration(static_cast<Int32>(factor), DrawportBlendFactor::OneMinusSourceAlpha, "blend factor"));
  return OK;
}

}  // namespace

Result<void> DrawportStateDescription::InitializeWithDefaults() {
  *this = {};
  return OK;
}

Result<void> DrawportStateDescription::SetDepthTestMode(Int32 mode) {
  OSTRA_ASSIGN_OR_RETURN(_depthTest, ToEnumeration(mode, DrawportDepthTestMode::Always, "depth test mode"));
  return OK;
}

Result<void> DrawportStateDescription::SetCullFace(Int32 face) {
  OSTRA_ASSIGN_OR_RETURN(_cullFace, ToEnumeration(face, DrawportCullFace::Back, "cull face"));
  return OK;
}

Result<void> DrawportStateDescription::SetFrontFace(Int32 face) {
  OSTRA_ASSIGN_OR_RETURN(_frontFace, ToEnumeration(face, DrawportFrontFace::Clockwise, "front face"));
  return OK;
}

Result<void> DrawportStateDescription::SetBlendFunction(DrawportBlendFactor sourceColor,
                                                        DrawportBlendFactor targetColor,
                                                        DrawportBlendFactor sourceAlpha,
                                                        DrawportBlendFactor targetAlpha) {
  for (const DrawportBlendFactor factor : {sourceColor, targetColor, sourceAlpha, targetAlpha})
    OSTRA_RETURN_IF_ERROR(CheckFactor(factor));
  _sourceColor = sourceColor;
  _targetColor = targetColor;
  _sourceAlpha = sourceAlpha;
  _targetAlpha = targetAlpha;
  return OK;
}

Result<void> DrawportStateDescription::SetAlphaBlendingMode(Int32 mode) {
  OSTRA_ASSIGN_OR_RETURN(_blending, ToEnumeration(mode, DrawportAlphaBlendingMode::On, "alpha blending mode"));
  return OK;
}

}  // namespace ostra
