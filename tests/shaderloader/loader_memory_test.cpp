// The loader when memory runs out: each allocation of a scenario fails in turn.
#include "tests/shaderloader/loader_fixture.h"
#include "tests/support/surviving_scenario.h"

namespace ostra::test {
namespace {

using LoaderMemoryTest = LoaderTest;

TEST_F(LoaderMemoryTest, AProgramIsThereWholeOrNotAtAll) {
  WriteSimpleProgram();
  const BaseArray<Url> files = MakeFiles({"simple.vert", "simple.frag"});
  ExpectScenarioSurvives([&]() -> Result<void> {
    ResetStageParserCache();
    OSTRA_RETURN_IF_ERROR(loader->RemoveProgram("p"_iid));
    auto added = loader->AddShaders("p"_iid, files, 0, &pass, DataDictionary(), true);
    EXPECT_EQ(loader->HasProgram("p"_iid), added.IsOk());
    EXPECT_EQ(loader->GetActiveProgramId().IsEmpty(), !added.IsOk());
    if (!added) return added.TakeError();
    return OK;
  });
}

TEST_F(LoaderMemoryTest, LinksAndValuesSurviveFailingAllocations) {
  WriteStage("m.vert", {"(attribute Vector32) position", "(const Block<Float32>) values", "(Float32) scale"});
  WriteStage("m.frag", {"(const TextureSampler_2D_R_F32_LINEAR) image", "(AtomicUInt32*) hits",
                        "(GradientRenderData) ramp", "(out Vector4d32) f_color"});
  AddProgram("p"_iid, {"m.vert", "m.frag"});
  std::vector<Float32> values(100, 2.0f);
  const Block<Float32> block(values.data(), 100);
  TextureBindData texture;
  texture._dimensions = Vec3<UInt32>(4, 4, 1);
  texture._format = TextureFormat::F32;
  texture._numChannels = 1;
  texture._dataSize = 64;
  ExpectScenarioSurvives([&]() -> Result<void> {
    OSTRA_RETURN_IF_ERROR(loader->StoreVertexBufferData("vertices"_iid, block));
    OSTRA_RETURN_IF_ERROR(loader->CreateUniformBuffer("values"_iid, GetDataType<Float32>(), 100));
    OSTRA_RETURN_IF_ERROR(loader->UpdateUniformBufferData("values"_iid, block, 0));
    OSTRA_RETURN_IF_ERROR(loader->SetBufferToActiveProgramSameId("values"_iid, 0));
    OSTRA_RETURN_IF_ERROR(loader->SetVertexBufferToActiveProgramSameId("vertices"_iid));
    OSTRA_RETURN_IF_ERROR(loader->CreateTexture("image"_iid, texture));
    OSTRA_RETURN_IF_ERROR(loader->SetTextureToActiveProgramSameId("image"_iid, 1));
    OSTRA_RETURN_IF_ERROR(loader->AddAtomicCounter("hits"_iid));
    OSTRA_RETURN_IF_ERROR(loader->SetAtomicCounterToActiveProgram("hits"_iid, 1));
    OSTRA_RETURN_IF_ERROR(loader->SetUniform("scale"_iid, 2.0f, 0));
    OSTRA_RETURN_IF_ERROR(loader->SetUniform("ramp"_iid, GradientRenderData(), 1));
    OSTRA_RETURN_IF_ERROR(loader->UpdateUniforms(&pass));
    OSTRA_RETURN_IF_ERROR(loader->GetGlobalBufferData("values"_iid));
    OSTRA_RETURN_IF_ERROR(loader->GetTextureData("image"_iid, Vec3<Int32>(0), Vec3<Int32>(0)));
    OSTRA_RETURN_IF_ERROR(loader->DeleteTexture("image"_iid));
    return loader->DeleteUniformBuffer("values"_iid);
  });
}

TEST_F(LoaderMemoryTest, ALoaderWithoutMemoryForItsGradientSaysSo) {
  ExpectScenarioSurvives([&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(const GeneralShaderLoaderRef made,
                           loaderClass->CreateObject<GeneralShaderLoaderInterface>());
    OSTRA_RETURN_IF_ERROR(made->Init(Url(), &context));
    return made->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 4);
  });
}

}  // namespace
}  // namespace ostra::test
