// Looks inside the backend while it draws: what the driver's failures lead to, and what is compiled and kept.
#include "ostra/drawport/renderer.h"
#include "ostra/drawport/shader_cache_access.h"
#include "ostra/render/gradient.h"
#include "tests/drawport_vulkan/internal_fixture.h"

using namespace ostra;
using namespace ostra::vulkan;

namespace {

using Type = DrawportShaderValueType;

class GraphicsInternalTest : public DriverTest {
 protected:
  // A textured, tinted triangle.
  static Result<DrawportProgramFactoryItemRef> MakeProgram(DrawportContextInterface& context, UInt64 key) {
    OSTRA_ASSIGN_OR_RETURN(
        const DrawportProgramBuilder builder,
        DrawportProgramBuilder::Create([](DrawportProgramDescription& program) -> Result<void> {
          OSTRA_ASSIGN_OR_RETURN(const PixelFormatRef format,
                                 GetPixelFormat("net.ostra.image.pixelformat.rgba.f32"_id));
          OSTRA_RETURN_IF_ERROR(program.AddAttribute(DrawportStage::Vertex, Type::Float2, "position"_iid));
          OSTRA_RETURN_IF_ERROR(
              program.AddVaryingVariable(DrawportStage::Vertex, DrawportStage::Fragment, Type::Float2, "place"_iid));
          OSTRA_RETURN_IF_ERROR(program.AddOutputColorVariable(0, "color"_iid));
          OSTRA_RETURN_IF_ERROR(program.AddUniformParameter(DrawportStage::Fragment, Type::Float4, "tint"_iid));
          OSTRA_RETURN_IF_ERROR(program.AddUniformParameter(DrawportStage::Fragment, Type::Gradient, "ramp"_iid));
          OSTRA_RETURN_IF_ERROR(program.AddTextureParameter(DrawportStage::Fragment, DrawportTextureType::Texture2D,
                                                            format, true, "image"_iid));
          OSTRA_RETURN_IF_ERROR(
              program.AddCode(DrawportStage::Vertex, kAppendCode,
                              "place = position;\nOutPosition = vec4(position.x, position.y, 0.5, 1.0);\n"_s));
          return program.AddCode(
              DrawportStage::Fragment, kAppendCode,
              "vec3 shade = SampleGradient(UNIFORM(ramp), place.x);\n"
              "color = UNIFORM(tint) * SampleTexture(image, place) + vec4(shade.x, 1.0, 0.0, 0.0);\n"_s);
        }));
    DrawportCacheKey cacheKey = MakeDrawportCacheKey(context.GetDrawport(), DrawportCacheKeyKind::ProgramFactory);
    cacheKey.Append(key);
    DrawportProgramFactoryItemRef item;
    OSTRA_RETURN_IF_ERROR(
        context.GetDrawport()->GetDrawportCache()->GetProgramFactory(cacheKey, builder, item, context));
    return item;
  }

