// The interfaces of the GPU layer without a GPU: the null backend, descriptions of programs, the function cache.
#include <gmock/gmock.h>

#include "ostra/drawport/gpu_compute.h"
#include "ostra/drawport/null_backend.h"
#include "ostra/drawport/selector_test.h"
#include "ostra/drawport/settings.h"
#include "ostra/object/class.h"
#include "tests/support/fault_injection.h"
#include "tests/support/result_matchers.h"
#include "tests/support/texts.h"

using namespace ostra;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr DrawportStage kCompute = DrawportStage::Compute;

// Programs store and pass on these numbers.
static_assert(static_cast<int>(DrawportFeature::ComputeShader) == 2);
static_assert(static_cast<int>(DrawportFeature::ShaderStorageBuffer) == 4);
static_assert(static_cast<int>(DrawportFeature::MultisampleTexture) == 7);
static_assert(static_cast<int>(DrawportFeature::ImageLoadStore) == 11);
static_assert(static_cast<int>(DrawportFeature::AtomicOperations) == 43);
static_assert(static_cast<int>(DrawportFeature::ShaderHalfFloat) == 50);
static_assert(static_cast<int>(DrawportCapability::BufferTransferChunk) == 0xC9);
static_assert(static_cast<int>(DrawportCapability::TextureStagingCapacity) == 0xCA);
static_assert(static_cast<int>(DrawportCapability::ReadBackStagingCapacity) == 0xCB);
static_assert(static_cast<int>(DrawportCapability::SubBufferAlignment) == 0x405);
static_assert(static_cast<unsigned>(DrawportBarrierBits::StorageBuffer) == 0x4000);
static_assert(static_cast<unsigned>(DrawportBarrierBits::Texture) == 0x88);
static_assert(static_cast<int>(DrawportStage::Fragment) == 6 && static_cast<int>(DrawportStage::Compute) == 7);
static_assert(static_cast<int>(DrawportStage::Vertex) == 0 &&
              static_cast<int>(DrawportStage::TessellationControl) == 1 &&
              static_cast<int>(DrawportStage::TessellationEvaluation) == 2);
static_assert(static_cast<unsigned>(DrawportPixelFormatAccess::Sampled) == 1 &&
              static_cast<unsigned>(DrawportPixelFormatAccess::Filtered) == 2 &&
              static_cast<unsigned>(DrawportPixelFormatAccess::ShaderReadWrite) == 4 &&
              static_cast<unsigned>(DrawportPixelFormatAccess::RenderTarget) == 8);
static_assert(static_cast<unsigned>(DrawportBarrierBits::TextureFetch) == 0x08 &&
              static_cast<unsigned>(DrawportBarrierBits::TextureUpdate) == 0x80);
static_assert(static_cast<int>(DrawportMapMode::Read) == 1 && static_cast<int>(DrawportMapMode::WriteDiscard) == 8 &&
              static_cast<int>(DrawportUnmapMode::Commit) == 1);
static_assert(static_cast<int>(DrawportStagingUse::BufferUpload) == 0 &&
              static_cast<int>(DrawportStagingUse::HostReadWrite) == 4 &&
              static_cast<int>(DrawportStagingUse::HostRead) == 0x20 &&
              static_cast<int>(DrawportSubBufferUse::General) == 4);
static_assert(static_cast<int>(DrawportShaderValueType::Float) == 1 &&
              static_cast<int>(DrawportShaderValueType::Float2) == 2 &&
              static_cast<int>(DrawportShaderValueType::Float3) == 3 &&
              static_cast<int>(DrawportShaderValueType::Float4) == 4 &&
              static_cast<int>(DrawportShaderValueType::Matrix2) == 5 &&
              static_cast<int>(DrawportShaderValueType::Matrix3) == 6 &&
              static_cast<int>(DrawportShaderValueType::Matrix4) == 7);
static_assert(
    static_cast<int>(DrawportShaderValueType::Int) == 14 && static_cast<int>(DrawportShaderValueType::Int2) == 15 &&
    static_cast<int>(DrawportShaderValueType::Int3) == 16 && static_cast<int>(DrawportShaderValueType::Int4) == 17 &&
    static_cast<int>(DrawportShaderValueType::UInt) == 18 && static_cast<int>(DrawportShaderValueType::UInt2) == 19 &&
    static_cast<int>(DrawportShaderValueType::UInt3) == 20 && static_cast<int>(DrawportShaderValueType::UInt4) == 21);
