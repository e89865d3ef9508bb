// The graphics half of the GPU layer without a GPU: states, vertex layouts, descriptions of programs, keys.
#include <gmock/gmock.h>

#include "ostra/drawport/gradient_segments.h"
#include "ostra/drawport/null_backend.h"
#include "ostra/drawport/renderer.h"
#include "ostra/drawport/shader_cache_access.h"
#include "ostra/object/class.h"
#include "tests/support/fault_injection.h"
#include "tests/support/result_matchers.h"

using namespace ostra;

namespace {

using Type = DrawportShaderValueType;
using Layout = DrawportVertexAttributeLayoutDescription;

// Clients store these numbers.
static_assert(static_cast<int>(DrawportDepthTestMode::Less) == 1 &&
              static_cast<int>(DrawportDepthTestMode::Always) == 7);
static_assert(static_cast<int>(DrawportCullFace::Back) == 2 && static_cast<int>(DrawportFrontFace::Clockwise) == 1);
static_assert(static_cast<int>(DrawportBlendFactor::SourceAlpha) == 6);
static_assert(static_cast<int>(DrawportBlendFactor::OneMinusSourceAlpha) == 7);

TEST(StateDescription, BeginsWithoutTestCullingAndBlending) {
  DrawportStateDescription state;
  EXPECT_THAT(state.SetDepthTestMode(3), IsOk());
  EXPECT_THAT(state.SetAlphaBlendingMode(1), IsOk());
  EXPECT_THAT(state.InitializeWithDefaults(), IsOk());
  EXPECT_EQ(state, DrawportStateDescription());
  EXPECT_EQ(state.GetDepthTestMode(), DrawportDepthTestMode::Off);
  EXPECT_EQ(state.GetCullFace(), DrawportCullFace::None);
  EXPECT_EQ(state.GetFrontFace(), DrawportFrontFace::CounterClockwise);
  EXPECT_EQ(state.GetAlphaBlendingMode(), DrawportAlphaBlendingMode::Off);
}

TEST(StateDescription, TakesEveryNumberOfItsEnumerationsAndNoOther) {
  DrawportStateDescription state;
  for (Int32 mode = 0; mode <= 7; ++mode) EXPECT_THAT(state.SetDepthTestMode(mode), IsOk());
  for (Int32 face = 0; face <= 2; ++face) EXPECT_THAT(state.SetCullFace(face), IsOk());
  for (Int32 front = 0; front <= 1; ++front) EXPECT_THAT(state.SetFrontFace(front), IsOk());
  for (Int32 mode = 0; mode <= 1; ++mode) EXPECT_THAT(state.SetAlphaBlendingMode(mode), IsOk());
  const DrawportStateDescription before = state;
  for (const Int32 number : {-1, 8, 1000}) {
    EXPECT_THAT(state.SetDepthTestMode(number), IsErrorOfKind(kIllegalArgumentError));
    EXPECT_THAT(state.SetCullFace(number), IsErrorOfKind(kIllegalArgumentError));
    EXPECT_THAT(state.SetFrontFace(number), IsErrorOfKind(kIllegalArgumentError));
    EXPECT_THAT(state.SetAlphaBlendingMode(number), IsErrorOfKind(kIllegalArgumentError));
    EXPECT_THAT(state.SetBlendFunction(DrawportBlendFactor::One, static_cast<DrawportBlendFactor>(number),
                                       DrawportBlendFactor::One, DrawportBlendFactor::One),
                IsErrorOfKind(kIllegalArgumentError));
  }
  EXPECT_THAT(state.SetCullFace(3), IsErrorWith(kIllegalArgumentError, "3 is no cull face; there are 0 to 2."));
  EXPECT_EQ(state, before);
}

TEST(VertexLayout, HasTheSumOfItsAttributesAsStride) {
  Layout layout;
  EXPECT_THAT(layout.AllocVertexAttribute(0, Type::Float3, "position"_iid), IsOk());
  EXPECT_THAT(layout.AllocVertexAttribute(12, Type::Float2, "uv"_iid), IsOk());
  EXPECT_THAT(layout.AllocVertexAttribute(20, Type::UInt, "part"_iid), IsOk());
  EXPECT_THAT(layout.InitVertexAttributes(0), IsOk());
  EXPECT_EQ(layout.GetStride(), 24);
  EXPECT_FALSE(layout.IsPerInstance());
  EXPECT_THAT(layout.AllocVertexAttribute(0, Type::Float, "late"_iid), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(layout.InitVertexAttributes(0), IsErrorOfKind(kIllegalStateError));
}

TEST(VertexLayout, RefusesWhatNoVertexCanHave) {
  Layout layout;
  for (const Type type : {Type::Matrix3, Type::Matrix4, Type::Gradient, Type::NoiseTable, Type::AtomicUInt,
                          static_cast<Type>(0), static_cast<Type>(99)}) {
    EXPECT_EQ(GetVertexAttributeSize(type), 0);
    EXPECT_THAT(layout.AllocVertexAttribute(0, type, "a"_iid), IsErrorOfKind(kIllegalArgumentError));
  }
  for (const Int offset : {-4, 2})
    EXPECT_THAT(layout.AllocVertexAttribute(offset, Type::Float, "a"_iid), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(layout.AllocVertexAttribute(0, Type::Float, {}), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(layout.AllocVertexAttribute(0, Type::Float, "a"_iid), IsOk());
  EXPECT_THAT(layout.AllocVertexAttribute(4, Type::Float, "a"_iid), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(layout.AllocVertexAttribute(8, Type::Float, "b"_iid), IsOk());
  EXPECT_THAT(layout.InitVertexAttributes(2), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(
      layout.InitVertexAttributes(0),
      IsErrorWith(kIllegalArgumentError, "The vertex attribute \"b\" at byte 8 is outside a vertex of 8 bytes."));
}

DrawportVertexAttributeLayoutItemRef MakeLayout() {
  return *MakeVertexAttributeLayout(*DrawportVertexAttributeLayoutDescribe::Create([](Layout& layout) -> Result<void> {
    OSTRA_RETURN_IF_ERROR(layout.AllocVertexAttribute(0, Type::Float3, "position"_iid));
    OSTRA_RETURN_IF_ERROR(layout.AllocVertexAttribute(12, Type::Float2, "uv"_iid));
    return layout.InitVertexAttributes(1);
  }));
}

struct Buffer final : DrawportVertexBuffer {
  Result<DrawportDeviceBuffer*> AllocSubBuffer(DrawportContextInterface&, DrawportSubBufferUse, Int, Int) override {
    return nullptr;
  }
};
struct Memory final : DrawportDeviceBuffer {
  Int GetSize() const override { return 0; }
};

TEST(VertexSet, RunsItsCallbackWheneverItIsMadeValid) {
  const DrawportContextRef context = *(*CreateNullDrawport())->CreateOffscreenRenderContext(false, 0);
  Buffer buffer;
  Memory memory;
  Bool hasBuffer = false;
  const auto set = *MakeVertexAttributeSet(
      MakeLayout(), *DrawportVertexAttributeSetDescribe::Create(
                        [&](DrawportVertexAttributeSetDescription& description) -> Result<void> {
                          OSTRA_RETURN_IF_ERROR(description.Assign("position"_iid, hasBuffer ? &buffer : nullptr));
                          return description.Assign("texUv"_iid, hasBuffer ? &buffer : nullptr,
                                                    hasBuffer ? &memory : nullptr);
                        }));
  const DrawportVertexAttributeSet* valid = *set->MakeValid(*context);
  EXPECT_TRUE(valid->GetLayout().IsPerInstance());
  EXPECT_EQ(valid->GetVertexBuffer("uv"_iid), nullptr);
  EXPECT_EQ(valid->GetDeviceBuffer(), nullptr);
  hasBuffer = true;
  EXPECT_EQ(*set->MakeValid(*context), valid);
  EXPECT_EQ(valid->GetVertexBuffer("uv"_iid), &buffer);  // was assigned by its other name
  EXPECT_EQ(valid->GetVertexBuffer("position"_iid), &buffer);
  EXPECT_EQ(valid->GetVertexBuffer("nothing"_iid), nullptr);
  EXPECT_EQ(valid->GetDeviceBuffer(), &memory);
}

TEST(VertexSet, RefusesNamesThatTheLayoutDoesNotHave) {
  const DrawportContextRef context = *(*CreateNullDrawport())->CreateOffscreenRenderContext(false, 0);
  const auto set = *MakeVertexAttributeSet(
      MakeLayout(), *DrawportVertexAttributeSetDescribe::Create([](DrawportVertexAttributeSetDescription& description) {
        return description.Assign("normal"_iid, nullptr);
      }));
  EXPECT_THAT(set->MakeValid(*context),
              IsErrorWith(kIllegalArgumentError, "The vertex layout has no attribute \"normal\"."));
  EXPECT_THAT(MakeVertexAttributeSet({}, {}), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(MakeVertexAttributeLayout(
                  *DrawportVertexAttributeLayoutDescribe::Create([](Layout&) { return Result<void>(OK); })),
              IsErrorWith(kIllegalStateError, "The vertex layout is not complete."));
}

TEST(VertexSet, RunsOutOfMemoryCleanly) {
  const auto describe = *DrawportVertexAttributeLayoutDescribe::Create([](Layout& layout) -> Result<void> {
    OSTRA_RETURN_IF_ERROR(layout.AllocVertexAttribute(0, Type::Float3, "position"_iid));
    return layout.InitVertexAttributes(0);
  });
  const auto assign = *DrawportVertexAttributeSetDescribe::Create(
      [](DrawportVertexAttributeSetDescription& description) { return description.Assign("position"_iid, nullptr); });
  const DrawportContextRef context = *(*CreateNullDrawport())->CreateOffscreenRenderContext(false, 0);
  const Int allocations = ExpectEveryAllocationFailureIsReported([&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(const auto layout, MakeVertexAttributeLayout(describe));
    OSTRA_ASSIGN_OR_RETURN(const auto set, MakeVertexAttributeSet(layout, assign));
    OSTRA_RETURN_IF_ERROR(set->MakeValid(*context));
    return OK;
  });
  EXPECT_GE(allocations, 4);
}

TEST(GraphicsDescription, TellsItsStages) {
  DrawportProgramDescription program;
  EXPECT_FALSE(program.HasStage(DrawportStage::Vertex));
  EXPECT_THAT(program.AddCode(DrawportStage::Vertex, kAppendCode, "x"_s), IsOk());
  EXPECT_TRUE(program.HasStage(DrawportStage::Vertex));
  EXPECT_FALSE(program.HasStage(DrawportStage::Fragment));
  ShaderRecords records;
  records.stage = DrawportStage::Fragment;
  EXPECT_THAT(program.SetShaderRecords(std::move(records)), IsOk());
  EXPECT_TRUE(program.HasStage(DrawportStage::Fragment));
}

TEST(GraphicsDescription, VariablesJoinWhatTheRecordsDeclareAlready) {
  DrawportProgramDescription program;
  ShaderRecords records;
  records.stage = DrawportStage::Fragment;
  for (const auto& [kind, name, type] : {std::tuple(ShaderParameterKind::Varying, "shade"_s, Type::Float3),
                                         std::tuple(ShaderParameterKind::Value, "weight"_s, Type::Float),
                                         std::tuple(ShaderParameterKind::Output, "outtransparency"_s, Type::Float4),
                                         std::tuple(ShaderParameterKind::Output, "outcolor"_s, Type::Float4)}) {
    ShaderParameter parameter;
    parameter.kind = kind;
    parameter.name = name;
    parameter.valueType = type;
    ASSERT_THAT(records.parameters.Append(std::move(parameter)), IsOk());
  }
  ASSERT_THAT(program.SetShaderRecords(std::move(records)), IsOk());
  EXPECT_THAT(program.AddVaryingVariable(DrawportStage::Vertex, DrawportStage::Fragment, Type::Float3, "shade"_iid),
              IsOk());
  EXPECT_THAT(program.AddVaryingVariable(DrawportStage::Vertex, DrawportStage::Fragment, Type::Float2, "uv"_iid),
              IsOk());
  EXPECT_THAT(program.AddOutputColorVariable(1, "f_transparency"_iid), IsOk());
  EXPECT_THAT(program.AddOutputColorVariable(0, "outcolor"_iid), IsOk());
  EXPECT_THAT(program.AddUniformParameter(DrawportStage::Fragment, Type::UInt, "late"_iid), IsOk());
  const ShaderRecords made = *program.MakeShaderRecords(DrawportStage::Fragment, kShadingLanguageGlsl);
  std::vector<std::string> names;
  for (const ShaderParameter& parameter : made.parameters)
    names.push_back(std::string(parameter.name.GetView()) + " " + std::to_string(parameter.binding));
  EXPECT_THAT(names,
              testing::ElementsAre("shade -1", "weight -1", "outtransparency 1", "outcolor 0", "late -1", "uv -1"));
  // A vertex stage that only hands on.
  const ShaderRecords vertex = *program.MakeShaderRecords(DrawportStage::Vertex, kShadingLanguageGlsl);
  EXPECT_EQ(vertex.parameters.GetCount(), 2);
}

TEST(GraphicsDescription, RefusesVariablesThatCannotBe) {
  DrawportProgramDescription program;
  using Stage = DrawportStage;
  EXPECT_THAT(program.AddAttribute(Stage::Fragment, Type::Float, "a"_iid), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program.AddAttribute(Stage::Vertex, Type::Matrix4, "a"_iid), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program.AddAttribute(Stage::Vertex, Type::Float, {}), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program.AddAttribute(Stage::Vertex, Type::Float, "a"_iid), IsOk());
  EXPECT_THAT(program.AddAttribute(Stage::Vertex, Type::Float, "a"_iid), IsOk());
  EXPECT_THAT(program.AddAttribute(Stage::Vertex, Type::Float2, "a"_iid),
              IsErrorWith(kIllegalArgumentError, "The attribute \"a\" has two types."));
  EXPECT_EQ(program.GetAttributes().GetCount(), 1);
  for (const auto& [from, to] : {std::pair(Stage::Vertex, Stage::Vertex), std::pair(Stage::Fragment, Stage::Vertex),
                                 std::pair(Stage::Vertex, Stage::Compute), std::pair(Stage::Fragment, Stage::Compute)})
    EXPECT_THAT(program.AddVaryingVariable(from, to, Type::Float, "v"_iid), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program.AddVaryingVariable(Stage::Vertex, Stage::Fragment, Type::Gradient, "v"_iid),
              IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program.AddVaryingVariable(Stage::Vertex, Stage::Fragment, Type::Float, "v"_iid), IsOk());
  EXPECT_THAT(program.AddVaryingVariable(Stage::Vertex, Stage::Fragment, Type::Float4, "v"_iid),
              IsErrorWith(kIllegalArgumentError, "The varying \"v\" has two types."));
  for (const Int32 target : {-1, 8})
    EXPECT_THAT(program.AddOutputColorVariable(target, "c"_iid), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program.AddOutputColorVariable(0, "c"_iid), IsOk());
  EXPECT_THAT(program.AddOutputColorVariable(0, "d"_iid), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program.AddOutputColorVariable(1, "c"_iid), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program.SetDepthWriteMode(2), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_EQ(program.GetDepthWriteMode(), DrawportDepthWriteMode::Off);
  EXPECT_THAT(program.SetDepthWriteMode(1), IsOk());
  EXPECT_EQ(program.GetDepthWriteMode(), DrawportDepthWriteMode::On);
}

struct Pass final : DrawportDrawPass, DrawportFramebufferTargetSet {
  const DrawportFramebufferTargetSet* GetDefaultFramebufferTargetSet() const override { return this; }
  Int GetColorCount() const override { return static_cast<Int>(formats.size()); }
  PixelFormatRef GetColorFormat(Int index) const override { return formats[static_cast<std::size_t>(index)]; }
  DrawportDepthFormat GetDepthFormat() const override { return depth; }
  Int32 GetSampleCount() const override { return samples; }
  std::vector<PixelFormatRef> formats;
  DrawportDepthFormat depth = DrawportDepthFormat::None;
  Int32 samples = 1;
};
struct EmptyPass final : DrawportDrawPass {
  const DrawportFramebufferTargetSet* GetDefaultFramebufferTargetSet() const override { return nullptr; }
};

TEST(CacheKey, TellsTargetsApart) {
  const DrawportRef drawport = *CreateNullDrawport();
  const auto makeKey = [&](const DrawportDrawPass* pass) {
    return MakeDrawportCacheKey(drawport, DrawportCacheKeyKind::ProgramFactory, pass);
  };
  const PixelFormatRef rgba = *GetPixelFormat("net.ostra.image.pixelformat.rgba.u8"_id);
  Pass pass;
  pass.formats = {rgba};
  Pass same = pass, deeper = pass, finer = pass, wider = pass, other = pass;
  deeper.depth = DrawportDepthFormat::Float32;
  finer.samples = 4;
  wider.formats = {rgba, rgba};
  other.formats = {*GetPixelFormat("net.ostra.image.pixelformat.rgba.f32"_id)};
  EXPECT_EQ(makeKey(&pass), makeKey(&same));
  for (const Pass* different : {&deeper, &finer, &wider, &other}) EXPECT_FALSE(makeKey(&pass) == makeKey(different));
  const EmptyPass empty;
  EXPECT_EQ(makeKey(&empty), makeKey(nullptr));
  EXPECT_FALSE(makeKey(&pass) == makeKey(nullptr));
}

TEST(NullBackend, DrawsNothing) {
  const DrawportRef drawport = *CreateNullDrawport();
  const DrawportCacheRef cache = drawport->GetDrawportCache();
  const DrawportContextRef context = *drawport->CreateOffscreenRenderContext(false, 0);
  constexpr std::string_view kMessage = "There is no GPU backend.";
  DrawportStateObjectItemRef state;
  DrawportVertexAttributeSetItemRef set;
  EXPECT_THAT(cache->GetVertexAttributeLayout({}), IsErrorWith(kNotImplementedError, kMessage));
  EXPECT_THAT(cache->GetVertexAttributeSet({}, {}, set, *context), IsErrorWith(kNotImplementedError, kMessage));
  EXPECT_THAT(cache->GetStateObject({}, {}, state), IsErrorWith(kNotImplementedError, kMessage));
  EXPECT_THAT(cache->CreateRenderTarget(*context, {}), IsErrorWith(kNotImplementedError, kMessage));
  DrawportRenderer renderer(context);
  EXPECT_THAT(renderer.CreateTarget({}), IsErrorWith(kNotImplementedError, kMessage));
  EXPECT_THAT(renderer.Execute(true), IsOk());
  EXPECT_THAT(renderer.GetSampler(0), IsErrorWith(kNotImplementedError, kMessage));
  EXPECT_THAT(GetDefaultCommandList().Draw({}), IsErrorWith(kIllegalStateError, "There is no drawport context."));
  EXPECT_THAT(GetDefaultCommandList().EndDrawPass(), IsErrorOfKind(kIllegalStateError));
}

TEST(GradientSegments, AreThoseOfTheKnotsAndNoneOfAnEmptyGradient) {
  BaseArray<ShaderGradientSegment> segments;
  EXPECT_THAT(AppendGradientSegments({}, segments), IsOk());
  EXPECT_EQ(segments.GetCount(), 0);
  const GradientRef gradient = *CreateObject<GradientInterface>(kGradientClass);
  ASSERT_THAT(gradient->InsertKnot({.color = {0, 1, 2}, .intensity = 2, .position = 0.5f}), IsOk());
  ASSERT_THAT(
      gradient->InsertKnot({.color = {1, 0, 0}, .position = 0.25f, .interpolation = GradientInterpolation::Linear}),
      IsOk());
  EXPECT_THAT(AppendGradientSegments(*gradient->InitRender(), segments), IsOk());
  ASSERT_EQ(segments.GetCount(), 2);
  EXPECT_EQ(segments[0].position, 0.25f);
  EXPECT_EQ(segments[0].scale, 4);
  EXPECT_EQ(segments[0].interpolation, 1);
  EXPECT_EQ(segments[0].change[2], 4);
  EXPECT_EQ(segments[1].color[1], 2);
}

}  // namespace
