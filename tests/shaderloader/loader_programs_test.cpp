// The table of programs: adding, copying, removing, the active one, contexts, reloading.
#include "tests/shaderloader/loader_fixture.h"

namespace ostra::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

class LoaderProgramsTest : public LoaderTest {};

TEST_F(LoaderProgramsTest, AnAddedProgramIsTheActiveOne) {
  WriteSimpleProgram();
  EXPECT_FALSE(loader->HasProgram("p"_iid));
  EXPECT_TRUE(loader->GetActiveProgramId().IsEmpty());
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  EXPECT_TRUE(loader->HasProgram("p"_iid));
  EXPECT_EQ(loader->GetActiveProgramId(), "p"_iid);
  EXPECT_EQ(loader->GetProgramCount("simple"_s), 1);
  AddProgram("q"_iid, {"simple.vert", "simple.frag"});
  EXPECT_EQ(loader->GetActiveProgramId(), "q"_iid);
  EXPECT_EQ(loader->GetProgramCount("simple"_s), 2);
  EXPECT_EQ(loader->GetProgramCount("simple.vert"_s), 0);
  EXPECT_EQ(loader->GetProgramCount(String()), 0);
  loader->SetActiveProgram("p"_iid);
  EXPECT_EQ(loader->GetActiveProgramId(), "p"_iid);
  loader->SetActiveProgram("nothing"_iid);
  EXPECT_EQ(loader->GetActiveProgramId(), "p"_iid);
  loader->WaitForProgramCompile();
}

TEST_F(LoaderProgramsTest, TheSameIdCannotBeAddedTwice) {
  WriteSimpleProgram();
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  DrawportProgramFactory* factory = *loader->GetActiveProgramFactory();
  EXPECT_THAT(TryAddProgram("p"_iid, {"simple.vert"}),
              IsErrorWith(kIllegalArgumentError, "Shaders have already been added under the given kernelId."));
  EXPECT_EQ(loader->GetActiveProgramId(), "p"_iid);
  EXPECT_EQ(*loader->GetActiveProgramFactory(), factory);
}

TEST_F(LoaderProgramsTest, AFileOfAnotherKindAddsNoProgram) {
  WriteSimpleProgram();
  AddProgram("before"_iid, {"simple.vert", "simple.frag"});
  constexpr const char* kInvalid = "Invalid shader type received. (None of .vert/.frag/.tsc/.tse)";
  for (const char* name : {"model.geom", "vert", "model.vertex", "model.frag.txt"}) {
    EXPECT_THAT(TryAddProgram("p"_iid, {"simple.vert", name}), IsErrorWith(kIllegalArgumentError, kInvalid)) << name;
    EXPECT_FALSE(loader->HasProgram("p"_iid));
    EXPECT_EQ(loader->GetActiveProgramId(), "before"_iid);
  }
}

TEST_F(LoaderProgramsTest, EveryFileNeedsALocation) {
  WriteSimpleProgram();
  constexpr const char* kNoLocation = "shader location needs to be set for initialization of kernel";
  EXPECT_THAT(TryAddProgram("p"_iid, {"simple.vert", ""}), IsErrorWith(kIllegalStateError, kNoLocation));
  EXPECT_THAT(TryAddProgram("p"_iid, {}), IsErrorWith(kIllegalStateError, kNoLocation));
  // Files are looked at in their order, and none is opened before all have been.
  EXPECT_THAT(TryAddProgram("p"_iid, {"", "model.geom"}), IsErrorWith(kIllegalStateError, kNoLocation));
  EXPECT_THAT(TryAddProgram("p"_iid, {"missing.vert", ""}), IsErrorWith(kIllegalStateError, kNoLocation));
  EXPECT_FALSE(loader->HasProgram("p"_iid));
  EXPECT_TRUE(loader->GetActiveProgramId().IsEmpty());
}

