// What the GPU program says without a device, or on one that lacks something: made-up contexts answer.
#include <gmock/gmock.h>

#include <set>

#include "ostra/drawport/null_backend.h"
#include "ostra/drawport/selector_test.h"
#include "parallelprogram/base/configuration_variables.h"
#include "parallelprogram/gpu/gpu_program.h"
#include "parallelprogram/gpu/gpu_program_impl.h"
#include "parallelprogram/program/parallel_program.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/result_matchers.h"

namespace ostra {
namespace {

using testing::ElementsAre;

// What the made-up device can do, and what it was asked.
struct Device {
  std::set<DrawportFeature> missing;
  DrawportPixelFormatAccess access = DrawportPixelFormatAccess::ShaderReadWrite;
  Id cacheType = kDrawportTypeDirectX;
  std::vector<DrawportFeature> askedFeatures;
  std::vector<std::string> calls;
  VideoMemoryBudget budget{1000, 4000};
};
Device g_device;

class FakeContext final : public DrawportCounted<FakeContext, DrawportContextInterface> {
 public:
  explicit FakeContext(DrawportRef drawport) : _drawport(std::move(drawport)) {}
  DrawportRef GetDrawport() const override { return _drawport; }
  Bool IsFeatureSupported(DrawportFeature feature) const override {
    g_device.askedFeatures.push_back(feature);
    return !g_device.missing.contains(feature);
  }
  DrawportPixelFormatAccess GetPixelFormatAccessFlags(PixelFormatRef format, Bool isFloatingPoint) const override {
    g_device.calls.push_back("access " + std::string(format->id.GetView()) + (isFloatingPoint ? " float" : " integer"));
    return g_device.access;
  }
  DrawportCommandList& GetCommandList() override { return GetDefaultCommandList(); }
  VideoMemoryBudget GetAvailableAndTotalVRAMBudget() const override { return g_device.budget; }

 private:
  DrawportRef _drawport;
};

class FakeDrawport final : public DrawportCounted<FakeDrawport, DrawportInterface> {
 public:
  explicit FakeDrawport(DrawportCacheRef cache) : _cache(std::move(cache)) {}
  DrawportCacheRef GetDrawportCache() const override { return _cache; }
  Result<DrawportContextRef> CreateOffscreenRenderContext(Bool sharesWithCaller, Int32 deviceIndex) override {
    g_device.calls.push_back("context " + std::to_string(sharesWithCaller) + " " + std::to_string(deviceIndex));
    return DrawportContextRef::Adopt(NewObj<FakeContext>(DrawportRef(this)));
  }
  const Id& GetShadingLanguage() const override { return kShadingLanguageGlsl; }
  const DrawportCapabilities& GetCapabilities() const override { return _capabilities; }

 private:
  DrawportCacheRef _cache;
  DrawportCapabilities _capabilities;
};

// Makes drawports and nothing else.
class FakeCache final : public Component<FakeCache, DrawportCacheInterface> {
 public:
  static constexpr const char* kComponentName = "FakeCache";
  const Id& GetCacheType() const override { return g_device.cacheType; }
  Result<DrawportRef> AllocDrawport(const Id& type, const Id& subtype) override {
    g_device.calls.push_back("drawport " + std::string(type.GetView()) + " " + std::string(subtype.GetView()));
    return DrawportRef::Adopt(NewObj<FakeDrawport>(DrawportCacheRef(this)));
  }
  Result<DrawportVertexBufferItemRef> GetVertexbuffer(const DrawportResourceKey&) override { return Fail(); }
  Result<DrawportTextureItemRef> GetTexture(const DrawportResourceKey&, const DrawportTextureDescribe&) override {
    return Fail();
  }
  Result<DrawportTextureSamplerItemRef> GetTextureSampler(UInt8) override { return Fail(); }
  Result<DrawportAtomicCounterItemRef> GetAtomicCounter(const DrawportCounterKey&) override { return Fail(); }
  Result<void> GetProgramFactory(const DrawportCacheKey&, const DrawportProgramBuilder& builder,
                                 DrawportProgramFactoryItemRef&, DrawportContextInterface&) override {
    DrawportProgramDescription program;
    OSTRA_RETURN_IF_ERROR(builder(program));
    g_device.calls.push_back("program " + std::string(program.GetDebugLabel().GetView()));
    return Fail();
  }
  Result<DrawportVertexAttributeLayoutItemRef> GetVertexAttributeLayout(
      const DrawportVertexAttributeLayoutDescribe&) override {
    return Fail();
  }
  Result<void> GetVertexAttributeSet(const DrawportVertexAttributeLayoutItemRef&,
                                     const DrawportVertexAttributeSetDescribe&, DrawportVertexAttributeSetItemRef&,
                                     DrawportContextInterface&) override {
    return Fail();
  }
  Result<DrawportStateObject*> GetStateObject(const DrawportCacheKey&, const DrawportStateDescribe&,
                                              DrawportStateObjectItemRef&) override {
    return Fail();
  }
  Result<DrawportRenderTargetRef> CreateRenderTarget(DrawportContextInterface&,
                                                     const DrawportRenderTargetDescription&) override {
    return Fail();
  }
  Result<DrawportStagingBuffer*> AllocStagingBuffer(DrawportContextInterface&, const DrawportStagingOptions&) override {
    return Fail();
  }
  Result<void> FreeTrashCaches(DrawportContextInterface&) override { return OK; }

