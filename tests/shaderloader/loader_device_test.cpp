// Stage files drawn on the GPU backend of this machine: what a renderer gets from the loader's getters.
#include "tests/shaderloader/loader_device_fixture.h"

namespace ostra::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

TEST_F(LoaderDeviceTest, ATriangleIsDrawnFromStageFiles) {
  WritePlainVertexStage("p.vert");
  WriteColor("p.frag", "vec4(1.0, 0.0, 0.0, 1.0)");
  Add("p"_iid, {"p.vert", "p.frag"});
  StoreVertices({-1, -1, 1, -1, -1, 1});
  const Picture picture = Draw(3);
  EXPECT_EQ(picture.At(0, 7), kRed);
  EXPECT_EQ(picture.At(7, 0), kEmpty);
  EXPECT_EQ(Take(loader->GetActiveVertexBufferCount()), 6);
}

TEST_F(LoaderDeviceTest, EveryStageHasItsOwnValueOfOneName) {
  Write("p.vert", {"(attribute Vector2d32) position", "(Float32) level", "(varying Float32) fromVertex"},
        "\tfromVertex = UNIFORM(level);\n\tOutPosition = vec4(position.x, position.y, 0.5, 1.0);\n");
  Write("p.frag", {"(varying Float32) fromVertex", "(Float32) level", "(out Vector4d32) f_color"},
        "\tf_color = vec4(fromVertex, UNIFORM(level), 0.0, 1.0);\n");
  Add("p"_iid, {"p.vert", "p.frag"});
  StoreAll();
  Take(loader->SetUniform("level"_iid, 0.25f, 0));
  Take(loader->SetUniform("level"_iid, 0.75f, 1));
  EXPECT_EQ(Draw(6).At(3, 3), (Rgba{0.25f, 0.75f, 0, 1}));
  Take(loader->SetUniform("level"_iid, 0.5f, 1));
  EXPECT_EQ(Draw(6).At(3, 3), (Rgba{0.25f, 0.5f, 0, 1}));
}

TEST_F(LoaderDeviceTest, DrawsKeepTheValuesThatTheyWereRecordedWith) {
  WritePlainVertexStage("p.vert");
  Write("p.frag", {"(Vector4d32) tint", "(out Vector4d32) f_color"}, "\tf_color = UNIFORM(tint);\n");
  Add("p"_iid, {"p.vert", "p.frag"});
  StoreVertices({-1, -1, 0, -1, -1, 1, 0, -1, 0, 1, -1, 1, 0, -1, 1, -1, 0, 1, 1, -1, 1, 1, 0, 1});
  Take(renderer->Begin(target, {}));
  for (const auto& [first, tint] : {std::pair(0, Vector4d32(1, 0, 0, 1)), std::pair(6, Vector4d32(0, 1, 0, 1))}) {
    Take(loader->SetUniform("tint"_iid, tint, 1));
    Take(loader->UpdateUniforms(target.GetPointer()));
    DrawportDrawCall call = GetCall(6);
    call.first = first;
    Take(renderer->Draw(call));
  }
  Take(renderer->End());
  const Picture picture = Read(target);
  EXPECT_EQ(picture.Count(kRed), 32);
  EXPECT_EQ(picture.Count(kGreen), 32);
  EXPECT_EQ(picture.At(0, 0), kRed);
}

TEST_F(LoaderDeviceTest, TexturesAreSampledAtTheAttributeUv) {
  Write("p.vert", {"(attribute Vector2d32) position", "(attribute Vector2d32) uv", "(varying Vector2d32) place"},
        "\tplace = uv;\n\tOutPosition = vec4(position.x, position.y, 0.5, 1.0);\n");
  Write("p.frag",
        {"(varying Vector2d32) place", "(const TextureSampler_2D_RGBA_U8_POINT) image", "(out Vector4d32) f_color"},
        "\tf_color = SampleTexture(image, place);\n");
  Add("p"_iid, {"p.vert", "p.frag"});
  StoreVertices({-1, -1, 0, 1, 1, -1, 1, 1, 1, 1, 1, 0, -1, -1, 0, 1, 1, 1, 1, 0, -1, 1, 0, 0});
  const UInt8 texels[] = {255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255, 255, 255, 255};
  TextureBindData data;
  data._dimensions = Vec3<UInt32>(2, 2, 1);
  data._format = TextureFormat::U8;
  data._numChannels = 4;
  data._dataSize = 16;
  data._data = texels;
  Take(loader->StoreTextureBindData("colours"_iid, data, false));
  Take(loader->SetTextureToActiveProgram("colours"_iid, "image"_iid, 1));
  const Picture picture = Draw(6);
  EXPECT_GT(picture.At(0, 0).r, 0.9f);
  EXPECT_EQ(picture.At(0, 0).g, 0.0f);
  EXPECT_GT(picture.At(7, 0).g, 0.9f);
  EXPECT_GT(picture.At(0, 7).b, 0.9f);
  EXPECT_EQ(picture.At(0, 7).r, 0.0f);

  const auto read = Take(loader->GetTextureData("colours"_iid, Vec3<Int32>(0), Vec3<Int32>(0)));
  const auto* record = read.GetIf<SamplingData>();
  ASSERT_TRUE(record);
  ASSERT_EQ(record->_dataSize, 16);
  EXPECT_EQ(std::memcmp(record->_texels, texels, 16), 0);
}