TEST_F(LoaderProgramsTest, AMissingFileAndTwoFilesOfOneStageAddNoProgram) {
  WriteSimpleProgram();
  WriteStage("other.vert", {"(attribute Vector32) position"});
  EXPECT_THAT(TryAddProgram("p"_iid, {"simple.vert", "missing.frag"}), Not(IsOk()));
  EXPECT_THAT(TryAddProgram("p"_iid, {"simple.vert", "other.vert"}),
              IsErrorWith(kIllegalArgumentError, "\"simple.vert\" and \"other.vert\" are files of the same stage."));
  // What is wrong with a single file comes first.
  EXPECT_THAT(TryAddProgram("p"_iid, {"simple.vert", "other.vert", "c.geom"}),
              IsErrorWith(kIllegalArgumentError, "Invalid shader type received. (None of .vert/.frag/.tsc/.tse)"));
  EXPECT_THAT(TryAddProgram("p"_iid, {"simple.vert", "other.vert", ""}), IsErrorOfKind(kIllegalStateError));
  EXPECT_FALSE(loader->HasProgram("p"_iid));
}

TEST_F(LoaderProgramsTest, FilesAreFoundWhereKernelsAre) {
  WriteSimpleProgram();
  WriteStage("simple_gpu.frag", {"(Int32) fromGpuVariant", "(out Vector4d32) f_color"});
  WriteStage("bare", {"(Int32) fromBare", "(out Vector4d32) f_color"});
  WriteStage("typed.frag", {"(TYPE) value", "(out Vector4d32) f_color"});
  AddProgram("variant"_iid, {"simple.vert", "simple.frag"});
  AddProgram("bare"_iid, {"simple.vert", "bare.frag"});
  AddProgram("typed"_iid, {"simple.vert", "typed_uint_T_.frag"});
  const auto getLast = [&](const char* id) { return GetDescription(id).GetParameters()[2]; };
  EXPECT_EQ(getLast("variant").name, "fromGpuVariant"_iid);
  EXPECT_EQ(getLast("bare").name, "fromBare"_iid);
  EXPECT_EQ(getLast("typed").name, "value"_iid);
  EXPECT_EQ(getLast("typed").valueType, DrawportShaderValueType::UInt);
  // Other schemes are taken as they are.
  BaseArray<Url> files;
  for (const char* name : {"simple.vert", "simple.frag"})
    ASSERT_THAT(files.Append(*Url::Create((folder / "shaders" / name).string())), IsOk());
  ASSERT_THAT(loader->AddShaders("plain"_iid, files, 0, &pass, DataDictionary(), true), IsOk());
  EXPECT_EQ(getLast("plain").name, "scale"_iid);
}

TEST_F(LoaderProgramsTest, ACopyHasTheFilesOfItsSourceAndTheDefaultState) {
  WriteSimpleProgram();
  DataDictionary parameters;
  ASSERT_THAT(parameters.Set("depthTest"_iid, Int32(1)), IsOk());
  ASSERT_THAT(parameters.Set("useAlphaBlending"_iid, false), IsOk());
  AddProgram("p"_iid, {"simple.vert", "simple.frag"}, parameters);
  ASSERT_THAT(loader->CopyShader("p"_iid, "copy"_iid, 77, &pass, true), IsOk());
  EXPECT_EQ(loader->GetActiveProgramId(), "copy"_iid);
  EXPECT_EQ(loader->GetProgramCount("simple"_s), 2);
  const DrawportStateDescription& copied = (*loader->GetActiveStateObject())->GetDescription();
  EXPECT_EQ(copied.GetDepthTestMode(), DrawportDepthTestMode::Off);
  EXPECT_EQ(copied.GetAlphaBlendingMode(), DrawportAlphaBlendingMode::On);
  loader->SetActiveProgram("p"_iid);
  EXPECT_EQ((*loader->GetActiveStateObject())->GetDescription().GetDepthTestMode(), DrawportDepthTestMode::Less);
}

TEST_F(LoaderProgramsTest, ACopyOfNothingFailsAndACopyOntoItselfDoesNothing) {
  EXPECT_THAT(loader->CopyShader("p"_iid, "q"_iid, 0, &pass, true),
              IsErrorWith(kIllegalArgumentError, "source kernel could not be found"));
  EXPECT_THAT(loader->CopyShader("p"_iid, "p"_iid, 0, &pass, true), IsOk());
  EXPECT_FALSE(loader->HasProgram("p"_iid));
  EXPECT_THAT(TakeCalls(), ElementsAre());
}

