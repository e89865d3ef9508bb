// Textures: stored, updated, created, swapped, deleted, and sampled by a kernel.
#include <cmath>

#include "conformance/client_scenarios.h"

namespace ostra::conformance {
namespace {

Floats ReadTexture(ClientRun& run, const InternedId& id) {
  return run.GetTexels(run->GetTextureData(id, Vec3<Int32>(0), Vec3<Int32>(kAll)));
}

void TexturesAreReadBackAsTheyWereStored(ClientRun& run) {
  const Floats texels = MakeTexels(37, 19);
  TextureBindData data = DescribeTexels(texels, 37, 19);
  CONFORMANCE_OK(run, run->StoreTextureBindData("t"_iid, data, false));
  CONFORMANCE_HOLDS(run, ReadTexture(run, "t"_iid) == texels);

  const Floats others(texels.size(), 0.5f);
  CONFORMANCE_OK(run, run->UpdateTextureBindData("t"_iid, DescribeTexels(others, 37, 19)));
  CONFORMANCE_HOLDS(run, run.GetTexels(run->GetTextureData("t"_iid, Vec3<Int32>(10), Vec3<Int32>(kAll))) == others);

  TextureBindData empty = DescribeTexels(texels, 37, 19);
  CONFORMANCE_OK(run, run->CreateTexture("t"_iid, empty));
  CONFORMANCE_HOLDS(run, ReadTexture(run, "t"_iid) == Floats(texels.size(), 0.0f));
}

void SwappedTexturesAreKnownByTheOtherName(ClientRun& run) {
  const Floats ones(4 * 4 * 4, 1.0f), twos(4 * 4 * 4, 2.0f);
  TextureBindData one = DescribeTexels(ones, 4, 4), two = DescribeTexels(twos, 4, 4);
  CONFORMANCE_OK(run, run->StoreTextureBindData("one"_iid, one, false));
  CONFORMANCE_OK(run, run->StoreTextureBindData("two"_iid, two, false));
  CONFORMANCE_OK(run, run->SwapTextures("one"_iid, "two"_iid));
  CONFORMANCE_HOLDS(run, ReadTexture(run, "one"_iid) == twos);
  CONFORMANCE_OK(run, run->DeleteTexture("one"_iid, false));
  CONFORMANCE_FAILS(run, kIllegalArgumentError, "", run->GetTextureData("one"_iid, Vec3<Int32>(0), Vec3<Int32>(kAll)));
  CONFORMANCE_HOLDS(run, ReadTexture(run, "two"_iid) == ones);
}

void KernelsSampleTextures(ClientRun& run) {
  constexpr UInt32 kSize = 16;
  run.AddKernel("rotate"_iid, "net.ostra.kernels.rotate.krn");
  const Floats grey(kSize * kSize * 4, 0.25f);
  TextureBindData data = DescribeTexels(grey, kSize, kSize);
  CONFORMANCE_OK(run, run->StoreTextureBindData("image"_iid, data, false));
  CONFORMANCE_OK(run, run->SetTextureToActiveKernelSameId("image"_iid));
  CONFORMANCE_OK(run, run->CreateUniformBuffer("result"_iid, GetDataType<Vector4d32>(), kSize * kSize));
  CONFORMANCE_OK(run, run->SetBufferToActiveKernelSameId("result"_iid));
  CONFORMANCE_OK(run, run->SetUniform("width"_iid, Int32(kSize)));
  CONFORMANCE_OK(run, run->SetUniform("height"_iid, Int32(kSize)));
  CONFORMANCE_OK(run, run->SetUniform("angle"_iid, Float32(0.3f)));
  CONFORMANCE_OK(run, run->SetUniform("scale"_iid, Float32(1)));
  CONFORMANCE_OK(run, run->UpdateUniforms());
  CONFORMANCE_OK(run, run->DispatchKernel(kSize, kSize, 1, false));
  const Float32 encoded = 1.055f * std::pow(0.25f, 1.0f / 2.4f) - 0.055f;
  const Floats values = run.Read<Float32>("result"_iid);
  CONFORMANCE_HOLDS(run, values.size() == std::size_t{kSize} * kSize * 4);
  for (const Float32 value : values) CONFORMANCE_HOLDS(run, std::abs(value - encoded) <= 1e-5f);
}

// A kernel that writes a texture on the GPU and a buffer on the CPU; each dispatch reads what the one before has
// written.
void WhatOneDispatchPaintsTheNextOneFinds(ClientRun& run) {
  constexpr UInt32 kWidth = 13, kHeight = 7;
  run.AddKernel("paint"_iid, "net.ostra.parity.paint.krn");
  Floats texels(kWidth * kHeight);
  for (std::size_t i = 0; i < texels.size(); ++i) texels[i] = static_cast<Float32>(i);
  if (run.IsGpu()) {
    TextureBindData data = DescribeTexels(texels, kWidth, kHeight);
    data._numChannels = 1;
    data._filter = TextureFilter::POINT;
    CONFORMANCE_OK(run, run->StoreTextureBindData("painted"_iid, data, false));
    CONFORMANCE_OK(run, run->SetTextureToActiveKernelSameId("painted"_iid));
  } else {
    run.Store("painted"_iid, texels);
    CONFORMANCE_OK(run, run->SetBufferToActiveKernelSameId("painted"_iid));
  }
  CONFORMANCE_OK(run, run->SetUniform("width"_iid, UInt32(kWidth)));
  CONFORMANCE_OK(run, run->SetUniform("count"_iid, UInt32(kWidth * kHeight)));
  CONFORMANCE_OK(run, run->UpdateUniforms());
  for (int i = 0; i < 3; ++i) {
    CONFORMANCE_OK(run, run->DispatchKernel(kWidth * kHeight, 1, 1, true));
    CONFORMANCE_OK(run, run->AddTextureMemoryBarrier());
    for (std::size_t texel = 0; texel < texels.size(); ++texel)
      texels[texel] = texels[texel] * 2 + static_cast<Float32>(texel % kWidth) + 0.5f;
  }
  CONFORMANCE_HOLDS(run, (run.IsGpu() ? ReadTexture(run, "painted"_iid) : run.Read<Float32>("painted"_iid)) == texels);
}

constexpr ClientScenario kScenarios[] = {
    {"TexturesAreReadBackAsTheyWereStored", &TexturesAreReadBackAsTheyWereStored},
    {"SwappedTexturesAreKnownByTheOtherName", &SwappedTexturesAreKnownByTheOtherName},
    {"KernelsSampleTextures", &KernelsSampleTextures},
    {"WhatOneDispatchPaintsTheNextOneFinds", &WhatOneDispatchPaintsTheNextOneFinds},
};

}  // namespace

std::span<const ClientScenario> GetTextureScenarios() { return kScenarios; }

}  // namespace ostra::conformance