TEST_F(LoaderDeviceTest, RowsThatAreWidenedForTheDeviceAreNotReadIntoTooLittleMemory) {
  TextureBindData data;
  data._dimensions = Vec3<UInt32>(5, 3, 1);
  data._format = TextureFormat::F32;
  data._numChannels = 1;
  data._dataSize = 60;
  Take(loader->CreateTexture("t"_iid, data));
  EXPECT_THAT(loader->GetTextureData("t"_iid, Vec3<Int32>(0), Vec3<Int32>(0)), IsOk());
  SetDrawportRowAlignment(256);
  const auto read = loader->GetTextureData("t"_iid, Vec3<Int32>(0), Vec3<Int32>(0));
  ASSERT_THAT(read, IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(std::string(read.GetError().GetMessage().GetView()), EndsWith("(Minimum of 256 bytes per line)?"));
}

TEST_F(LoaderDeviceTest, StagesReadBuffersAndCount) {
  WritePlainVertexStage("p.vert");
  Write("p.frag", {"(const Block<Vector4d32>) colours", "(AtomicUInt32*) pixels", "(out Vector4d32) f_color"},
        "\tuint old = 0u;\n\tAtomicAdd(GetAtomicCounter(pixels), 1u, old);\n"
        "\tf_color = UNIFORM_BUFFER(colours)[uint(InFragCoord.x) / 4u];\n");
  Add("p"_iid, {"p.vert", "p.frag"});
  StoreAll();
  BaseArray<Vector4d32> colours;
  Take(colours.Append(Vector4d32(1, 0, 0, 1)));
  Take(colours.Append(Vector4d32(0, 0, 1, 1)));
  Take(loader->StoreUniformBufferData("palette"_iid, std::move(colours)));
  Take(loader->SetBufferToActiveProgram("palette"_iid, "colours"_iid, 1));
  Take(loader->AddAtomicCounter("pixels"_iid));
  Take(loader->SetAtomicCounterToActiveProgram("pixels"_iid, 1));
  const Picture picture = Draw(6);
  EXPECT_EQ(picture.Count(kRed), 32);
  EXPECT_EQ(picture.Count(kBlue), 32);
  EXPECT_EQ(Take(loader->GetAtomicCounter("pixels"_iid)), 64u);
  const auto data = Take(loader->GetProgramBufferData("colours"_iid, 1));
  EXPECT_EQ((*data.Get<Array<Vector4d32>>())[1], Vector4d32(0, 0, 1, 1));
}

TEST_F(LoaderDeviceTest, AChangedFileChangesThePicture) {
  Set("g_checkActiveProgramForUpdatedShaders", "true");
  WritePlainVertexStage("p.vert");
  WriteColor("p.frag", "vec4(1.0, 0.0, 0.0, 1.0)");
  Add("p"_iid, {"p.vert", "p.frag"});
  StoreAll();
  EXPECT_EQ(Draw(6).Count(kRed), 64);
  WriteColor("p.frag", "vec4(0.0, 1.0, 0.0, 1.0)");
  EXPECT_EQ(Draw(6).Count(kRed), 64);  // before the first read
  Take(loader->CheckActiveProgramForUpdatedShaders(target.GetPointer()));
  EXPECT_EQ(Draw(6).Count(kGreen), 64);

  // A file that does not compile is reported with its own line, and what was drawn before is drawn on.
  WriteColor("p.frag", "rubbish");
  const Result<void> checked = loader->CheckActiveProgramForUpdatedShaders(target.GetPointer());
  ASSERT_FALSE(checked);
  EXPECT_THAT(std::string(checked.GetError().GetMessage().GetView()), HasSubstr("p.frag:6: error: "));
  EXPECT_EQ(Draw(6).Count(kGreen), 64);
  WriteColor("p.frag", "vec4(0.0, 0.0, 1.0, 1.0)");
  Take(loader->CheckActiveProgramForUpdatedShaders(target.GetPointer()));
  EXPECT_EQ(Draw(6).Count(kBlue), 64);
  Set("g_checkActiveProgramForUpdatedShaders", "false");
}

TEST_F(LoaderDeviceTest, AFileThatDoesNotCompileIsNamedWithItsLineAndLeavesNoProgram) {
  WritePlainVertexStage("p.vert");
  WriteColor("p.frag", "vec4(1.0, missing, 0.0, 1.0)");
  const auto added = TryAdd("p"_iid, {"p.vert", "p.frag"});
  ASSERT_THAT(added, IsErrorOfKind(kIllegalArgumentError));
  const std::string text(added.GetError().GetMessage().GetView());
  EXPECT_THAT(text, HasSubstr("p.frag:6: error: "));
  EXPECT_THAT(text, HasSubstr("missing"));
  EXPECT_FALSE(loader->HasProgram("p"_iid));
  EXPECT_TRUE(loader->GetActiveProgramId().IsEmpty());
  WriteColor("p.frag", "vec4(1.0, 0.0, 0.0, 1.0)");
  Add("p"_iid, {"p.vert", "p.frag"});
  StoreAll();
  EXPECT_EQ(Draw(6).Count(kRed), 64);
}

TEST_F(LoaderDeviceTest, VaryingsThatDoNotMatchAreAnError) {
  Write("p.vert", {"(attribute Vector2d32) position", "(varying Vector2d32) place"},
        "\tplace = position;\n\tOutPosition = vec4(position.x, position.y, 0.5, 1.0);\n");
  Write("type.frag", {"(varying Vector32) place", "(out Vector4d32) f_color"},
        "\tf_color = vec4(place.x, place.y, place.z, 1.0);\n");
  Write("name.frag", {"(varying Vector2d32) other", "(out Vector4d32) f_color"},
        "\tf_color = vec4(other.x, other.y, 0.0, 1.0);\n");
  for (const char* name : {"type.frag", "name.frag"}) {
    EXPECT_THAT(TryAdd("p"_iid, {"p.vert", name}), IsErrorOfKind(kIllegalArgumentError)) << name;
    EXPECT_FALSE(loader->HasProgram("p"_iid));
  }
}

TEST_F(LoaderDeviceTest, WithoutVerticesNothingIsDrawnAndSaidSo) {
  WritePlainVertexStage("p.vert");
  WriteColor("p.frag", "vec4(1.0, 0.0, 0.0, 1.0)");
  Add("p"_iid, {"p.vert", "p.frag"});
  Take(loader->UpdateUniforms(target.GetPointer()));
  Take(renderer->Begin(target, {}));
  EXPECT_FALSE(renderer->Draw(GetCall(3)));
  StoreVertices({-1, -1, 1, -1});
  Take(loader->UpdateUniforms(target.GetPointer()));
  EXPECT_FALSE(renderer->Draw(GetCall(3)));  // one vertex short
  Take(renderer->End());
  EXPECT_EQ(Read(target).Count(kEmpty), 64);
}

TEST_F(LoaderDeviceTest, ATextureOfOtherDimensionsAndOneThatIsMissingAreErrors) {
  WritePlainVertexStage("p.vert");
  Write("p.frag", {"(const TextureSampler_2D_R_F32_POINT) image", "(out Vector4d32) f_color"},
        "\tf_color = vec4(FetchTexture(image, ivec2(0, 0)), 0.0, 0.0, 1.0);\n");
  Add("p"_iid, {"p.vert", "p.frag"});
  StoreAll();
  Take(loader->UpdateUniforms(target.GetPointer()));
  Take(renderer->Begin(target, {}));
  EXPECT_FALSE(renderer->Draw(GetCall(6)));
  Take(renderer->End());
  TextureBindData row;
  row._dimensions = Vec3<UInt32>(4, 1, 1);
  row._format = TextureFormat::F32;
  row._numChannels = 1;
  row._dataSize = 16;
  Take(loader->CreateTexture("image"_iid, row));
  EXPECT_THAT(loader->UpdateUniforms(target.GetPointer()),
              IsErrorWith(kIllegalArgumentError,
                          "The stage's texture \"image\" is a 2D texture, but a 1D texture is linked to it."));
}

TEST_F(LoaderDeviceTest, AnEmptyGradientIsDrawnFromBlackToWhite) {
  WritePlainVertexStage("p.vert");
  Write("p.frag", {"(GradientRenderData) ramp", "(out Vector4d32) f_color"},
        "\tvec3 c = SampleGradient(UNIFORM(ramp), InFragCoord.x / 8.0);\n\tf_color = vec4(c.x, c.y, c.z, 1.0);\n");
  Add("p"_iid, {"p.vert", "p.frag"});
  StoreAll();
  EXPECT_EQ(Draw(6).Count(kBlack), 64);  // never set
  Take(loader->SetUniform("ramp"_iid, GradientRenderData(), 1));
  const Picture ramp = Draw(6);
  for (Int x = 0; x < 8; ++x) {
    EXPECT_EQ(ramp.At(x, 3).r, ramp.At(x, 3).b);
    if (x > 0) {
      EXPECT_GT(ramp.At(x, 3).r, ramp.At(x - 1, 3).r);
    }
  }
  EXPECT_LT(ramp.At(0, 0).r, 0.05f);
  EXPECT_GT(ramp.At(7, 0).r, 0.95f);
  EXPECT_NEAR(ramp.At(3, 0).r + ramp.At(4, 0).r, 1.0f, 0.001f);
  const auto gradient = Take(CreateObject<GradientInterface>(kGradientClass));
  Take(gradient->InsertKnot({.color = Vector32(0, 0, 1), .position = 0.5f}));
  Take(loader->SetUniform("ramp"_iid, Take(gradient->InitRender()), 1));
  EXPECT_EQ(Draw(6).Count(kBlue), 64);
}

TEST_F(LoaderDeviceTest, ParametersOfTheDrawPassDecideDepthAndBlending) {
  WritePlainVertexStage("near.vert", "0.25");
  WritePlainVertexStage("far.vert", "0.75");
  WriteColor("p.frag", "vec4(1.0, 0.0, 0.0, 0.5)");
  DataDictionary parameters;
  Take(parameters.Set("depthTest"_iid, Int32(1)));
  Add("far"_iid, {"far.vert", "p.frag"}, parameters);
  StoreAll();
  Take(loader->UpdateUniforms(target.GetPointer()));
  const DrawportDrawCall farCall = GetCall(6);
  Add("near"_iid, {"near.vert", "p.frag"}, parameters);
  StoreAll();
  Take(loader->UpdateUniforms(target.GetPointer()));
  const DrawportDrawCall nearCall = GetCall(6);
  DrawportClearValues clear;
  clear.colors[0] = {0, 0, 1, 1};
  // Blending is on unless it is switched off.
  DrawInto(target, {nearCall, farCall}, clear);
  EXPECT_EQ(Read(target).At(3, 3), (Rgba{0.5f, 0, 0.5f, 1.5f}));
  DrawInto(target, {farCall, nearCall}, clear);
  EXPECT_EQ(Read(target).At(3, 3), (Rgba{0.75f, 0, 0.25f, 2}));
  Take(parameters.Set("useAlphaBlending"_iid, false));
  Take(loader->UpdateActiveStateSet(1, parameters));
  DrawInto(target, {farCall, GetCall(6)}, clear);
  EXPECT_EQ(Read(target).At(3, 3), (Rgba{1, 0, 0, 0.5f}));
}

TEST_F(LoaderDeviceTest, CopiesAndOtherLoadersDrawTheSharedProgramWithTheirOwnValues) {
  WritePlainVertexStage("p.vert");
  Write("p.frag", {"(Vector4d32) tint", "(out Vector4d32) f_color"}, "\tf_color = UNIFORM(tint);\n");
  Add("p"_iid, {"p.vert", "p.frag"});
  StoreAll();
  Take(loader->SetUniform("tint"_iid, Vector4d32(1, 0, 0, 1), 1));
  EXPECT_EQ(Draw(6).Count(kRed), 64);
  Take(loader->CopyShader("p"_iid, "copy"_iid, 0, target.GetPointer(), true));
  Take(loader->SetVertexBufferToActiveProgramSameId("vertices"_iid));
  Take(loader->SetUniform("tint"_iid, Vector4d32(0, 1, 0, 1), 1));
  EXPECT_EQ(Draw(6).Count(kGreen), 64);
  const GeneralShaderLoaderRef first = loader;
  loader = MakeLoader();
  Add("p"_iid, {"p.vert", "p.frag"});
  EXPECT_EQ(Take(loader->GetActiveProgramFactory()), Take(first->GetActiveProgramFactory()));
  StoreAll();
  Take(loader->SetUniform("tint"_iid, Vector4d32(0, 0, 1, 1), 1));
  EXPECT_EQ(Draw(6).Count(kBlue), 64);
  loader = first;
  loader->SetActiveProgram("p"_iid);
  EXPECT_EQ(Draw(6).Count(kRed), 64);
}

// Values belong to a context; the program is that of the device.
TEST_F(LoaderDeviceTest, AnotherContextOfTheDeviceDrawsOn) {
  WritePlainVertexStage("p.vert");
  Write("p.frag", {"(Vector4d32) tint", "(out Vector4d32) f_color"}, "\tf_color = UNIFORM(tint);\n");
  Add("p"_iid, {"p.vert", "p.frag"});
  StoreAll();
  Take(loader->SetUniform("tint"_iid, Vector4d32(1, 0, 0, 1), 1));
  Take(loader->CopyShader("p"_iid, "copy"_iid, 0, target.GetPointer(), true));
  Take(loader->SetVertexBufferToActiveProgramSameId("vertices"_iid));
  Take(loader->SetUniform("tint"_iid, Vector4d32(0, 1, 0, 1), 1));
  EXPECT_EQ(Draw(6).Count(kGreen), 64);

  const DrawportContextRef first = _context;
  _context = Take(_drawport->CreateOffscreenRenderContext(false, 0));
  ASSERT_TRUE(loader->UpdateContext(_context));
  EXPECT_EQ(Take(loader->GetActiveValueSet()), nullptr);
  DrawportRenderer other(_context);
  DrawportRenderTargetRef otherTarget;
  {
    DrawportRenderTargetDescription description = target->GetDescription();
    otherTarget = Take(other.CreateTarget(description));
  }
  for (const auto& [id, color] : {std::pair("p"_iid, kRed), std::pair("copy"_iid, kGreen)}) {
    loader->SetActiveProgram(id);
    Take(other.Begin(otherTarget, {}));
    EXPECT_FALSE(other.Draw(GetCall(6)));  // its values are gone
    Take(loader->UpdateUniforms(otherTarget.GetPointer()));
    Take(other.Draw(GetCall(6)));
    Take(other.End());
    const Image image = Take(other.ReadImage(*otherTarget, 0));
    EXPECT_EQ(image.rgba[0], color.r);
    EXPECT_EQ(image.rgba[1], color.g);
  }
}

TEST_F(LoaderDeviceTest, WhatWasRecordedBeforeAnotherContextOrAResetIsThere) {
  for (const Bool resets : {false, true}) {
    SCOPED_TRACE(resets);
    SetDrawportDirectMapping(false);  // so that values are recorded and not written at once
    _context = Take(_drawport->CreateOffscreenRenderContext(false, 0));
    loader = MakeLoader();
    Take(loader->AddAtomicCounter("hits"_iid));
    Take(loader->SetAtomicCounter("hits"_iid, 12));
    if (resets) Take(loader->Reset());
    _context = Take(_drawport->CreateOffscreenRenderContext(false, 0));
    if (resets)
      Take(loader->Init(*Url::Create(folder.string()), &_context));
    else
      EXPECT_TRUE(loader->UpdateContext(_context));
    EXPECT_EQ(Take(loader->GetAtomicCounter("hits"_iid)), 12u);
  }
}

// The values of a program go with it; draws that are recorded keep theirs.
TEST_F(LoaderDeviceTest, WhatARemovedProgramHasDrawnStays) {
  WritePlainVertexStage("p.vert");
  Write("p.frag", {"(Vector4d32) tint", "(out Vector4d32) f_color"}, "\tf_color = UNIFORM(tint);\n");
  Add("p"_iid, {"p.vert", "p.frag"});
  const std::vector<Rgba> colors = {kRed, kGreen, kBlue, kRed};
  Take(renderer->Begin(target, {}));
  for (std::size_t i = 0; i < colors.size(); ++i) {
    const InternedId id = *InternedId::Create("copy@", static_cast<Int>(i));
    Take(loader->CopyShader("p"_iid, id, 0, target.GetPointer(), true));
    const Float32 left = -1 + 0.5f * static_cast<Float32>(i), right = left + 0.5f;
    Take(loader->StoreVertexBufferData(
        id, MakeArray<Float32>({left, -1, right, -1, right, 1, left, -1, right, 1, left, 1})));
    Take(loader->SetVertexBufferToActiveProgramSameId(id));
    Take(loader->SetUniform("tint"_iid, Vector4d32(colors[i].r, colors[i].g, colors[i].b, 1), 1));
    Take(loader->UpdateUniforms(target.GetPointer()));
    Take(renderer->Draw(GetCall(6)));
    Take(loader->RemoveProgram(id));
    Take(loader->DeleteUniformBuffer(id));
  }
  Take(renderer->End());
  const Picture picture = Read(target);
  for (Int x = 0; x < 8; ++x) EXPECT_EQ(picture.At(x, 4), colors[static_cast<std::size_t>(x / 2)]) << x;
}

}  // namespace
}  // namespace ostra::test