  // Two passes, the second of which reads what the first has drawn, with a fresh device.
  Result<void> RunScenario() {
    OSTRA_ASSIGN_OR_RETURN(const DrawportContextRef context, MakeContext());
    const DrawportCacheRef cache = context->GetDrawport()->GetDrawportCache();
    DrawportRenderer renderer(context);
    DrawportRenderTargetDescription description{.width = 4, .height = 4};
    description.depthFormat = DrawportDepthFormat::Float32;
    description.sampleCount = 4;
    OSTRA_ASSIGN_OR_RETURN(description.colorFormats[0], GetPixelFormat("net.ostra.image.pixelformat.rgba.f32"_id));
    OSTRA_ASSIGN_OR_RETURN(const DrawportRenderTargetRef first, renderer.CreateTarget(description));
    description.sampleCount = 1;
    OSTRA_ASSIGN_OR_RETURN(const DrawportRenderTargetRef second, renderer.CreateTarget(description));
    OSTRA_ASSIGN_OR_RETURN(const DrawportProgramFactoryItemRef item, MakeProgram(*context, 1));
    OSTRA_RETURN_IF_ERROR(DrawportShaderCacheAccess::AddProgramFactoryCacheItemToShaderCache(
        *context, *item, nullptr, first->GetDefaultFramebufferTargetSet()));

    DrawportDrawCall call;
    call.count = 3;
    OSTRA_ASSIGN_OR_RETURN(call.program, item->MakeValid(*context, nullptr, first->GetDefaultFramebufferTargetSet()));
    OSTRA_ASSIGN_OR_RETURN(call.values, call.program->GetParameterValueSet(*context, 1, 1));
    OSTRA_ASSIGN_OR_RETURN(const auto describe,
                           DrawportVertexAttributeLayoutDescribe::Create(
                               [](DrawportVertexAttributeLayoutDescription& layout) -> Result<void> {
                                 OSTRA_RETURN_IF_ERROR(layout.AllocVertexAttribute(0, Type::Float2, "position"_iid));
                                 return layout.InitVertexAttributes(0);
                               }));
    OSTRA_ASSIGN_OR_RETURN(const auto layout, cache->GetVertexAttributeLayout(describe));
    DrawportVertexAttributeSetItemRef set;
    OSTRA_RETURN_IF_ERROR(cache->GetVertexAttributeSet(layout, {}, set, *context));
    OSTRA_ASSIGN_OR_RETURN(call.attributes, set->MakeValid(*context));
    OSTRA_ASSIGN_OR_RETURN(auto vertices, cache->GetVertexbuffer({{7, 1, 1}}));
    OSTRA_ASSIGN_OR_RETURN(
        auto fill, DrawportVertexBufferFill::Create([&](DrawportVertexBuffer& buffer) -> Result<void> {
          OSTRA_ASSIGN_OR_RETURN(call.vertices, buffer.AllocSubBuffer(*context, DrawportSubBufferUse::General, 24, 16));
          return OK;
        }));
    OSTRA_RETURN_IF_ERROR(vertices->MakeValid(*context, fill));
    const DrawportParameterHandle image = call.program->GetParameterHandle("image"_iid);
    OSTRA_ASSIGN_OR_RETURN(DrawportTextureSampler * sampler, renderer.GetSampler(0));
    DrawportClearValues clear;
    clear.colors[0] = {0.5f, 0.5f, 0.5f, 1};
    for (const auto& [target, source] : {std::pair(&first, &second), std::pair(&second, &first)}) {
      OSTRA_RETURN_IF_ERROR(call.program->StartSetParameters(*context, *call.values));
      OSTRA_RETURN_IF_ERROR(
          call.program->SetParameterTexture(*call.values, image, (*source)->GetColorTexture(0), sampler));
      OSTRA_RETURN_IF_ERROR(call.program->EndSetParameters(*context, *call.values));
      OSTRA_RETURN_IF_ERROR(renderer.Begin(*target, clear));
      Result<void> drawn = renderer.Draw(call);
      Result<void> ended = renderer.End();
      OSTRA_RETURN_IF_ERROR(std::move(drawn));
      OSTRA_RETURN_IF_ERROR(std::move(ended));
    }
    OSTRA_ASSIGN_OR_RETURN(const Image picture, renderer.ReadImage(*second, 0));
    EXPECT_EQ(picture.rgba[0], 0.5f);  // the triangle has no area
    OSTRA_ASSIGN_OR_RETURN(const BaseArray<Float32> depths, renderer.ReadDepth(*second));
    EXPECT_EQ(depths[0], 1);
    return cache->FreeTrashCaches(*context);
  }
};

TEST_F(GraphicsInternalTest, AFailureOfAnyCallIsAnErrorAndLeavesNothingBehind) {
  FailEveryCall(VK_ERROR_OUT_OF_DEVICE_MEMORY, true, [this] { return RunScenario(); });
}

TEST_F(GraphicsInternalTest, ALostDeviceIsAnErrorAndTheNextContextGetsAFreshOne) {
  FailEveryCall(VK_ERROR_DEVICE_LOST, false, [this] { return RunScenario(); });
  EXPECT_THAT(RunScenario(), IsOk());
}

// A program without vertices, drawn into a target that is cleared to grey.
struct DrawnPass {
  DrawportRenderTargetRef target;
  DrawportProgramFactoryItemRef item;
  DrawportDrawCall call;
  DrawportClearValues clear;
};

Result<DrawnPass> MakePass(DrawportRenderer& renderer, std::string_view fragment, Bool hasGradient) {
  DrawportContextInterface& context = *renderer.GetContext();
  DrawnPass pass;
  DrawportRenderTargetDescription description{.width = 2, .height = 2};
  OSTRA_ASSIGN_OR_RETURN(description.colorFormats[0], GetPixelFormat("net.ostra.image.pixelformat.rgba.f32"_id));
  OSTRA_ASSIGN_OR_RETURN(pass.target, renderer.CreateTarget(description));
  OSTRA_ASSIGN_OR_RETURN(
      const DrawportProgramBuilder builder,
      DrawportProgramBuilder::Create([&](DrawportProgramDescription& program) -> Result<void> {
        OSTRA_RETURN_IF_ERROR(program.AddOutputColorVariable(0, "color"_iid));
        OSTRA_RETURN_IF_ERROR(program.AddUniformParameter(DrawportStage::Fragment, Type::Float4, "tint"_iid));
        if (hasGradient)
          OSTRA_RETURN_IF_ERROR(program.AddUniformParameter(DrawportStage::Fragment, Type::Gradient, "ramp"_iid));
        OSTRA_RETURN_IF_ERROR(
            program.AddCode(DrawportStage::Vertex, kAppendCode, "OutPosition = vec4(-0.5, 0.5, 0.5, 1.0);\n"_s));
        OSTRA_ASSIGN_OR_RETURN(const String text, String::Create(fragment));
        return program.AddCode(DrawportStage::Fragment, kAppendCode, text);
      }));
  OSTRA_RETURN_IF_ERROR(context.GetDrawport()->GetDrawportCache()->GetProgramFactory(
      MakeDrawportCacheKey(context.GetDrawport(), DrawportCacheKeyKind::ProgramFactory), builder, pass.item, context));
  OSTRA_ASSIGN_OR_RETURN(pass.call.program, pass.item->MakeValid(context));
  OSTRA_ASSIGN_OR_RETURN(pass.call.values, pass.call.program->GetParameterValueSet(context, 1, 1));
  pass.call.count = 1;
  pass.call.topology = DrawportTopology::Points;
  pass.clear.colors[0] = {0.5f, 0.5f, 0.5f, 1};
  return pass;
}

TEST_F(GraphicsInternalTest, AGradientThatNoStageReadsTakesNoRoom) {
  DrawportRenderer renderer(Take(MakeContext()));
  DrawnPass pass = Take(MakePass(renderer, "color = UNIFORM(tint);\n", true));
  const GradientRef gradient = Take(CreateObject<GradientInterface>(kGradientClass));
  for (int i = 0; i < 200; ++i) Take(gradient->InsertKnot({.position = static_cast<Float32>(i) / 200}));
  const GradientRenderData ramp = Take(gradient->InitRender());
  const DrawportParameterHandle handle = pass.call.program->GetParameterHandle("ramp"_iid);
  ASSERT_TRUE(handle);
  Take(pass.call.program->StartSetParameters(*renderer.GetContext(), *pass.call.values));
  Take(pass.call.program->SetParameterGradient(*pass.call.values, handle, ramp));
  EXPECT_EQ(static_cast<ValueSet&>(*pass.call.values).GetGradients().GetCount(), 0);
  Take(pass.call.program->EndSetParameters(*renderer.GetContext(), *pass.call.values));
  Take(renderer.Begin(pass.target, pass.clear));
  Take(renderer.Draw(pass.call));
  Take(renderer.End());
}

TEST_F(GraphicsInternalTest, APassGoesOnAndClearsOnceMoreBehindASubmitThatFails) {
  DrawportRenderer renderer(Take(MakeContext()));
  DrawnPass pass = Take(MakePass(renderer, "color = vec4(1.0, 0.0, 0.0, 1.0) + UNIFORM(tint);\n", false));
  Take(renderer.Begin(pass.target, pass.clear));
  Take(renderer.Draw(pass.call));
  CallFaults::FailNth(1, VK_ERROR_OUT_OF_DEVICE_MEMORY);  // the end of recording
  EXPECT_THAT(renderer.Execute(false), IsErrorOfKind(kOutOfMemoryError));
  CallFaults::Disable();
  Take(renderer.Draw(pass.call));
  Take(renderer.End());
  const Image picture = Take(renderer.ReadImage(*pass.target, 0));
  EXPECT_EQ(picture.rgba[0], 1);         // the point
  EXPECT_EQ(picture.rgba[4 * 3], 0.5f);  // grey
}

TEST_F(GraphicsInternalTest, WhatADroppedContextHadRecordedDoesNotUndoTheWorkOfAnother) {
  const DrawportContextRef first = Take(MakeContext());
  DrawportRenderer renderer(first);
  DrawnPass pass = Take(MakePass(renderer, "color = vec4(1.0, 0.0, 0.0, 1.0) + UNIFORM(tint);\n", false));
  Take(renderer.Begin(pass.target, pass.clear));  // batch 1 of the first list
  Take(renderer.End());
  Take(renderer.Execute(true));
  {
    DrawportRenderer other(Take(first->GetDrawport()->CreateOffscreenRenderContext(true, 0)));
    Take(other.Begin(pass.target, {}));  // batch 1 of the second list, never submitted
    Take(other.End());
  }
  EXPECT_EQ(Take(renderer.ReadImage(*pass.target, 0)).rgba[0], 0.5f);
}

TEST_F(GraphicsInternalTest, TheFirstUseByOneContextDoesNotWipeWhatAnotherHasDrawn) {
  const DrawportContextRef first = Take(MakeContext());
  DrawportRenderer renderer(first);
  DrawportRenderer other(Take(first->GetDrawport()->CreateOffscreenRenderContext(true, 0)));
  DrawnPass pass = Take(MakePass(renderer, "color = UNIFORM(tint);\n", false));
  // The first context only names the target, and submits last.
  Take(renderer.Begin(pass.target, {.clearsColor = false, .clearsDepth = false}));
  Take(renderer.End());
  Take(other.Begin(pass.target, pass.clear));
  Take(other.End());
  Take(other.Execute(true));
  Take(renderer.Execute(true));
  EXPECT_EQ(Take(other.ReadImage(*pass.target, 0)).rgba[0], 0.5f);
}

TEST_F(GraphicsInternalTest, ProgramsOfALostDeviceStayThereForThoseWhoStillHoldThem) {
  const DrawportContextRef first = Take(MakeContext());
  DrawportRenderer renderer(first);
  DrawnPass pass = Take(MakePass(renderer, "color = UNIFORM(tint);\n", false));
  Take(renderer.Begin(pass.target, pass.clear));
  Take(renderer.End());
  CallFaults::FailNth(4, VK_ERROR_DEVICE_LOST);  // after the end of recording, and of the setup of the target
  EXPECT_THAT(renderer.Execute(true), IsErrorOfKind(kIllegalStateError));
  CallFaults::Disable();
  const DrawportContextRef fresh = Take(first->GetDrawport()->CreateOffscreenRenderContext(false, 0));
  DrawportProgramFactory* rebuilt = Take(pass.item->MakeValid(*fresh));
  EXPECT_NE(rebuilt, pass.call.program);
  EXPECT_THAT(renderer.Begin(pass.target, {}), IsErrorWith(kIllegalStateError, "The GPU device is lost."));
  EXPECT_TRUE(pass.call.program->GetParameterHandle("tint"_iid));  // the old one is still there
  EXPECT_EQ(Take(pass.item->MakeValid(*fresh)), rebuilt);
}

TEST_F(GraphicsInternalTest, DevicesWithFewerFeaturesSayWhatTheyLack) {
  const DrawportContextRef context = Take(MakeContext());
  DrawportRenderer renderer(context);
  Device& device = static_cast<Context&>(*context).GetDevice();
  const GraphicsFeatures all = device.GetGraphics();
  GraphicsFeatures less = all;
  less.hasSampleShading = false;
  device.SetGraphics(less);
  EXPECT_FALSE(context->IsFeatureSupported(DrawportFeature::MultisampleTexture));
  EXPECT_THAT(MakePass(renderer, "color = UNIFORM(tint) * float(InSampleID);\n", false),
              IsErrorOfKind(kIllegalStateError));
  less = all;
  less.canDraw = false;
  device.SetGraphics(less);
  EXPECT_THAT(MakePass(renderer, "color = UNIFORM(tint);\n", false),
              IsErrorWith(kIllegalStateError, "The GPU device cannot draw."));
  device.SetGraphics(all);
  EXPECT_THAT(MakePass(renderer, "color = UNIFORM(tint);\n", false), IsOk());
}

TEST_F(GraphicsInternalTest, LoadersThatKnowNoNewerVersionDrawWithTheExtension) {
  _driver = {};
  Driver::Pretend({.isOld = true});
  _driver = Take(Driver::Get());
  EXPECT_NE(_driver->GetSnapshot(0).rendering, RenderingSupport::Core);
  const Bool canDraw = CanDraw(_driver->GetSnapshot(0));
  EXPECT_THAT(RunScenario(), canDraw ? testing::Matcher<Result<void>>(IsOk()) : IsErrorOfKind(kIllegalStateError));
  _driver = {};
  Driver::Pretend({});
}

TEST_F(GraphicsInternalTest, StagesAreCompiledOnceAndFoundOnDiskByTheNextStart) {
  for (const auto& [compiled, loaded] : {std::pair(2, 0), std::pair(0, 2)}) {
    const DrawportContextRef context = Take(MakeContext());
    const DrawportProgramFactoryItemRef item = Take(MakeProgram(*context, 1));
    const DrawportProgramFactoryItemRef other = Take(MakeProgram(*context, 2));
    Take(DrawportShaderCacheAccess::AddProgramFactoryCacheItemToShaderCache(*context, *item, nullptr, nullptr));
    Take(item->MakeValid(*context));
    Take(other->MakeValid(*context));
    const ProgramStatistics statistics = GetStatistics(context);
    EXPECT_EQ(statistics.compiled, compiled);
    EXPECT_EQ(statistics.loaded, loaded);
    EXPECT_EQ(statistics.shared, 1);
  }
}

}  // namespace