TEST_F(LoaderProgramsTest, CopiesShareWhatWasBuiltAndHaveValuesOfTheirOwn) {
  WriteSimpleProgram();
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  ASSERT_THAT(loader->SetUniform("scale"_iid, 2.0f, 0), IsOk());
  DrawportProgramFactory* factory = *loader->GetActiveProgramFactory();
  DrawportParameterValueSet* values = *loader->GetActiveValueSet();
  TakeCalls();
  ASSERT_THAT(loader->CopyShader("p"_iid, "copy"_iid, 0, &pass, true), IsOk());
  EXPECT_EQ(*loader->GetActiveProgramFactory(), factory);
  EXPECT_NE(*loader->GetActiveValueSet(), values);
  EXPECT_THAT(TakeCalls(), Not(Contains("program copy")));
  ASSERT_THAT(loader->SetUniform("scale"_iid, 3.0f, 0), IsOk());
  TakeCalls();
  ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("float 0.scale = 3"));
  loader->SetActiveProgram("p"_iid);
  ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("float 0.scale = 2"));
}

// The shared program keeps the handler of the loader that built it; nothing may lead back to that loader once it is
// gone.
TEST_F(LoaderProgramsTest, TheHandlerOfASharedProgramOutlivesItsLoader) {
  WriteSimpleProgram();
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  const GeneralShaderLoaderRef other = MakeLoader();
  ASSERT_THAT(other->AddShaders("p"_iid, MakeFiles({"simple.vert", "simple.frag"}), 0, &pass, DataDictionary(), true),
              IsOk());
  DrawportProgramFactory* factory = *other->GetActiveProgramFactory();
  EXPECT_EQ(*loader->GetActiveProgramFactory(), factory);
  const DrawportProgramDescription& description = GetDescription("p");
  const auto& parameters = description.GetParameters();
  const Block<const DrawportParameter> block(parameters.GetFirst(), parameters.GetCount());
  DrawportParameterValueSet* values = *other->GetActiveValueSet();
  ASSERT_THAT(loader->SetUniform("scale"_iid, 5.0f, 1), IsOk());
  TakeCalls();
  ASSERT_THAT(description.GetParameterBinder()(*factory, *values, block), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("float 6.scale = 5"));
  loader = nullptr;
  EXPECT_THAT(description.GetParameterBinder()(*factory, *values, block),
              IsErrorWith(kIllegalStateError, "kernel not found"));
  ASSERT_THAT(other->UpdateUniforms(&pass), IsOk());
}

TEST_F(LoaderProgramsTest, RemovingForgetsAProgram) {
  WriteSimpleProgram();
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  AddProgram("q"_iid, {"simple.vert", "simple.frag"});
  EXPECT_THAT(loader->RemoveProgram("p"_iid), IsOk());
  EXPECT_FALSE(loader->HasProgram("p"_iid));
  EXPECT_EQ(loader->GetActiveProgramId(), "q"_iid);
  EXPECT_THAT(loader->RemoveProgram("nothing"_iid), IsOk());
  EXPECT_THAT(loader->RemoveProgram("q"_iid), IsOk());
  EXPECT_TRUE(loader->GetActiveProgramId().IsEmpty());
  EXPECT_THAT(loader->GetActiveProgramFactory(), IsErrorWith(kIllegalStateError, "no active kernel set"));
  AddProgram("q"_iid, {"simple.vert", "simple.frag"});
}

