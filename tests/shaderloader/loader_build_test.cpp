// How programs are built: keys, what the GPU layer is told about stages, attributes.
#include "parallelprogram/device/cache_keys.h"
#include "tests/shaderloader/loader_fixture.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class LoaderBuildTest : public LoaderTest {
 protected:
  int halfStamp = 200;
  static std::vector<std::string> GetFeatures(const DrawportProgramDescription& description) {
    std::vector<std::string> features;
    for (const auto& use : description.GetRequiredFeatures())
      features.push_back(std::to_string(static_cast<int>(use.stage)) + ":" +
                         std::to_string(static_cast<int>(use.feature)));
    return features;
  }
  static std::vector<std::string> GetVaryings(const DrawportProgramDescription& description) {
    std::vector<std::string> varyings;
    for (const DrawportVarying& varying : description.GetVaryings())
      varyings.push_back(std::to_string(static_cast<int>(varying.from)) + ">" +
                         std::to_string(static_cast<int>(varying.to)) + " " +
                         std::to_string(static_cast<int>(varying.type)) + " " + std::string(varying.name.GetView()));
    return varyings;
  }
  static std::vector<std::string> GetOutputs(const DrawportProgramDescription& description) {
    std::vector<std::string> outputs;
    for (const DrawportColorOutput& output : description.GetColorOutputs())
      outputs.push_back(std::to_string(output.target) + " " + std::string(output.name.GetView()));
    return outputs;
  }
  static const DrawportParameter* FindParameter(const DrawportProgramDescription& description, DrawportStage stage,
                                                InternedId name) {
    for (const DrawportParameter& parameter : description.GetParameters())
      if (parameter.stage == stage && parameter.name == name) return &parameter;
    return nullptr;
  }
};

TEST_F(LoaderBuildTest, AProgramIsBuiltInThisOrder) {
  WriteSimpleProgram();
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  EXPECT_THAT(TakeCalls(), ElementsAre("get program", "program p", "vertex layout", "vertex set",
                                       "valid program for attributes targets", "valid program for attributes targets",
                                       "value set", "state object"));
}

TEST_F(LoaderBuildTest, WithoutADrawPassItIsBuiltForAnyTargets) {
  WriteSimpleProgram();
  ASSERT_THAT(
      loader->AddShaders("p"_iid, MakeFiles({"simple.vert", "simple.frag"}), 0, nullptr, DataDictionary(), true),
      IsOk());
  EXPECT_THAT(TakeCalls(), testing::Contains("valid program for attributes"));
}

TEST_F(LoaderBuildTest, StagesAreDescribedToTheGpuLayer) {
  WriteSimpleProgram();
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  const DrawportProgramDescription& p = GetDescription("p");
  EXPECT_TRUE(p.HasStage(DrawportStage::Vertex));
  EXPECT_TRUE(p.HasStage(DrawportStage::Fragment));
  EXPECT_THAT(GetFeatures(p), ElementsAre("6:4"));
  EXPECT_THAT(GetVaryings(p), ElementsAre("0>6 2 texUv"));
  EXPECT_THAT(GetOutputs(p), ElementsAre("0 f_color"));
  EXPECT_EQ(p.GetDepthWriteMode(), DrawportDepthWriteMode::Off);
  ASSERT_EQ(p.GetAttributes().GetCount(), 2);
  EXPECT_EQ(p.GetAttributes()[0].name, "position"_iid);
  EXPECT_EQ(p.GetAttributes()[0].type, DrawportShaderValueType::Float3);
  EXPECT_EQ(p.GetAttributes()[1].name, "uv"_iid);
  EXPECT_EQ(p.GetDebugLabel(), "p"_s);
  // One name in two stages is two parameters.
  ASSERT_EQ(p.GetParameters().GetCount(), 3);
  EXPECT_TRUE(FindParameter(p, DrawportStage::Vertex, "scale"_iid));
  EXPECT_TRUE(FindParameter(p, DrawportStage::Fragment, "scale"_iid));
  EXPECT_EQ(FindParameter(p, DrawportStage::Vertex, "transform"_iid)->valueType, DrawportShaderValueType::Matrix4);
}

