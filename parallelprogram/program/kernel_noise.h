// Render noises in kernel files. A file with the line ADDNOISECALL may say
//
//   value = RenderNoise(0, position, time);
//
// in its kernel: noise number 0 at a position of one to four coordinates. The program makes the noises from the
// uniforms "noiseMode_@" and "noiseSeed_@"; a noise that it was given none for is 0 everywhere.
#pragma once

#include "ostra/render/render_noise.h"
#include "parallelprogram/program/kernel_parameters.h"

namespace ostra::kernel {

// A record of parameters with the noises as one more.
template <class Parameters>
struct WithNoise : Parameters {
  template <class Add>
  Result<void> ForEach(Add&& add) {
    OSTRA_RETURN_IF_ERROR(Parameters::ForEach(add));
    return add("noiseData", ostraNoises, false);  // without noises there is 0 everywhere
  }

  template <class Index, class Position>
  Float32 RenderNoise(Index index, const Position& position, Float32 time) const {
    const RenderNoiseInterface* noise = FindNoise(static_cast<Int>(index));
    return noise ? noise->Noise(position, time) : 0;
  }

  // Null for a noise that is not there.
  const RenderNoiseInterface* FindNoise(Int number) const {
    if (number < 0 || number >= ostraNoises.GetCount()) return nullptr;
    return ostraNoises[number].GetPointer();
  }

  Block<RenderNoiseRef> ostraNoises;
};

}  // namespace ostra::kernel

// Where the program puts the code of the noises on the GPU.
#define ADDNOISECALL