 private:
  static Error Fail() { return Error::Make(kIllegalStateError, "made-up failure", "fake", 1); }
};

class FakeSelectorTest final : public Component<FakeSelectorTest, DrawportSelectorTestInterface> {
 public:
  static constexpr const char* kComponentName = "FakeSelectorTest";
  Bool IsSupported() const override { return true; }
};

class GpuFeaturesTest : public testing::Test {
 protected:
  static constexpr Id kTestClass = "net.ostra.drawport.selectortestclass.directx"_id;
  static constexpr Id kCacheClass = "net.ostra.drawport.cache.directx"_id;

  void SetUp() override {
    g_device = Device();
    programClass = *CreateGpuProgramClass();
    program = *programClass->CreateObject<ParallelProgramInterface>();
  }
  void TearDown() override {
    program = nullptr;
    ClassRegistry::GetClasses().Erase(kTestClass);
    ClassRegistry::GetClasses().Erase(kCacheClass);
    g_32bitOnlyParallelProgram = g_outOfCoreParallelProgram = g_reloadKernelsParallelProgram = false;
  }
  void InstallDevice() {
    ASSERT_THAT(ClassRegistry::GetClasses().Insert(*Class::Create<FakeSelectorTest>(kTestClass)), IsOk());
    ASSERT_THAT(ClassRegistry::GetClasses().Insert(*Class::Create<FakeCache>(kCacheClass)), IsOk());
  }
  Result<void> InitWithOwnContext() { return program->Init(Url(), nullptr, 0, true); }

