// The loader on a device when memory runs out: each allocation of a frame fails in turn.
#include "tests/shaderloader/loader_device_fixture.h"
#include "tests/support/fault_injection.h"

namespace ostra::test {
namespace {

TEST_F(LoaderDeviceTest, AFrameSurvivesFailingAllocations) {
  WritePlainVertexStage("p.vert");
  Write("p.frag",
        {"(Vector4d32) tint", "(const TextureSampler_2D_R_F32_POINT) image", "(GradientRenderData) ramp",
         "(out Vector4d32) f_color"},
        "\tvec3 c = SampleGradient(UNIFORM(ramp), 2.0);\n"
        "\tf_color = UNIFORM(tint) * c.x + vec4(FetchTexture(image, ivec2(0, 0)), 0.0, 0.0, 0.0);\n");
  Add("p"_iid, {"p.vert", "p.frag"});
  const BaseArray<Float32> vertices = MakeArray<Float32>({-1, -1, 1, -1, 1, 1, -1, -1, 1, 1, -1, 1});
  const Block<const Float32> block(vertices.GetFirst(), vertices.GetCount());
  TextureBindData texture;
  texture._dimensions = Vec3<UInt32>(2, 2, 1);
  texture._format = TextureFormat::F32;
  texture._numChannels = 1;
  texture._dataSize = 16;
  const auto frame = [&]() -> Result<void> {
    OSTRA_RETURN_IF_ERROR(loader->StoreVertexBufferData("vertices"_iid, block));
    OSTRA_RETURN_IF_ERROR(loader->SetVertexBufferToActiveProgramSameId("vertices"_iid));
    OSTRA_RETURN_IF_ERROR(loader->CreateTexture("image"_iid, texture));
    OSTRA_RETURN_IF_ERROR(loader->SetUniform("tint"_iid, Vector4d32(1, 0, 0, 1), 1));
    OSTRA_RETURN_IF_ERROR(loader->SetUniform("ramp"_iid, GradientRenderData(), 1));
    OSTRA_RETURN_IF_ERROR(loader->UpdateUniforms(target.GetPointer()));
    OSTRA_RETURN_IF_ERROR(renderer->Begin(target, {}));
    const Result<void> drawn = renderer->Draw(GetCall(6));
    OSTRA_RETURN_IF_ERROR(renderer->End());
    return drawn;
  };
  Take(frame());
  Int failures = 0;
  for (Int n = 1; n < 2000; ++n) {
    Bool fired = false;
    {
      const DiagnosticRecorder unheard;
      const FailingAllocation failure(n);
      const Result<void> result = frame();
      fired = AllocationFaults::HasFired();
      failures += fired && !result;
      if (!fired) {
        EXPECT_THAT(result, IsOk());
      }
    }
    if (!fired) break;
    const Result<void> again = frame();
    ASSERT_THAT(again, IsOk()) << "after the failure of allocation " << n;
  }
  EXPECT_GT(failures, 0);
  EXPECT_EQ(Read(target).Count(kRed), 64);
}

}  // namespace
}  // namespace ostra::test