TEST_F(LoaderBuildTest, VaryingsGoFromEachStageToTheNextOneThatIsThere) {
  WriteStage("t.vert", {"(attribute Vector32) position", "(varying Vector32) normal"});
  WriteStage("t.tsc", {"(varying Vector32) normal"});
  WriteStage("t.tse", {"(varying Vector32) normal", "(varying Float32) height"});
  WriteStage("t.frag", {"(varying Vector32) normal", "(varying Float32) height", "(out Vector4d32) f_color"});
  // The order of the files is that of shader indices, not of stages.
  AddProgram("p"_iid, {"t.frag", "t.tse", "t.vert", "t.tsc"});
  EXPECT_THAT(GetVaryings(GetDescription("p")),
              ElementsAre("2>6 3 normal", "2>6 1 height", "0>1 3 normal", "1>2 3 normal"));
}

TEST_F(LoaderBuildTest, OutVariablesAreColoursTransparencyAndDepthByTheirNames) {
  WriteStage("o.vert", {"(attribute Vector32) position"});
  WriteStage("o.frag", {"(out Vector4d32) transparencyMask", "(out Vector4d32) f_color", "(out Float32) f_depth",
                        "(out Vector4d32) colorNormal"});
  AddProgram("p"_iid, {"o.vert", "o.frag"});
  EXPECT_THAT(GetOutputs(GetDescription("p")), ElementsAre("0 f_color", "1 colorNormal", "2 f_transparency"));
  EXPECT_EQ(GetDescription("p").GetDepthWriteMode(), DrawportDepthWriteMode::On);
  WriteStage("odd.frag", {"(out Vector4d32) albedo"});
  EXPECT_THAT(TryAddProgram("q"_iid, {"o.vert", "odd.frag"}),
              IsErrorWith(kIllegalArgumentError,
                          "The out variable \"albedo\" is none: the name of one holds \"color\", \"transparency\" or "
                          "\"depth\"."));
  WriteStage("both.frag", {"(out Vector4d32) color_depth"});
  EXPECT_THAT(TryAddProgram("q"_iid, {"o.vert", "both.frag"}),
              IsErrorWith(kIllegalArgumentError, "The name of the out variable \"color_depth\" says two things."));
}

TEST_F(LoaderBuildTest, VariablesInTheWrongStageAreRefused) {
  WriteSimpleProgram();
  WriteStage("out.vert", {"(out Vector4d32) f_color"});
  WriteStage("attribute.frag", {"(attribute Vector32) position"});
  WriteStage("attribute.tse", {"(attribute Vector32) position"});
  constexpr const char* kOut = "out variables only allowed for fragment shaders.";
  constexpr const char* kAttribute = "attribute variables only allowed for vertex shaders.";
  EXPECT_THAT(TryAddProgram("p"_iid, {"out.vert", "simple.frag"}), IsErrorWith(kIllegalArgumentError, kOut));
  EXPECT_THAT(TryAddProgram("p"_iid, {"simple.vert", "attribute.frag"}),
              IsErrorWith(kIllegalArgumentError, kAttribute));
  EXPECT_THAT(TryAddProgram("p"_iid, {"simple.vert", "attribute.tse"}), IsErrorWith(kIllegalArgumentError, kAttribute));
  // So are buffers, which no stage hands on.
  WriteStage("buffer.vert", {"(out Block<Float32>) values"});
  WriteStage("buffer.frag", {"(attribute Block<Float32>) values"});
  WriteStage("varying.frag", {"(varying Block<Float32>) values"});
  WriteStage("output.frag", {"(out Block<Float32>) values"});
  constexpr const char* kMask = "UniformTypeMask was not correctly set.";
  EXPECT_THAT(TryAddProgram("p"_iid, {"buffer.vert", "simple.frag"}), IsErrorWith(kIllegalArgumentError, kOut));
  EXPECT_THAT(TryAddProgram("p"_iid, {"simple.vert", "buffer.frag"}), IsErrorWith(kIllegalArgumentError, kAttribute));
  EXPECT_THAT(TryAddProgram("p"_iid, {"simple.vert", "varying.frag"}), IsErrorWith(kIllegalArgumentError, kMask));
  EXPECT_THAT(TryAddProgram("p"_iid, {"simple.vert", "output.frag"}), IsErrorWith(kIllegalArgumentError, kMask));
  EXPECT_FALSE(loader->HasProgram("p"_iid));
}