TEST_F(LoaderProgramsTest, WithoutAnActiveProgramEverythingThatNeedsOneSaysSo) {
  const auto needsOne = IsErrorWith(kIllegalStateError, "no active kernel set");
  ASSERT_THAT(loader->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 4), IsOk());
  const Data link = *loader->GetGlobalBufferLink("a"_iid);
  EXPECT_THAT(loader->UpdateActiveProgram(0, &pass), needsOne);
  EXPECT_THAT(loader->UpdateActiveStateSet(0, DataDictionary()), needsOne);
  EXPECT_THAT(loader->SetProgramBufferLink("a"_iid, link, 0), needsOne);
  EXPECT_THAT(loader->GetProgramBufferLink("a"_iid, 0), needsOne);
  EXPECT_THAT(loader->GetProgramBufferData("a"_iid, 0), needsOne);
  EXPECT_THAT(loader->SetBufferToActiveProgram("a"_iid, "b"_iid, 0), needsOne);
  EXPECT_THAT(loader->SetBufferToActiveProgramSameId("nothing"_iid, 0), needsOne);
  EXPECT_THAT(loader->SetVertexBufferToActiveProgramSameId("nothing"_iid), needsOne);
  EXPECT_THAT(loader->SwapInternedIDValues("a"_iid, "b"_iid, 0), needsOne);
  EXPECT_THAT(loader->SetProgramTextureLink("a"_iid, Data(), 0), needsOne);
  EXPECT_THAT(loader->SetTextureToActiveProgram("a"_iid, "b"_iid, 0), needsOne);
  EXPECT_THAT(loader->SetTextureToActiveProgramSameId("a"_iid, 0), needsOne);
  EXPECT_THAT(loader->SetDepthTextureHandleActiveProgram("a"_iid, Data()), needsOne);
  EXPECT_THAT(loader->SetColorTextureHandleActiveProgram("a"_iid, Data()), needsOne);
  EXPECT_THAT(loader->SetAtomicCounterToActiveProgram("a"_iid, 0), needsOne);
  EXPECT_THAT(loader->SetUniform("a"_iid, 1.0f, 0), needsOne);
  EXPECT_THAT(loader->UpdateUniforms(&pass), needsOne);
  EXPECT_THAT(loader->GetActiveStateObject(), needsOne);
  EXPECT_THAT(loader->GetActiveValueSet(), needsOne);
  EXPECT_THAT(loader->GetActiveVertexBuffer(), needsOne);
  EXPECT_THAT(loader->GetActiveVertexBufferCount(), needsOne);
  EXPECT_THAT(loader->GetActiveAttributeBuffer(), needsOne);
  EXPECT_THAT(loader->GetActiveProgramFactory(), needsOne);
  EXPECT_THAT(loader->GetActiveAttributeSet(), needsOne);
  g_checkActiveProgramForUpdatedShaders = true;
  EXPECT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsOk());
}

TEST_F(LoaderProgramsTest, AnIndexOutsideTheFilesIsAnIllegalArgument) {
  WriteSimpleProgram();
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  ASSERT_THAT(loader->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 4), IsOk());
  const Data link = *loader->GetGlobalBufferLink("a"_iid);
  for (const Int32 index : {-1, 2}) {
    const std::string text = "Shader index " + std::to_string(index) + " is outside the 2 files of the program \"p\".";
    const auto isOutside = IsErrorWith(kIllegalArgumentError, text);
    EXPECT_THAT(loader->SetProgramBufferLink("a"_iid, link, index), isOutside);
    EXPECT_THAT(loader->GetProgramBufferLink("a"_iid, index), isOutside);
    EXPECT_THAT(loader->GetProgramBufferData("a"_iid, index), isOutside);
    EXPECT_THAT(loader->SetBufferToActiveProgramSameId("a"_iid, index), isOutside);
    EXPECT_THAT(loader->SwapInternedIDValues("a"_iid, "b"_iid, index), isOutside);
    EXPECT_THAT(loader->SetProgramTextureLink("a"_iid, Data(), index), isOutside);
    EXPECT_THAT(loader->SetTextureToActiveProgramSameId("a"_iid, index), isOutside);
    EXPECT_THAT(loader->SetAtomicCounterToActiveProgram("a"_iid, index), isOutside);
    EXPECT_THAT(loader->SetUniform("a"_iid, 1.0f, index), isOutside);
  }
}

TEST_F(LoaderProgramsTest, WithoutAContextNothingIsBuilt) {
  WriteSimpleProgram();
  loader = *loaderClass->CreateObject<GeneralShaderLoaderInterface>();
  constexpr const char* kNoContext = "There is no drawport context.";
  ASSERT_THAT(loader->Init(*Url::Create(folder.string()), nullptr), IsOk());
  const DrawportContextRef none;
  ASSERT_THAT(loader->Init(*Url::Create(folder.string()), &none), IsOk());
  EXPECT_THAT(TryAddProgram("p"_iid, {"simple.vert", "simple.frag"}), IsErrorWith(kIllegalStateError, kNoContext));
  EXPECT_FALSE(loader->HasProgram("p"_iid));
  EXPECT_THAT(loader->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 4),
              IsErrorWith(kIllegalStateError, kNoContext));
  EXPECT_THAT(loader->StoreVertexBufferData("a"_iid, MakeFloats(3)), IsErrorWith(kIllegalStateError, kNoContext));
  TextureBindData texture;
  EXPECT_THAT(loader->CreateTexture("t"_iid, texture), IsErrorWith(kIllegalStateError, kNoContext));
  EXPECT_THAT(loader->AddAtomicCounter("c"_iid), IsErrorWith(kIllegalStateError, kNoContext));
  EXPECT_THAT(loader->Execute(true), IsOk());  // the host's list, on which nothing is recorded
  EXPECT_THAT(TakeCalls(), ElementsAre());
}

