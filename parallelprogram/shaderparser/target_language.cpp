#include "parallelprogram/shaderparser/target_language.h"

namespace ostra {

const TargetLanguage& FindTargetLanguage(const Id& language) {
  static constinit const TargetLanguage unknown = {
      .atomicPrefix = "",
      .atomicCounterType = "uint",
      .nanoVdbPreamble = "",
      .writeBlockType = [](LineText& line, Int position,
                           Int close) { return g_glsl.writeBlockType(line, position, close); },
  };
  if (language == kTargetHlsl) return g_hlsl;
  if (language == kTargetGlsl) return g_glsl;
  if (language == kTargetMetal) return g_metal;
  return unknown;
}

}  // namespace ostra