static_assert(static_cast<int>(DrawportShaderValueType::Gradient) == 28 &&
              static_cast<int>(DrawportShaderValueType::AtomicUInt) == 29 &&
              static_cast<int>(DrawportShaderValueType::NoiseTable) == 30);
static_assert(static_cast<int>(DrawportTextureType::Texture1D) == 1 &&
              static_cast<int>(DrawportTextureType::Texture2D) == 6 &&
              static_cast<int>(DrawportTextureType::Texture3D) == 10);
static_assert(static_cast<int>(DrawportCacheKeyKind::StateObject) == 0 &&
              static_cast<int>(DrawportCacheKeyKind::ProgramFactory) == 53);

TEST(NullBackend, IsTheDefaultWithoutABackend) {
  const auto cache = GetDefaultDrawportCache();
  ASSERT_THAT(cache, IsOk());
  EXPECT_TRUE((*cache)->GetCacheType().IsEmpty());
}

TEST(NullBackend, AnswersThatNothingIsSupported) {
  const DrawportRef drawport = *CreateNullDrawport();
  const DrawportCacheRef cache = drawport->GetDrawportCache();
  const DrawportContextRef context = *drawport->CreateOffscreenRenderContext(false, 0);
  constexpr std::string_view kMessage = "There is no GPU backend.";
  DrawportProgramFactoryItemRef slot;
  EXPECT_THAT(cache->AllocDrawport(kDrawportTypeVulkan, kDrawportSubtypeSystem),
              IsErrorWith(kNotImplementedError, kMessage));
  EXPECT_THAT(cache->GetVertexbuffer({}), IsErrorWith(kNotImplementedError, kMessage));
  EXPECT_THAT(cache->GetTexture({}, {}), IsErrorWith(kNotImplementedError, kMessage));
  EXPECT_THAT(cache->GetTextureSampler(0), IsErrorWith(kNotImplementedError, kMessage));
  EXPECT_THAT(cache->GetAtomicCounter({}), IsErrorWith(kNotImplementedError, kMessage));
  EXPECT_THAT(cache->GetProgramFactory({}, {}, slot, *context), IsErrorWith(kNotImplementedError, kMessage));
  EXPECT_THAT(cache->AllocStagingBuffer(*context, {.bytes = 1}), IsErrorWith(kNotImplementedError, kMessage));
  EXPECT_THAT(cache->FreeTrashCaches(*context), IsErrorWith(kNotImplementedError, kMessage));
}

TEST(NullBackend, ItsContextHasNoFeatureAndNoMemory) {
  const DrawportRef drawport = *CreateNullDrawport();
  const DrawportContextRef context = *drawport->CreateOffscreenRenderContext(false, 0);
  for (const auto feature :
       {DrawportFeature::AtomicOperations, DrawportFeature::ComputeShader, DrawportFeature::ShaderStorageBuffer,
        DrawportFeature::ImageLoadStore, DrawportFeature::ShaderHalfFloat, DrawportFeature::MultisampleTexture})
    EXPECT_FALSE(context->IsFeatureSupported(feature));
  const PixelFormatRef format = *GetPixelFormat("net.ostra.image.pixelformat.rgba.f32"_id);
  EXPECT_EQ(context->GetPixelFormatAccessFlags(format, true), DrawportPixelFormatAccess::None);
  EXPECT_EQ(context->GetAvailableAndTotalVRAMBudget().available, -1);
  EXPECT_EQ(context->GetDrawport(), drawport);
  EXPECT_EQ(drawport->GetCapabilities().GetValue(DrawportCapability::SubBufferAlignment), 0);
  EXPECT_EQ(&context->GetCommandList(), &GetDefaultCommandList());
}

TEST(NullBackend, HasNoDeviceButTheFirst) {
  const DrawportRef drawport = *CreateNullDrawport();
  for (const Int32 index : {-1, 1, 7})
    EXPECT_THAT(drawport->CreateOffscreenRenderContext(false, index),
                IsErrorWith(kIllegalArgumentError, "There is no GPU device " + std::to_string(index) + "."));
  EXPECT_THAT(drawport->CreateOffscreenRenderContext(true, 0), IsOk());
}