TEST_F(LoaderProgramsTest, OnlyAnotherContextReplacesTheContext) {
  EXPECT_FALSE(loader->UpdateContext(context));
  EXPECT_FALSE(loader->UpdateContext(DrawportContextRef()));
  const DrawportContextRef other = device.MakeContext();
  // A context that is there already is not replaced by Init.
  ASSERT_THAT(loader->Init(*Url::Create(folder.string()), &other), IsOk());
  EXPECT_TRUE(loader->UpdateContext(other));
  EXPECT_FALSE(loader->UpdateContext(other));
  EXPECT_TRUE(loader->UpdateContext(context));
}

TEST_F(LoaderProgramsTest, ExecutePassesItsFlagOn) {
  ASSERT_THAT(loader->Execute(false), IsOk());
  ASSERT_THAT(loader->Execute(true), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("execute 0", "execute 1"));
}

TEST_F(LoaderProgramsTest, AfterResetTheLoaderStartsAnew) {
  WriteSimpleProgram();
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  ASSERT_THAT(loader->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 4), IsOk());
  ASSERT_THAT(loader->Reset(), IsOk());
  EXPECT_FALSE(loader->HasProgram("p"_iid));
  EXPECT_TRUE(loader->GetActiveProgramId().IsEmpty());
  EXPECT_THAT(loader->GetGlobalBufferLink("a"_iid), IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  EXPECT_THAT(TryAddProgram("p"_iid, {"simple.vert", "simple.frag"}),
              IsErrorWith(kIllegalStateError, "There is no drawport context."));
  ASSERT_THAT(loader->Init(*Url::Create(folder.string()), &context), IsOk());
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
}

TEST_F(LoaderProgramsTest, ProgramsThatGoLeaveNoValuesWithTheSharedOne) {
  WriteSimpleProgram();
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  const auto* shared = static_cast<RecordingProgram*>(*loader->GetActiveProgramFactory());
  for (int i = 0; i < 3; ++i) {
    const InternedId id = *InternedId::Create("copy@", i);
    ASSERT_THAT(loader->CopyShader("p"_iid, id, 0, &pass, true), IsOk());
    ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
    EXPECT_EQ(shared->GetValueSetCount(), 2);
    ASSERT_THAT(loader->RemoveProgram(id), IsOk());
    EXPECT_EQ(shared->GetValueSetCount(), 1);
  }
  {
    const GeneralShaderLoaderRef other = MakeLoader();
    ASSERT_THAT(other->AddShaders("p"_iid, MakeFiles({"simple.vert", "simple.frag"}), 0, &pass, DataDictionary(), true),
                IsOk());
    EXPECT_EQ(shared->GetValueSetCount(), 2);
  }
  EXPECT_EQ(shared->GetValueSetCount(), 1);
}

// The next Init has another resource folder, in which there is nothing.
TEST_F(LoaderProgramsTest, ACopyIsMadeOfTheFilesThatTheSourceWasFoundIn) {
  WriteSimpleProgram();
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  WriteStage("simple_gpu.frag", {"(Int32) newer", "(out Vector4d32) f_color"});
  ASSERT_THAT(loader->Init(*Url::Create((folder / "elsewhere").string()), &context), IsOk());
  EXPECT_THAT(TryAddProgram("q"_iid, {"simple.vert", "simple.frag"}), Not(IsOk()));
  ASSERT_THAT(loader->CopyShader("p"_iid, "q"_iid, 0, &pass, true), IsOk());
  EXPECT_EQ(*loader->GetActiveProgramFactory(),
            (loader->SetActiveProgram("p"_iid), *loader->GetActiveProgramFactory()));
}