  ClassRef programClass;
  ParallelProgramRef program;
};

TEST_F(GpuFeaturesTest, WithoutABackendTheFirstFeatureIsMissingAndAWarningSaysWhy) {
  const DiagnosticRecorder recorder;
  EXPECT_THAT(InitWithOwnContext(),
              IsErrorWith(kIllegalStateError, "Atomic Operations not supported, please fall back to CPU mode"));
  EXPECT_THAT(recorder.GetLines(),
              ElementsAre("No GPU backend is loaded, so a GPU program has no device: load the module "
                          "\"drawport_vulkan\" before the program is made."));
}

TEST_F(GpuFeaturesTest, ACacheOfAnUnknownTypeHasNoDrawport) {
  InstallDevice();
  g_device.cacheType = "Crayons"_id;
  EXPECT_THAT(InitWithOwnContext(),
              IsErrorWith(kIllegalStateError, "Atomic Operations not supported, please fall back to CPU mode"));
  EXPECT_THAT(g_device.calls, ElementsAre());
}

TEST_F(GpuFeaturesTest, EachMissingFeatureIsNamedInTheOrderOfTheQuestions) {
  InstallDevice();
  const std::pair<DrawportFeature, const char*> cases[] = {
      {DrawportFeature::AtomicOperations, "Atomic Operations not supported, please fall back to CPU mode"},
      {DrawportFeature::ComputeShader, "Compute Shaders not supported, please fall back to CPU mode"},
      {DrawportFeature::ShaderStorageBuffer, "Shader Storage Buffers not supported, please fall back to CPU mode"},
      {DrawportFeature::ImageLoadStore, "Image Load Store not supported, please fall back to CPU mode"},
      {DrawportFeature::ShaderHalfFloat, "Shader half float not supported, please fall back to CPU mode"},
  };
  std::vector<DrawportFeature> asked;
  for (const auto& [feature, message] : cases) {
    asked.push_back(feature);
    g_device.missing = {feature};
    g_device.askedFeatures.clear();
    EXPECT_THAT(InitWithOwnContext(), IsErrorWith(kIllegalStateError, message));
    EXPECT_EQ(g_device.askedFeatures, asked);
  }
}

TEST_F(GpuFeaturesTest, AnOwnContextIsMadeOnTheSupportedBackend) {
  InstallDevice();
  // The made-up device compiles nothing, so that the copy kernel is where it ends.
  DiagnosticRecorder diagnostics;
  EXPECT_THAT(InitWithOwnContext(), IsErrorWith(kIllegalStateError, "made-up failure"));
  EXPECT_THAT(g_device.calls,
              ElementsAre("drawport DirectX subtype_system", "context 0 0",
                          "access net.ostra.image.pixelformat.dynamic.redf16 float",
                          "access net.ostra.image.pixelformat.dynamic.redu8 integer", "program net.ostra.kernel.copy"));
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre("A job failed: made-up failure [fake:1]"));
  EXPECT_EQ(program->GetAvailableAndTotalVRAMBudget(), std::make_pair(Int64{0}, Int64{0}));
}

TEST_F(GpuFeaturesTest, AGivenContextPointerAndDeviceReachTheBackend) {
  InstallDevice();
  const DrawportContextRef none;
  const DiagnosticRecorder diagnostics;
  EXPECT_THAT(program->Init(Url(), &none, 3, true), IsErrorOfKind(kIllegalStateError));
  EXPECT_EQ(g_device.calls[1], "context 1 3");
}

TEST_F(GpuFeaturesTest, AProgramWithoutContextIsMadeButHasNoDevice) {
  ASSERT_THAT(program->Init(Url(), nullptr, 0, false), IsOk());
  constexpr const char* kNoContext = "There is no drawport context.";
  EXPECT_THAT(program->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 4),
              IsErrorWith(kIllegalStateError, kNoContext));
  EXPECT_THAT(program->AddAtomicCounter("a"_iid, UInt32(0)), IsErrorWith(kIllegalStateError, kNoContext));
  TextureBindData texture;
  texture._format = TextureFormat::F32;
  texture._numChannels = 1;
  texture._dimensions = Vec3<UInt32>(4, 4, 1);
  EXPECT_THAT(program->StoreTextureBindData("t"_iid, texture, false), IsErrorWith(kIllegalStateError, kNoContext));
  EXPECT_THAT(program->Execute(true), IsOk());
  EXPECT_THAT(program->AddMemoryBarrier(), IsOk());
  EXPECT_THAT(program->AddTextureMemoryBarrier(), IsOk());
  Int64 available = 0, total = 0;
  EXPECT_FALSE(program->GetMemoryInformation(available, total));
  EXPECT_EQ(available, -1);
  EXPECT_EQ(total, -1);
  EXPECT_EQ(program->GetAvailableAndTotalVRAMBudget(), std::make_pair(Int64{0}, Int64{0}));
  Bool with16bit = false, with8bit = false;
  program->GetSupportReadWritePixelFormats(with16bit, with8bit);
  EXPECT_TRUE(with16bit && with8bit);
}

TEST_F(GpuFeaturesTest, PerKernelMethodsNeedAnActiveKernel) {
  ASSERT_THAT(program->Init(Url(), nullptr, 0, false), IsOk());
  const auto expectNone = [](const auto& result) {
    EXPECT_THAT(result, IsErrorWith(kIllegalStateError, "no active kernel set"));
  };
  expectNone(program->SetBufferToActiveKernelSameId("a"_iid));
  expectNone(program->SetBufferToActiveKernel("a"_iid, "b"_iid));
  expectNone(program->SetKernelBufferLink("a"_iid, Data()));
  expectNone(program->GetKernelBufferLink("a"_iid));
  expectNone(program->GetKernelBufferData("a"_iid));
  expectNone(program->SetTextureToActiveKernelSameId("a"_iid));
  expectNone(program->SetTextureToActiveKernel("a"_iid, "b"_iid));
  expectNone(program->SetKernelTextureLink("a"_iid, Data()));
  expectNone(program->SetAtomicCounterToActiveKernel("a"_iid));
  expectNone(program->SetUniform("a"_iid, 1.0f));
  expectNone(program->SwapBuffers("a"_iid, "b"_iid));
  expectNone(program->UpdateUniforms());
  expectNone(program->DispatchKernel(1, 1, 1, false));
  expectNone(program->DispatchIndirectKernel("a"_iid, 0, false));
}