TEST_F(LoaderBuildTest, NoisesAndOddTypesOfVariablesAreRefused) {
  WriteSimpleProgram();
  WriteStage("noise.frag", {"(out Vector4d32) f_color"}, "\tADDNOISECALL\n\tfloat x = 0.0;\n");
  const auto noisy = TryAddProgram("p"_iid, {"simple.vert", "noise.frag"});
  ASSERT_THAT(noisy, IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(std::string(noisy.GetError().GetMessage().GetView()),
              testing::EndsWith("noise.frag: error: stages of graphics programs have no noises"));
  WriteStage("half.vert", {"(attribute Vec2<HalfFloat>) place"});
  EXPECT_THAT(TryAddProgram("p"_iid, {"half.vert", "simple.frag"}), IsErrorOfKind(kIllegalArgumentError));
  for (const char* type : {"HalfFloat", "half4"}) {
    WriteStage("half.vert", {"(attribute " + std::string(type) + ") place"}, "", ++halfStamp);
    EXPECT_THAT(TryAddProgram("p"_iid, {"half.vert", "simple.frag"}), IsErrorOfKind(kIllegalArgumentError)) << type;
  }
  EXPECT_FALSE(loader->HasProgram("p"_iid));
}

TEST_F(LoaderBuildTest, AttributesLieBesideEachOtherInTheOrderOfTheFile) {
  WriteStage("a.vert", {"(attribute Vector32) position", "(Float32) scale", "(attribute Vector2d32) uv",
                        "(attribute Vector4d32) tint", "(attribute UInt32) number"});
  AddProgram("p"_iid, {"a.vert"});
  const DrawportVertexAttributeLayout& layout = (*loader->GetActiveAttributeSet())->GetLayout();
  std::vector<std::string> attributes;
  for (const DrawportVertexAttribute& attribute : layout.GetAttributes())
    attributes.push_back(std::string(attribute.name.GetView()) + " " + std::to_string(attribute.offset) + " " +
                         std::to_string(static_cast<int>(attribute.type)));
  EXPECT_THAT(attributes, ElementsAre("position 0 3", "uv 12 2", "tint 20 4", "number 36 18"));
  EXPECT_EQ(layout.GetStride(), 40);
  EXPECT_FALSE(layout.IsPerInstance());
}

TEST_F(LoaderBuildTest, TheKeyIsMadeOfStampsAndHashCode) {
  WriteSimpleProgram();
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  ASSERT_THAT(loader->UpdateActiveProgram("simple"_s.GetHashCode(), &pass), IsOk());
  ASSERT_THAT(loader->UpdateActiveProgram(4711, &pass), IsOk());
  const auto& keys = GetCache().programKeys;
  ASSERT_EQ(keys.size(), 3u);
  EXPECT_TRUE(keys[0] == keys[1]);
  EXPECT_FALSE(keys[0] == keys[2]);
  // Value sets are those of this loader and of the program's name and ID.
  const UInt64 hash = AppendToKey(MixKey("simple"_s.GetHashCode()), "p"_iid.GetHashCode());
  for (const auto& [owner, programHash] : device.valueSets) {
    EXPECT_EQ(owner, device.valueSets[0].first);
    EXPECT_EQ(programHash, hash);
  }
}

TEST_F(LoaderBuildTest, TargetsOfAnotherFormatOrSampleCountNeedAnotherProgram) {
  WriteSimpleProgram();
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  pass.sampleCount = 4;
  ASSERT_THAT(loader->UpdateActiveProgram("simple"_s.GetHashCode(), &pass), IsOk());
  pass.formats.push_back(*GetPixelFormat("net.ostra.image.pixelformat.rgba.u8"_id));
  ASSERT_THAT(loader->UpdateActiveProgram("simple"_s.GetHashCode(), &pass), IsOk());
  const auto& keys = GetCache().programKeys;
  ASSERT_EQ(keys.size(), 3u);
  EXPECT_FALSE(keys[0] == keys[1]);
  EXPECT_FALSE(keys[1] == keys[2]);
}

// Both have the name "simple", and files that are equally old.
TEST_F(LoaderBuildTest, ProgramsOfOtherFilesWithEqualStampsAreBuiltApart) {
  WriteSimpleProgram();
  WriteStage("other.frag", {"(UInt32) another", "(out Vector4d32) f_color"});
  WriteStage("sub/simple.vert", {"(attribute Vector4d32) position"});
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  DrawportProgramFactory* first = *loader->GetActiveProgramFactory();
  AddProgram("q"_iid, {"simple.vert", "other.frag"});
  DrawportProgramFactory* second = *loader->GetActiveProgramFactory();
  EXPECT_NE(first, second);
  EXPECT_TRUE(FindParameter(GetDescription("q"), DrawportStage::Fragment, "another"_iid));
  AddProgram("r"_iid, {"sub/simple.vert", "simple.frag"});
  EXPECT_NE(*loader->GetActiveProgramFactory(), first);
  EXPECT_EQ(GetDescription("r").GetAttributes()[0].type, DrawportShaderValueType::Float4);
  AddProgram("s"_iid, {"simple.vert", "simple.frag"});
  EXPECT_EQ(*loader->GetActiveProgramFactory(), first);
}

TEST_F(LoaderBuildTest, TemplateArgumentsAndSampleCountsTellProgramsApart) {
  WriteSimpleProgram();
  WriteStage("typed.frag", {"(TYPE) value", "(out Vector4d32) f_color"});
  AddProgram("uint"_iid, {"simple.vert", "typed_uint_T_.frag"});
  AddProgram("float"_iid, {"simple.vert", "typed_float_T_.frag"});
  EXPECT_EQ(FindParameter(GetDescription("uint"), DrawportStage::Fragment, "value"_iid)->valueType,
            DrawportShaderValueType::UInt);
  EXPECT_EQ(FindParameter(GetDescription("float"), DrawportStage::Fragment, "value"_iid)->valueType,
            DrawportShaderValueType::Float);
  AddProgram("one"_iid, {"simple.vert", "simple.frag"});
  DrawportProgramFactory* one = *loader->GetActiveProgramFactory();
  DataDictionary parameters;
  ASSERT_THAT(parameters.Set("multiSampling"_iid, Int32(4)), IsOk());
  AddProgram("four"_iid, {"simple.vert", "simple.frag"}, parameters);
  EXPECT_NE(*loader->GetActiveProgramFactory(), one);
}

TEST_F(LoaderBuildTest, SeveralSamplesAskForTheirFeatureAndChangeTheTranslation) {
  WriteStage("m.vert", {"(attribute Vector32) position"});
  WriteStage("m.frag", {"(out Vector4d32) f_color"},
             "\tONLY_USE_FIRST_MSAA_SAMPLE\n\tf_color = vec4(1.0, 1.0, 1.0, 1.0);\n");
  DataDictionary parameters;
  ASSERT_THAT(parameters.Set("multiSampling"_iid, Int32(4)), IsOk());
  AddProgram("four"_iid, {"m.vert", "m.frag"}, parameters);
  AddProgram("one"_iid, {"m.vert", "m.frag"});
  EXPECT_THAT(GetFeatures(GetDescription("four")), ElementsAre("6:7", "6:4"));
  EXPECT_THAT(GetFeatures(GetDescription("one")), ElementsAre("6:4"));
  const auto getBody = [&](const char* id) {
    return std::string(
        GetDescription(id).MakeShaderRecords(DrawportStage::Fragment, kShadingLanguageGlsl)->body.text.GetView());
  };
  EXPECT_THAT(getBody("four"), testing::HasSubstr("if (InSampleID > 0) discard;"));
  EXPECT_THAT(getBody("one"), Not(testing::HasSubstr("InSampleID")));
  ASSERT_THAT(parameters.Set("multiSampling"_iid, 4.0f), IsOk());
  EXPECT_THAT(TryAddProgram("bad"_iid, {"m.vert", "m.frag"}, parameters), IsErrorOfKind(kIllegalArgumentError));
}

TEST_F(LoaderBuildTest, TexturesOfTheDrawPassAreThereForStagesThatNameThem) {
  WriteStage("d.vert", {"(attribute Vector32) position"});
  WriteStage("d.frag", {"(varying Vector2d32) texUv", "(out Vector4d32) f_color"},
             "\tf_color = SampleTexture(colorTexture, texUv) * SampleTexture(depthTexture, texUv).x;\n");
  WriteStage("e.frag", {"(const TextureSampler_2D_RGBA_F32_POINT) colorTexture", "(out Vector4d32) f_color"},
             "\tfloat mydepthTexture = 1.0;\n");
  AddProgram("both"_iid, {"d.vert", "d.frag"});
  const DrawportProgramDescription& both = GetDescription("both");
  const DrawportParameter* depth = FindParameter(both, DrawportStage::Fragment, "depthTexture"_iid);
  const DrawportParameter* color = FindParameter(both, DrawportStage::Fragment, "colorTexture"_iid);
  ASSERT_TRUE(depth && color);
  EXPECT_EQ(depth->kind, DrawportParameterKind::Texture);
  EXPECT_EQ(depth->format->channels, 1);
  EXPECT_EQ(color->format->channels, 4);
  EXPECT_FALSE(FindParameter(both, DrawportStage::Vertex, "colorTexture"_iid));
  AddProgram("declared"_iid, {"d.vert", "e.frag"});
  EXPECT_FALSE(FindParameter(GetDescription("declared"), DrawportStage::Fragment, "depthTexture"_iid));
  EXPECT_FALSE(FindParameter(GetDescription("declared"), DrawportStage::Fragment, "colorTexture"_iid)->isLinear);
}

TEST_F(LoaderBuildTest, ParsersAreSharedByLoadersAndForgottenWithTheModule) {
  WriteSimpleProgram();
  EXPECT_EQ(GetCachedStageParserCount(), 0);
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  EXPECT_EQ(GetCachedStageParserCount(), 2);
  const GeneralShaderLoaderRef other = MakeLoader();
  ASSERT_THAT(other->AddShaders("p"_iid, MakeFiles({"simple.vert", "simple.frag"}), 0, &pass, DataDictionary(), true),
              IsOk());
  EXPECT_EQ(GetCachedStageParserCount(), 2);
  ResetStageParserCache();
  EXPECT_EQ(GetCachedStageParserCount(), 0);
  EXPECT_THAT(loader->UpdateUniforms(&pass), IsOk());
}

TEST_F(LoaderBuildTest, TheFirstErrorOfTheGpuLayerIsReturnedAndNothingStays) {
  WriteSimpleProgram();
  for (const char* call :
       {"get program", "program", "vertex layout", "vertex set", "valid program", "value set", "state object"}) {
    device.failing = call;
    EXPECT_THAT(TryAddProgram("p"_iid, {"simple.vert", "simple.frag"}),
                IsErrorWith(kIllegalStateError, "made-up failure"))
        << call;
    EXPECT_FALSE(loader->HasProgram("p"_iid));
    EXPECT_TRUE(loader->GetActiveProgramId().IsEmpty());
  }
  device.failing = "";
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
}

TEST_F(LoaderBuildTest, HashCodesAndWaitingAreIgnored) {
  WriteSimpleProgram();
  ASSERT_THAT(loader->AddShaders("p"_iid, MakeFiles({"simple.vert", "simple.frag"}), 1, &pass, DataDictionary(), false),
              IsOk());
  ASSERT_THAT(loader->AddShaders("q"_iid, MakeFiles({"simple.vert", "simple.frag"}), 2, &pass, DataDictionary(), true),
              IsOk());
  EXPECT_TRUE(GetCache().programKeys[0] == GetCache().programKeys[1]);
}

// The sum of the stamps stays the same.
TEST_F(LoaderBuildTest, FilesThatHaveExchangedTheirStampsHaveChanged) {
  WriteSimpleProgram();
  WriteStage("simple.frag", {"(Float32) before", "(out Vector4d32) f_color"}, "", 200);
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  WriteStage("simple.vert", {"(attribute Vector32) position"}, "", 200);
  WriteStage("simple.frag", {"(Float32) after", "(out Vector4d32) f_color"}, "", 100);
  g_checkActiveProgramForUpdatedShaders = true;
  ASSERT_THAT(loader->CheckActiveProgramForUpdatedShaders(&pass), IsOk());
  EXPECT_TRUE(FindParameter(GetDescription("p"), DrawportStage::Fragment, "after"_iid));
  EXPECT_EQ(GetCachedStageParserCount(), 2);  // in place of those before
}

TEST_F(LoaderBuildTest, ADeviceWithoutTranslationSaysSo) {
  WriteSimpleProgram();
  device.language = kShadingLanguageGlslEs;
  context = device.MakeContext();
  loader = MakeLoader();
  EXPECT_THAT(TryAddProgram("p"_iid, {"simple.vert", "simple.frag"}),
              IsErrorWith(kIllegalStateError, "parser could not be build"));
  EXPECT_FALSE(loader->HasProgram("p"_iid));
}

}  // namespace
}  // namespace ostra::test