TEST_F(LoaderProgramsTest, AnotherContextTakesBackValuesAndAnotherDrawportPrograms) {
  WriteSimpleProgram();
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  ASSERT_THAT(loader->CopyShader("p"_iid, "copy"_iid, 0, &pass, true), IsOk());
  ASSERT_THAT(loader->SetUniform("scale"_iid, 3.0f, 0), IsOk());
  DrawportProgramFactory* factory = *loader->GetActiveProgramFactory();
  const DrawportContextRef first = context;
  context = DrawportContextRef::Adopt(NewObj<RecordingContext>(device, first->GetDrawport()));
  ASSERT_TRUE(loader->UpdateContext(context));
  for (const InternedId id : {"p"_iid, "copy"_iid}) {
    loader->SetActiveProgram(id);
    EXPECT_EQ(*loader->GetActiveValueSet(), nullptr);
    EXPECT_EQ(*loader->GetActiveProgramFactory(), factory);
  }
  TakeCalls();
  ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
  EXPECT_TRUE(*loader->GetActiveValueSet());
  EXPECT_THAT(TakeCalls(), Not(Contains("get program")));

  const DrawportContextRef second = context;
  context = device.MakeContext();  // of another drawport
  ASSERT_TRUE(loader->UpdateContext(context));
  EXPECT_EQ(*loader->GetActiveProgramFactory(), nullptr);
  EXPECT_EQ(*loader->GetActiveValueSet(), nullptr);
  TakeCalls();
  ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
  const std::vector<std::string> calls = TakeCalls();
  EXPECT_THAT(calls, Contains("program copy"));
  EXPECT_THAT(calls, Contains("float 0.scale = 3"));
  EXPECT_NE(*loader->GetActiveProgramFactory(), factory);
}

TEST_F(LoaderProgramsTest, ResetForgetsTexturesAndKeepsCounters) {
  TextureBindData texture;
  texture._dimensions = Vec3<UInt32>(2, 2, 1);
  texture._format = TextureFormat::F32;
  texture._numChannels = 1;
  texture._dataSize = 16;
  ASSERT_THAT(loader->CreateTexture("t"_iid, texture), IsOk());
  ASSERT_THAT(loader->AddAtomicCounter("c"_iid), IsOk());
  ASSERT_THAT(loader->SetAtomicCounter("c"_iid, 5), IsOk());
  ASSERT_THAT(loader->Reset(), IsOk());
  EXPECT_EQ(*loader->GetTextureHandle("t"_iid), nullptr);
  EXPECT_TRUE(loader->UpdateContext(context));
  EXPECT_EQ(*loader->GetAtomicCounter("c"_iid), 5u);
}

class LoaderReloadTest : public LoaderTest {
 protected:
  void SetUp() override {
    LoaderTest::SetUp();
    WriteSimpleProgram();
    DataDictionary parameters;
    ASSERT_THAT(parameters.Set("depthTest"_iid, Int32(1)), IsOk());
    AddProgram("p"_iid, {"simple.vert", "simple.frag"}, parameters);
    g_checkActiveProgramForUpdatedShaders = true;
    TakeCalls();
  }
  void ChangeFragmentStage() {
    WriteStage("simple.frag", {"(varying Vector2d32) texUv", "(UInt32) changed", "(out Vector4d32) f_color"}, "", 200);
  }
};

TEST_F(LoaderReloadTest, NoFileIsReadUnlessReloadingIsOn) {
  g_checkActiveProgramForUpdatedShaders = false;
  std::filesystem::remove_all(folder / "shaders");
  EXPECT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsOk());
  g_checkActiveProgramForUpdatedShaders = true;
  EXPECT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), Not(IsOk()));
  EXPECT_THAT(TakeCalls(), ElementsAre());
}

TEST_F(LoaderReloadTest, WhatHasNotChangedIsNotBuiltAgain) {
  EXPECT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre());
}

TEST_F(LoaderReloadTest, AChangedFileIsBuiltBoundAndDrawnWithTheDefaultStateUnderAnotherKey) {
  DrawportProgramFactory* before = *loader->GetActiveProgramFactory();
  DrawportStateObject* stateBefore = *loader->GetActiveStateObject();
  ASSERT_THAT(loader->SetUniform("scale"_iid, 2.0f, 0), IsOk());
  ChangeFragmentStage();
  ASSERT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("get program", "program p", "vertex layout", "vertex set",
                                       "valid program for attributes targets", "valid program for attributes targets",
                                       "value set", "valid program for attributes targets", "value set", "start",
                                       "float 0.scale = 2", "end", "state object"));
  EXPECT_NE(*loader->GetActiveProgramFactory(), before);
  EXPECT_EQ(GetDescription("p").GetParameters()[2].name, "changed"_iid);
  EXPECT_NE(*loader->GetActiveStateObject(), stateBefore);
  EXPECT_EQ((*loader->GetActiveStateObject())->GetDescription().GetDepthTestMode(), DrawportDepthTestMode::Off);
  ASSERT_EQ(GetCache().stateKeys.size(), 2u);
  EXPECT_FALSE(GetCache().stateKeys[0] == GetCache().stateKeys[1]);
  ASSERT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre());
}