TEST(DefaultCommandList, RecordsAndExecutesNothingAndRefusesToMap) {
  DrawportCommandList& list = GetDefaultCommandList();
  EXPECT_THAT(list.AddMemoryBarrier(DrawportBarrierBits::StorageBuffer), IsOk());
  EXPECT_THAT(list.Execute(true), IsOk());
  struct Staging final : DrawportStagingBuffer {
    Int GetSize() const override { return 4; }
  } staging;
  struct Buffer final : DrawportDeviceBuffer {
    Int GetSize() const override { return 4; }
  } buffer;
  EXPECT_THAT(list.PrivateMapBuffer(staging, DrawportMapMode::Read, buffer, 0, 0, 4),
              IsErrorWith(kIllegalStateError, "There is no drawport context."));
  EXPECT_EQ(GetDefaultVRAMBudget().available, -1);
  EXPECT_EQ(GetDefaultVRAMBudget().total, -1);
}

TEST(SelectorTest, AnAbsentClassMeansNo) { EXPECT_FALSE(FindSupportedCache("nowhere").GetValue()); }

class NeverSupported final : public Component<NeverSupported, DrawportSelectorTestInterface> {
 public:
  static constexpr const char* kComponentName = "NeverSupported";
  Bool IsSupported() const override { return false; }
};

TEST(SelectorTest, ABackendThatSaysNoIsNotUsed) {
  const Id id = "net.ostra.drawport.selectortestclass.directx"_id;
  ASSERT_THAT(ClassRegistry::GetClasses().Insert(*Class::Create<NeverSupported>(id)), IsOk());
  EXPECT_FALSE(FindSupportedCache("directx").GetValue());
  EXPECT_TRUE((*GetDefaultDrawportCache())->GetCacheType().IsEmpty());
  ClassRegistry::GetClasses().Erase(id);
}

