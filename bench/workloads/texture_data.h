// The textures of the texture workloads, and what their lookups must give.
#pragma once

#include <vector>

#include "bench/references/texture_references.h"
#include "parallelprogram/textures/sampling_data.h"

namespace bench {

class TextureData {
 public:
  // Texels without any order, 2048 x 2048 or 256 x 256 x 256 of them.
  explicit TextureData(TextureKind kind);

  // The description, with texels that last as long as this object.
  ostra::TextureBindData GetBindData() const;
  int GetExtent() const { return _kind == TextureKind::R32f3D ? 256 : 2048; }

  // The sum of a run's lookups in double precision; one number a channel, at most four.
  void SumRun(const LookupWork& work, std::uint32_t run, double* sums) const;

 private:
  double GetTexel(const int* index, int channel) const;
  double Sample(const float* at, int channel) const;

  TextureKind _kind;
  std::vector<float> _floats;
  std::vector<std::uint8_t> _bytes;
};

}  // namespace bench