// Even with the state that it has by default: the reload's key is made of the program's hash, not of the name's.
TEST_F(LoaderReloadTest, TheStateOfAReloadNeverSharesTheKeyOfAnAddedProgram) {
  WriteStage("plain.vert", {"(attribute Vector32) position"});
  AddProgram("plain"_iid, {"plain.vert"});
  WriteStage("plain.vert", {"(attribute Vector32) position"}, "", 200);
  ASSERT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsOk());
  const auto& keys = GetCache().stateKeys;
  ASSERT_EQ(keys.size(), 3u);
  EXPECT_FALSE(keys[1] == keys[2]);
}

TEST_F(LoaderReloadTest, AFileThatDoesNotTranslateIsReportedOnceAndTheOldProgramStays) {
  DrawportProgramFactory* before = *loader->GetActiveProgramFactory();
  WriteFile("simple.frag", "GROUPSIZE(1)\n", 200);
  EXPECT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsOk());
  EXPECT_EQ(*loader->GetActiveProgramFactory(), before);
  EXPECT_THAT(loader->UpdateUniforms(&pass), IsOk());
  ChangeFragmentStage();
  std::filesystem::last_write_time(folder / "shaders" / "simple.frag",
                                   std::filesystem::file_time_type(std::chrono::seconds(300)));
  EXPECT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsOk());
  EXPECT_NE(*loader->GetActiveProgramFactory(), before);
}

TEST_F(LoaderReloadTest, AFailedBuildLeavesTheOldProgramInUse) {
  DrawportProgramFactory* before = *loader->GetActiveProgramFactory();
  ChangeFragmentStage();
  device.failing = "valid program";
  EXPECT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsErrorWith(kIllegalStateError, "made-up failure"));
  device.failing = "";
  EXPECT_EQ(*loader->GetActiveProgramFactory(), before);
  EXPECT_THAT(loader->UpdateUniforms(&pass), IsOk());
}

TEST_F(LoaderReloadTest, AChangedHeaderIsAChange) {
  WriteFile("headed.inc", "#define KINDNESS 1\n", 100);
  WriteFile("headed.vert", "#include \"headed.inc\"\n" + MakeStageText({"(attribute Vector32) position"}, ""), 100);
  AddProgram("headed"_iid, {"headed.vert"});
  TakeCalls();
  ASSERT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre());
  WriteFile("headed.inc", "#define KINDNESS 2\n", 200);
  ASSERT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("program headed"));
}

// The header that is wrong is new: the last good parse has not read it.
TEST_F(LoaderReloadTest, AWrongHeaderOfAChangedFileIsLookedAtAgain) {
  WriteFile("simple.inc", "struct Open\n{\n\tfloat x;\n", 200);
  ChangeFragmentStage();
  EXPECT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsOk());  // said once
  WriteFile("simple.inc", "#define KINDNESS 1\n", 300);
  TakeCalls();
  EXPECT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("program p"));
}

// It translates, but what the device makes of it fails.
TEST_F(LoaderReloadTest, AHeaderThatTheCompilerRefusesIsLookedAtAgain) {
  WriteFile("simple.inc", "#define KINDNESS missing\n", 200);
  ChangeFragmentStage();
  device.failing = "valid program";
  EXPECT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsErrorWith(kIllegalStateError, "made-up failure"));
  device.failing = "";
  WriteFile("simple.inc", "#define KINDNESS 1\n", 300);
  TakeCalls();
  EXPECT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("program p"));
}

TEST_F(LoaderReloadTest, AnUpdateOfTheProgramBuildsWhatTheFilesHoldNow) {
  g_checkActiveProgramForUpdatedShaders = false;
  ChangeFragmentStage();
  ASSERT_THAT(loader->UpdateActiveProgram("simple"_s.GetHashCode(), &pass), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("program p"));
  g_checkActiveProgramForUpdatedShaders = true;
  EXPECT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre());
}

}  // namespace
}  // namespace ostra::test
