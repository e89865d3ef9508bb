// Fixture of the tests about textures of the CPU program.
//
//   TEST_F(TextureProgramTest, ...) {
//     ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
//     AddTextureKernel("any"_iid, kAnySampler);
//     const TextureSamplerDataHelper* sampler = GetSampler("a"_iid);
//   }
#pragma once

#include "tests/parallelprogram/program_fixture.h"
#include "tests/parallelprogram/texture_family.h"
#include "tests/parallelprogram/texture_kernels.h"

namespace ostra::test {

class TextureProgramTest : public ProgramTest {
 protected:
  void SetUp() override {
    ProgramTest::SetUp();
    ASSERT_THAT(RegisterTextureKernels(), IsOk());
  }
  void AddTextureKernel(InternedId id, const char* name) {
    ASSERT_THAT(program->AddKernel(id, GetTextureKernelFile(name), true), IsOk());
  }
  Result<void> Store(InternedId id, const Texture& texture) {
    TextureBindData bindData = texture.GetBindData();
    return program->StoreTextureBindData(id, bindData, false);
  }
  Values ReadTexture(InternedId id) {
    auto data = program->GetTextureData(id, {0, 0, 0}, {1, 1, 1});
    EXPECT_THAT(data, IsOk());
    const SamplingData* record = data ? data->GetIf<SamplingData>() : nullptr;
    if (!record) {
      ADD_FAILURE() << "no sampling data";
      return {};
    }
    Values values(static_cast<std::size_t>(record->_dataSize / 4));
    MemCopy(values.data(), record->_texels, record->_dataSize);
    return values;
  }
  // The sampler that the active kernel is given for a texture: through a kernel that takes samplers of every kind.
  const TextureSamplerDataHelper* GetSampler(InternedId id) {
    EXPECT_THAT(program->SetTextureToActiveKernel(id, "any"_iid), IsOk());
    EXPECT_THAT(program->UpdateUniforms(), IsOk());
    return SeenSampler();
  }
};

}  // namespace ostra::test
