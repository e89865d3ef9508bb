// How the pictures of docs/noise.md are drawn; their test draws them once more.
#pragma once

#include "ostra/image/image.h"
#include "ostra/object/class.h"
#include "ostra/render/render_noise.h"

namespace ostra {

inline constexpr Int kNoisePictureSize = 128;     // pixels on each side
inline constexpr Float32 kNoisePictureCells = 6;  // width of the part that is shown
inline constexpr Int32 kNoisePictureSeed = 1234;

// The last part of a class ID: "perlin".
inline std::string_view GetNoiseName(const Id& id) {
  const std::string_view text = id.GetView();
  return text.substr(text.rfind('.') + 1);
}

// Brightness is the noise at time 0, off the lattice planes of the third axis.
inline Result<Image> DrawNoisePicture(const Class& noiseClass) {
  OSTRA_ASSIGN_OR_RETURN(const RenderNoiseRef noise, noiseClass.CreateObject<RenderNoiseInterface>());
  OSTRA_RETURN_IF_ERROR(noise->Init(kNoisePictureSeed, kNoiseDepth, noiseClass.GetId()));
  OSTRA_ASSIGN_OR_RETURN(Image picture, Image::Create(kNoisePictureSize, kNoisePictureSize));
  const Float32 scale = kNoisePictureCells / static_cast<Float32>(kNoisePictureSize);
  for (Int i = 0; i < kNoisePictureSize * kNoisePictureSize; ++i) {
    const Float32 x = static_cast<Float32>(i % kNoisePictureSize) * scale;
    const Float32 y = static_cast<Float32>(i / kNoisePictureSize) * scale;
    const Float32 value = noise->Noise(Vector32(x, y, 0.375f), 0);
    for (Int channel = 0; channel < 3; ++channel) picture.rgba[4 * i + channel] = value;
    picture.rgba[4 * i + 3] = 1;
  }
  return picture;
}

}  // namespace ostra