TEST_F(GpuFeaturesTest, UnknownNamesAreNamed) {
  ASSERT_THAT(program->Init(Url(), nullptr, 0, false), IsOk());
  const auto expect = [](const auto& result, const char* message) {
    EXPECT_THAT(result, IsErrorWith(kIllegalArgumentError, message));
  };
  expect(program->GetGlobalBufferLink("a"_iid), "buffer identifier not found");
  expect(program->GetGlobalBufferData("a"_iid), "buffer identifier not found");
  expect(program->ResizeUniformBuffer("a"_iid, 4, true), "buffer for resize could not be found");
  expect(program->UpdateUniformBufferData("a"_iid, 0, Float32(1)), "buffer for update could not be found");
  expect(program->CopyBufferData("a"_iid, "b"_iid, 1, 0, 0), "source buffer could not be found");
  expect(program->CopyBufferDataBytes("a"_iid, "b"_iid, 1, 0, 0), "source buffer could not be found");
  expect(program->SwapTextures("a"_iid, "b"_iid), "texture one could not be found");
  expect(program->UpdateTextureBindData("a"_iid, TextureBindData()), "texture for update could not be found");
  expect(program->SetAtomicCounter("a"_iid, 1), "atomic identifier not found");
  expect(program->GetAtomicCounter("a"_iid), "atomic identifier not found");
  expect(program->CopyKernel("a"_iid, "b"_iid, true), "source kernel could not be found");
  EXPECT_THAT(program->GetTextureCacheRef("a"_iid), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program->GetTextureSamplerCacheRef("a"_iid), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_EQ(*program->GetTextureHandle("a"_iid), nullptr);
  EXPECT_EQ(*program->GetTextureSamplerHandle("a"_iid), nullptr);
  EXPECT_THAT(program->DeleteUniformBuffer("a"_iid), IsOk());
  EXPECT_THAT(program->DeleteTexture("a"_iid, false), IsOk());
  EXPECT_THAT(program->CopyKernel("a"_iid, "a"_iid, true), IsOk());
  EXPECT_THAT(program->CopyTextureBytes("a"_iid, "b"_iid, 1, 2, 3), IsOk());
}

TEST_F(GpuFeaturesTest, ValuesThatCannotBeStoredAreRefusedBeforeAnythingHappens) {
  ASSERT_THAT(program->Init(Url(), nullptr, 0, false), IsOk());
  const auto expect = [](const auto& result, const char* message) {
    EXPECT_THAT(result, IsErrorWith(kIllegalArgumentError, message));
  };
  constexpr const char* kEmpty =
      "Empty buffers are not allowed to be added. Please resize to the required size before storing.";
  expect(program->StoreUniformBufferData("a"_iid, Float32(1)), "data is not an base array, block or array ref");
  expect(program->StoreUniformBufferData("a"_iid, BaseArray<Float32>()), kEmpty);
  expect(program->StoreUniformBufferData("a"_iid, Block<Float32>()), kEmpty);
  expect(program->StoreUniformBufferData("a"_iid, GenericBaseArray()), "DataType not specified or 0 size");
  expect(program->StoreUniformBufferData("a"_iid, DataType(), GenericBaseArray(*BaseArray<Byte>::Create({1, 2}))),
         "DataType not specified or 0 size");
  expect(program->StoreUniformBufferData("a"_iid, GetDataType<Float32>(),
                                         GenericBaseArray(*BaseArray<Byte>::Create({1, 2}))),
         "2 bytes are no whole number of elements of type \"float32\".");
  expect(program->StoreUniformBufferData("a"_iid, *BaseArray<String>::Create({"x"_s})),
         "Values of type \"string\" cannot lie on a device.");
  expect(program->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 0),
         "Empty buffers are not allowed to be added.");
  expect(program->CreateUniformBuffer("a"_iid, DataType(), 3), "DataType not specified or 0 size");
}

TEST_F(GpuFeaturesTest, AKernelWithoutFileIsNotAdded) {
  ASSERT_THAT(program->Init(Url(), nullptr, 0, false), IsOk());
  EXPECT_THAT(program->AddKernel("k"_iid, Url(), true),
              IsErrorWith(kIllegalStateError, "shader location needs to be set for initialization of kernel"));
  EXPECT_THAT(program->AddKernel("k"_iid, Url("/nowhere/net.example.none.krn"_s), true),
              IsErrorOfKind(kIllegalStateError));
  EXPECT_FALSE(program->HasKernel("k"_iid));
  EXPECT_TRUE(program->GetActiveKernelId().IsEmpty());
}

}  // namespace
}  // namespace ostra
