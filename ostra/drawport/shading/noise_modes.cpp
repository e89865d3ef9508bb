#include "ostra/drawport/shading/noise_modes.h"

namespace ostra::shading {

const std::string_view kNoiseOfMode =
    "float NoiseOfMode(int mode, uint key, int depth, float x, float y, float z, float w) {\n"
#define OSTRA_NOISE(mode, name, id) "  if (mode == " #mode ") return Noise" #name "(key, depth, x, y, z, w);\n"
#define OSTRA_DEFAULT_NOISE(mode, name, id)
#include "ostra/render/noise_table.inl"
#define OSTRA_NOISE(mode, name, id)
#define OSTRA_DEFAULT_NOISE(mode, name, id) "  return Noise" #name "(key, depth, x, y, z, w);\n"
#include "ostra/render/noise_table.inl"
    "}\n";

std::string_view GetNoiseFunction(Int32 mode) {
  switch (mode) {
#define OSTRA_NOISE(mode, name, id) \
  case mode:                        \
    return "Noise" #name;
#define OSTRA_DEFAULT_NOISE(mode, name, id) \
  default:                                  \
    return "Noise" #name;
#include "ostra/render/noise_table.inl"
  }
}

}  // namespace ostra::shading
