// What comes from elsewhere: textures of earlier passes, several samples, tessellation, buffers that a kernel has
// written.
#include "tests/shaderloader/loader_device_fixture.h"

namespace ostra::test {
namespace {

class LoaderPassesTest : public LoaderDeviceTest {
 protected:
  // The loader's entry of a texture that a target hands out.
  Data Adopt(InternedId id, DrawportTexture* texture) {
    Take(loader->SetSamplerAndTextureHandle(id, texture, Take(renderer->GetSampler(0)), {}, {}));
    TextureSamplerEntry entry;
    entry._texture = Take(loader->GetTextureHandle(id));
    entry._sampler = Take(loader->GetTextureSamplerHandle(id));
    return Take(Data::Create(std::move(entry)));
  }
  void WriteScreenVertexStage() {
    Write("screen.vert", {"(attribute Vector2d32) position", "(varying Vector2d32) place"},
          "\tplace = vec2(position.x * 0.5 + 0.5, 0.5 - position.y * 0.5);\n"
          "\tOutPosition = vec4(position.x, position.y, 0.5, 1.0);\n");
  }
};

TEST_F(LoaderPassesTest, AFullScreenPassReadsColourAndDepthOfAnEarlierOne) {
  WritePlainVertexStage("first.vert", "0.25");
  WriteColor("first.frag", "vec4(1.0, 0.0, 0.0, 1.0)");
  WriteScreenVertexStage();
  Write("screen.frag", {"(varying Vector2d32) place", "(out Vector4d32) f_color"},
        "\tf_color = vec4(SampleTexture(colorTexture, place).x, SampleTexture(depthTexture, place), 0.0, 1.0);\n");
  DataDictionary depthTest;
  Take(depthTest.Set("depthTest"_iid, Int32(1)));
  Add("first"_iid, {"first.vert", "first.frag"}, depthTest);
  StoreVertices({-1, -1, 0, -1, -1, 1, 0, -1, 0, 1, -1, 1});
  Draw(6);
  const DrawportRenderTargetRef earlier = target;

  target = MakeTarget(8, 8);
  Add("screen"_iid, {"screen.vert", "screen.frag"});
  StoreAll();
  Take(loader->SetColorTextureHandleActiveProgram("colour"_iid, Adopt("colour"_iid, earlier->GetColorTexture(0))));
  Take(loader->SetDepthTextureHandleActiveProgram("depth"_iid, Adopt("depth"_iid, earlier->GetDepthTexture())));
  const Picture picture = Draw(6);
  EXPECT_EQ(picture.At(1, 3), (Rgba{1, 0.25f, 0, 1}));
  EXPECT_EQ(picture.At(6, 3), (Rgba{0, 1, 0, 1}));
}

// An edge that covers a part of a pixel only: one sample is there or not, four give steps in between.
TEST_F(LoaderPassesTest, OneFragmentFileIsDrawnWithOneAndWithFourSamples) {
  WritePlainVertexStage("p.vert");
  WriteColor("p.frag", "vec4(1.0, 0.0, 0.0, 1.0)");
  const std::vector<Float32> slope = {-1, -1, 1, -1, -1, 0.6f};
  DataDictionary parameters;
  Add("one"_iid, {"p.vert", "p.frag"});
  StoreVertices(slope);
  const Picture one = Draw(3);
  EXPECT_EQ(one.Count(kRed) + one.Count(kEmpty), 64);
  target = MakeTarget(8, 8, 4);
  Take(parameters.Set("multiSampling"_iid, Int32(4)));
  Add("four"_iid, {"p.vert", "p.frag"}, parameters);
  StoreVertices(slope);
  const Picture four = Draw(3);
  EXPECT_LT(four.Count(kRed) + four.Count(kEmpty), 64);
}

TEST_F(LoaderPassesTest, OnlyTheFirstSampleIsDrawnWhereAStageAsksForIt) {
  WritePlainVertexStage("p.vert");
  Write("p.frag", {"(out Vector4d32) f_color"},
        "\tONLY_USE_FIRST_MSAA_SAMPLE\n\tf_color = vec4(1.0, 0.0, 0.0, 1.0);\n");
  Add("one"_iid, {"p.vert", "p.frag"});
  StoreAll();
  EXPECT_EQ(Draw(6).Count(kRed), 64);
  target = MakeTarget(8, 8, 4);
  DataDictionary parameters;
  Take(parameters.Set("multiSampling"_iid, Int32(4)));
  Add("four"_iid, {"p.vert", "p.frag"}, parameters);
  StoreAll();
  EXPECT_EQ(Draw(6).Count({0.25f, 0, 0, 0.25f}), 64);
}

// The same file reads the samples of an earlier pass one by one, or its only one.
TEST_F(LoaderPassesTest, SamplesOfAnEarlierPassAreReadOneByOne) {
  WritePlainVertexStage("p.vert");
  WriteColor("p.frag", "vec4(1.0, 0.0, 0.0, 1.0)");
  Write("copy.frag", {"(out Vector4d32) f_color"},
        "\tint2 pixel = int2(int(InFragCoord.x), int(InFragCoord.y));\n"
        "\tf_color = GetFramebufferTexel(PassTexture(colorTexture), pixel);\n");
  for (const Int32 sampleCount : {1, 4}) {
    DataDictionary parameters;
    Take(parameters.Set("multiSampling"_iid, sampleCount));
    const std::string number = std::to_string(sampleCount);
    target = MakeTarget(8, 8, sampleCount);
    Add(*InternedId::Create("first" + number), {"p.vert", "p.frag"}, parameters);
    StoreVertices({-1, -1, 1, -1, -1, 0.6f});
    const Picture first = Draw(3);
    const DrawportRenderTargetRef earlier = target;
    target = MakeTarget(8, 8, sampleCount);
    Take(parameters.Set("useAlphaBlending"_iid, false));
    Add(*InternedId::Create("copy" + number), {"p.vert", "copy.frag"}, parameters);
    StoreAll();
    Take(loader->SetColorTextureHandleActiveProgram("c"_iid, Adopt("c"_iid, earlier->GetColorSamples(0))));
    const Picture copy = Draw(6);
    EXPECT_EQ(copy.pixels, first.pixels) << sampleCount;
    EXPECT_EQ(copy.Count(kRed) + copy.Count(kEmpty) == 64, sampleCount == 1);
  }
}

// The corners alone would leave the middle of the patch where it is.
TEST_F(LoaderPassesTest, ATessellatedPatchIsBentByItsEvaluationStage) {
  Write("t.vert", {"(attribute Vector2d32) position", "(varying Vector2d32) corner"},
        "\tcorner = position;\n\tOutPosition = vec4(position.x, position.y, 0.5, 1.0);\n");
  WriteText("t.h", "#define PATCH_POINTS 4\n#define PATCH_DOMAIN quads\n");  // of both tessellation stages
  Write("t.tsc", {"(varying Vector2d32) corner", "(Float32) level"},
        "\tcorner = InPatch(corner, InInvocationID);\n\tOutPosition = InPatchPosition(InInvocationID);\n"
        "\tif (InInvocationID == 0u)\n\t{\n"
        "\t\tOutTessLevelOuter[0] = UNIFORM(level);\n\t\tOutTessLevelOuter[1] = UNIFORM(level);\n"
        "\t\tOutTessLevelOuter[2] = UNIFORM(level);\n\t\tOutTessLevelOuter[3] = UNIFORM(level);\n"
        "\t\tOutTessLevelInner[0] = UNIFORM(level);\n\t\tOutTessLevelInner[1] = UNIFORM(level);\n\t}\n");
  Write("t.tse", {"(varying Vector2d32) corner", "(Float32) height"},
        "\tvec2 left = mix(InPatch(corner, 0), InPatch(corner, 1), InTessCoord.y);\n"
        "\tvec2 right = mix(InPatch(corner, 3), InPatch(corner, 2), InTessCoord.y);\n"
        "\tvec2 at = mix(left, right, InTessCoord.x);\n"
        "\tfloat bend = 4.0 * InTessCoord.x * (1.0 - InTessCoord.x) * UNIFORM(height);\n"
        "\tcorner = at;\n"
        "\tOutPosition = vec4(at.x, at.y + bend, 0.5, 1.0);\n");
  Write("t.frag", {"(varying Vector2d32) corner", "(out Vector4d32) f_color"},
        "\tf_color = vec4(1.0, 0.0, 0.0, 1.0);\n");
  Add("t"_iid, {"t.vert", "t.tsc", "t.tse", "t.frag"});
  StoreVertices({-1, -1, -1, -0.5f, 1, -0.5f, 1, -1});  // the two lowest rows
  Take(loader->SetUniform("height"_iid, 1.0f, 2));
  const auto draw = [&](Float32 level) {
    Take(loader->SetUniform("level"_iid, level, 1));
    Take(loader->UpdateUniforms(target.GetPointer()));
    DrawportDrawCall call = GetCall(4);
    call.topology = DrawportTopology::Patches;
    call.patchSize = 4;
    DrawInto(target, {call});
    return Read(target);
  };
  const Picture flat = draw(1);
  EXPECT_EQ(flat.At(4, 7), kRed);
  EXPECT_EQ(flat.At(4, 3), kEmpty);
  const Picture bent = draw(16);
  EXPECT_EQ(bent.At(4, 7), kEmpty);
  EXPECT_EQ(bent.At(4, 3), kRed);
  EXPECT_EQ(bent.At(0, 6), kRed);
}

TEST_F(LoaderPassesTest, PointsAreDrawnFromTheBufferThatAKernelHasWritten) {
  WritePlainVertexStage("p.vert");
  WriteColor("p.frag", "vec4(0.0, 1.0, 0.0, 1.0)");
  WriteText("net.ostra.test.points.krn",
            "#define KERNELINPUTS \\\n(Float32) y, \\\n(Block<Vector2d32>) points\n\nGROUPSIZE(8, 1, 1)\n\n"
            "OSTRA_PARALLEL_KERNEL(Points, KERNELINPUTS)\n{\n\tuint i = LinearInvocation();\n"
            "\tUNIFORM_BUFFER(points)[i] = vec2((float(i) + 0.5) / 4.0 - 1.0, UNIFORM(y));\n}\n"
            "OSTRA_PARALLEL_KERNEL_END\n");
  const auto program = Take(CreateObject<ParallelProgramInterface>("net.ostra.drawportmisc.gpuprogram"_id));
  Take(program->Init(*Url::Create(folder.string()), &_context, 0, false));
  Take(program->AddKernel("k"_iid, *Url::Create("relative://net.ostra.test.points.krn"), true));
  Take(program->CreateUniformBuffer("points"_iid, GetDataType<Vec2<Float32>>(), 8));
  Take(program->SetBufferToActiveKernelSameId("points"_iid));
  const auto compute = [&](Float32 y) {
    Take(program->SetUniform("y"_iid, y));
    Take(program->UpdateUniforms());
    Take(program->DispatchKernel(8, 1, 1, false));
  };
  Add("p"_iid, {"p.vert", "p.frag"});
  Take(loader->SetGlobalBufferLink("points"_iid, Take(program->GetGlobalBufferLink("points"_iid))));
  Take(loader->SetVertexBufferToActiveProgramSameId("points"_iid));
  EXPECT_EQ(Take(loader->GetActiveVertexBufferCount()), 8);
  for (const auto& [y, row] : {std::pair(0.9f, 0), std::pair(-0.9f, 7)}) {
    compute(y);  // recorded in front of the pass, and not waited for
    const Picture picture = Draw(8, DrawportTopology::Points);
    EXPECT_EQ(picture.Count(kGreen), 8);
    for (Int x = 0; x < 8; ++x) EXPECT_EQ(picture.At(x, row), kGreen) << x;
  }
}

}  // namespace
}  // namespace ostra::test