TEST(GpuCompute, NeedsAContextAndCallbacks) {
  const GpuComputeRef compute = *CreateObject<GpuComputeInterface>(kGpuComputeClass);
  EXPECT_THAT(compute->Init({}, {}, {}), IsErrorWith(kIllegalStateError, "A GPU program needs a drawport context."));
  const DrawportContextRef context = *(*CreateNullDrawport())->CreateOffscreenRenderContext(false, 0);
  EXPECT_THAT(compute->Init(context, {}, {}), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(compute->UpdateUniforms(context, true),
              IsErrorWith(kIllegalStateError, "The GPU program has not been initialized."));
  EXPECT_THAT(compute->Dispatch(1, 1, 1), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(compute->ReloadProgramFactory(context), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(compute->UpdateUniformsWith(context, {}), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(compute->ReloadProgramFactoryWith(context, {}), IsErrorOfKind(kIllegalStateError));
}

TEST(GpuCompute, PassesTheErrorOfTheBackendOn) {
  const GpuComputeRef compute = *CreateObject<GpuComputeInterface>(kGpuComputeClass);
  GpuComputeCallbacks callbacks;
  callbacks.hash = *Delegate<Result<void>(DrawportHashStream&)>::Create([](DrawportHashStream& stream) {
    stream.Write(1);
    return Result<void>(OK);
  });
  callbacks.build = *DrawportProgramBuilder::Create([](DrawportProgramDescription&) { return Result<void>(OK); });
  const DrawportContextRef context = *(*CreateNullDrawport())->CreateOffscreenRenderContext(false, 0);
  EXPECT_THAT(compute->Init(context, callbacks, {}), IsErrorWith(kNotImplementedError, "There is no GPU backend."));
}

TEST(HashStream, KeepsASingleNumberAsItIs) {
  DrawportHashStream stream;
  EXPECT_EQ(stream.GetHash(), 0u);
  stream.Write(1234);
  EXPECT_EQ(stream.GetHash(), 1234u);
  stream.Write(5);
  EXPECT_NE(stream.GetHash(), 1234u);
}

TEST(CacheKey, TellsDrawportsKindsAndNumbersApart) {
  const DrawportRef first = *CreateNullDrawport();
  const DrawportRef second = *CreateNullDrawport();
  DrawportCacheKey key = MakeDrawportCacheKey(first, DrawportCacheKeyKind::ProgramFactory);
  EXPECT_EQ(key, MakeDrawportCacheKey(first, DrawportCacheKeyKind::ProgramFactory));
  EXPECT_FALSE(key == MakeDrawportCacheKey(first, DrawportCacheKeyKind::StateObject));
  EXPECT_FALSE(key == MakeDrawportCacheKey(second, DrawportCacheKeyKind::ProgramFactory));
  DrawportCacheKey longer = key;
  longer.Append(0);
  EXPECT_FALSE(key == longer);
}

TEST(FunctionCache, GivesOneNumberToOneText) {
  const DrawportFunction function{kShadingLanguageGlsl, "float Twice(float x) { return 2.0 * x; }"_s, "Twice"_s,
                                  "float"_s, "float x"_s};
  const DrawportFunctionId id = *FunctionCache::Add(function);
  EXPECT_TRUE(static_cast<bool>(id));
  EXPECT_EQ(*FunctionCache::Add(function), id);
  DrawportFunction other = function;
  other.language = kShadingLanguageHlsl;
  EXPECT_FALSE(*FunctionCache::Add(other) == id);
  const auto found = FunctionCache::Find(id);
  ASSERT_THAT(found, IsOk());
  EXPECT_EQ((*found).name, "Twice");
  EXPECT_THAT(FunctionCache::Find({}), IsErrorWith(kIllegalArgumentError, "The function cache has no function 0."));
  EXPECT_THAT(FunctionCache::Add({}), IsErrorOfKind(kIllegalArgumentError));
}

TEST(ProgramDescription, KeepsPiecesOfCodeInTheOrderOfTheirPositions) {
  DrawportProgramDescription program;
  EXPECT_THAT(program.AddCode(kCompute, kAppendCode, "b"_s), IsOk());
  EXPECT_THAT(program.AddCode(kCompute, kAppendCode, "shared"_s, DrawportCodeSection::GroupShared), IsOk());
  EXPECT_THAT(program.AddCode(DrawportStage::Vertex, kAppendCode, "vertex"_s), IsOk());
  EXPECT_THAT(program.AddCode(kCompute, 0, "a"_s), IsOk());
  EXPECT_THAT(program.AddCode(kCompute, 2, "d"_s), IsOk());
  EXPECT_THAT(program.AddCode(kCompute, 2, "c"_s), IsOk());
  EXPECT_THAT(program.AddCode(kCompute, 5, "e"_s),
              IsErrorWith(kIllegalArgumentError, "Position 5 is outside the 4 pieces of code of this section."));
  EXPECT_THAT(program.AddCode(kCompute, -2, "e"_s), IsErrorOfKind(kIllegalArgumentError));
  ASSERT_THAT(program.SetComputeShaderProperties(1, 1, 1), IsOk());
  const auto records = program.MakeShaderRecords(kCompute, kShadingLanguageGlsl);
  ASSERT_THAT(records, IsOk());
  EXPECT_EQ(records->body.text, "a\nb\nc\nd");
  ASSERT_EQ(records->groupShared.GetCount(), 1);
  EXPECT_EQ(records->groupShared[0].text, "shared");
}

TEST(ProgramDescription, KeepsTheOriginsOfLinesWhenPiecesAreJoined) {
  DrawportProgramDescription program;
  ShaderCode first{"a\nb"_s, {}};
  ASSERT_THAT(first.origins.Append(ShaderOrigin{"f"_s, 10}), IsOk());
  ShaderCode second{"c"_s, {}};
  ASSERT_THAT(second.origins.Append(ShaderOrigin{"g"_s, 20}), IsOk());
  ASSERT_THAT(program.AddCode(kCompute, kAppendCode, std::move(first)), IsOk());
  ASSERT_THAT(program.AddCode(kCompute, kAppendCode, std::move(second)), IsOk());
  const auto records = program.MakeShaderRecords(kCompute, kShadingLanguageGlsl);
  ASSERT_THAT(records, IsOk());
  ASSERT_EQ(records->body.origins.GetCount(), 3);
  EXPECT_EQ(records->body.origins[0].line, 10);
  EXPECT_EQ(records->body.origins[1].line, 0);
  EXPECT_EQ(records->body.origins[2].file, "g");
}

TEST(ProgramDescription, RefusesParametersThatCannotBe) {
  DrawportProgramDescription program;
  ASSERT_THAT(program.AddUniformParameter(kCompute, DrawportShaderValueType::Float, "x"_iid), IsOk());
  EXPECT_THAT(program.AddImageParameter(kCompute, DrawportTextureType::Texture2D, nullptr, "i"_iid),
              IsErrorWith(kIllegalArgumentError, "The image \"i\" needs a pixel format."));
  EXPECT_THAT(program.AddBufferParameter(kCompute, {.typeName = "float"_s, .members = {}}, "x"_iid,
                                         DrawportBufferAccess::ReadOnly),
              IsErrorWith(kIllegalArgumentError, "An element of the buffer \"x\" cannot have 0 bytes."));
  EXPECT_THAT(program.AddUniformParameter(kCompute, DrawportShaderValueType::Int, "x"_iid),
              IsErrorWith(kIllegalArgumentError, "The program has a parameter \"x\" already."));
  EXPECT_THAT(program.AddUniformParameter(DrawportStage::Fragment, DrawportShaderValueType::Int, "x"_iid), IsOk());
  EXPECT_THAT(program.AddUniformParameter(kCompute, DrawportShaderValueType::Int, InternedId()),
              IsErrorWith(kIllegalArgumentError, "A parameter needs a name."));
  EXPECT_THAT(program.SetComputeShaderProperties(8, 0, 1),
              IsErrorWith(kIllegalArgumentError, "A work group of 8 x 0 x 1 invocations cannot run."));
  EXPECT_THAT(program.ReinitializeDrawportNoise(1), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program.AddFunction(kCompute, {}), IsErrorOfKind(kIllegalArgumentError));
}

TEST(ProgramDescription, HasOneParameterInitializationHandler) {
  DrawportProgramDescription program;
  const auto binder = *DrawportParameterBinder::Create([](DrawportProgramFactory&, DrawportParameterValueSet&,
                                                          Block<const DrawportParameter>) { return Result<void>(OK); });
  EXPECT_THAT(program.SetParameterInitializationHandler(binder, 7), IsOk());
  EXPECT_EQ(program.GetOwner(), 7u);
  EXPECT_THAT(program.SetParameterInitializationHandler(binder, 8), IsErrorOfKind(kIllegalArgumentError));
}

TEST(ProgramDescription, DeclaresAStructOnceHoweverManyBuffersHaveIt) {
  DrawportProgramDescription program;
  const DrawportStructLayout layout{.typeName = "Particle"_s, .members = "vec3 at; float mass;"_s, .byteSize = 16};
  for (const InternedId name : {"first"_iid, "second"_iid})
    ASSERT_THAT(program.AddBufferParameter(kCompute, layout, name, DrawportBufferAccess::ReadOnly), IsOk());
  ASSERT_THAT(program.AddCode(kCompute, kAppendCode, "struct Extra { int x; };\n"_s, DrawportCodeSection::Structs),
              IsOk());
  const auto records = program.MakeShaderRecords(kCompute, kShadingLanguageGlsl);
  ASSERT_THAT(records, IsOk());
  ASSERT_EQ(records->functions.GetCount(), 2);
  EXPECT_EQ(records->functions[0].text, "struct Extra { int x; };\n");
  EXPECT_EQ(records->functions[1].text, "struct Particle { vec3 at; float mass; };\n");
  ASSERT_EQ(records->parameters.GetCount(), 2);
  EXPECT_EQ(records->parameters[1].elementType, "Particle");
}

TEST(ProgramDescription, TakesOverWholeRecords) {
  ShaderRecords given;
  given.workGroupSize = {8, 4, 1};
  given.body = {"body"_s, {}};
  given.noiseTableCount = 2;
  ASSERT_THAT(given.parameters.Append(ShaderParameter{.kind = ShaderParameterKind::Buffer,
                                                      .name = "data"_s,
                                                      .elementType = "float"_s,
                                                      .access = DrawportBufferAccess::ReadOnly,
                                                      .origin = {}}),
              IsOk());
  ASSERT_THAT(given.parameters.Append(ShaderParameter{
                  .kind = ShaderParameterKind::Counter, .name = "hits"_s, .elementType = {}, .origin = {}}),
              IsOk());
  ASSERT_THAT(given.textures.Append(ShaderTexture{.name = "picture"_s, .isImage = true, .origin = {}}), IsOk());
  DrawportProgramDescription program;
  ASSERT_THAT(program.AddUniformParameter(kCompute, DrawportShaderValueType::Float, "gone"_iid), IsOk());
  ASSERT_THAT(program.SetShaderRecords(std::move(given)), IsOk());
  ASSERT_THAT(program.AddUniformParameter(kCompute, DrawportShaderValueType::Float, "later"_iid), IsOk());

  const BaseArray<DrawportParameter>& parameters = program.GetParameters();
  ASSERT_EQ(parameters.GetCount(), 4);
  EXPECT_EQ(parameters[0].name, "data"_iid);
  EXPECT_EQ(parameters[0].access, DrawportBufferAccess::ReadOnly);
  EXPECT_EQ(parameters[1].valueType, DrawportShaderValueType::AtomicUInt);
  EXPECT_EQ(parameters[2].kind, DrawportParameterKind::Image);
  EXPECT_EQ(parameters[3].name, "later"_iid);
  EXPECT_EQ(program.GetWorkGroupSize()[1], 4u);
  const auto records = program.MakeShaderRecords(kCompute, kShadingLanguageGlsl);
  ASSERT_THAT(records, IsOk());
  EXPECT_EQ(records->body.text, "body");
  EXPECT_EQ(records->noiseTableCount, 2);
  EXPECT_EQ(records->parameters.GetCount(), 3);
  EXPECT_EQ(records->parameters[1].kind, ShaderParameterKind::Counter);
  EXPECT_EQ(records->textures.GetCount(), 1);
}

TEST(ProgramDescription, ReportsExhaustedMemory) {
  const DrawportFunctionId function =
      *FunctionCache::Add({kShadingLanguageGlsl, "float F() { return 1.0; }"_s, "F"_s, "float"_s, {}});
  ExpectEveryAllocationFailureIsReported([&]() -> Result<void> {
    DrawportProgramDescription program;
    OSTRA_RETURN_IF_ERROR(program.AddRequiredFeature(kCompute, DrawportFeature::ComputeShader));
    OSTRA_RETURN_IF_ERROR(program.AddUniformParameter(kCompute, DrawportShaderValueType::Float, "x"_iid));
    OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(kCompute,
                                                     {.typeName = "P"_s, .members = "float x;"_s, .byteSize = 4},
                                                     "b"_iid, DrawportBufferAccess::ReadWrite));
    OSTRA_RETURN_IF_ERROR(program.AddCode(kCompute, kAppendCode, "x;"_s));
    OSTRA_RETURN_IF_ERROR(program.AddCode(kCompute, kAppendCode, "y;"_s));
    OSTRA_RETURN_IF_ERROR(program.AddFunction(kCompute, function));
    OSTRA_RETURN_IF_ERROR(program.AddNoiseFunction(kCompute, "net.ostra.drawport.noise.turbulence4d"_id, 0));
    OSTRA_RETURN_IF_ERROR(program.SetDebugLabel("a label that needs memory"));
    OSTRA_RETURN_IF_ERROR(program.MakeShaderRecords(kCompute, kShadingLanguageGlsl));
    return OK;
  });
}

TEST(Settings, AreClampedToWhatMakesSense) {
  SetDrawportMemoryLimit(-5);
  EXPECT_EQ(GetDrawportMemoryLimit(), 0);
  SetDrawportTimeLimit(-1);
  EXPECT_EQ(GetDrawportTimeLimit(), 0);
  SetDrawportRowAlignment(0);
  EXPECT_EQ(GetDrawportRowAlignment(), 1);
  EXPECT_TRUE(GetDrawportDirectMapping());
  EXPECT_EQ(GetDrawportProgramLimit(), 0);
}

}  // namespace
