// What draws hold until they are done, passes without colours, memory that runs out.
#include "tests/drawport_vulkan/graphics_fixture.h"
#include "tests/support/fault_injection.h"

using namespace ostra;

namespace {

using Type = DrawportShaderValueType;

class GraphicsMemoryTest : public GraphicsTest {
 public:
  // Releases everything that a draw names.
  void DropEverything() {
    DropPrograms();
    _items.clear();
  }
};

TEST_F(GraphicsMemoryTest, WhatIsDroppedBehindADrawIsDrawnAllTheSame) {
  target = MakeTarget(8, 8);
  {
    const DrawportRenderTargetRef first = MakeTarget(8, 8);
    GraphicsBuilder plain = MakePlain();
    DrawInto(first, {Take(TryMakeCall(plain, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6}))});
    GraphicsBuilder reader(*this);
    reader.Attribute(Type::Float2, "position")
        .Vertex("OutPosition = vec4(position.x, position.y, 0.5, 1.0);\n")
        .Color("color")
        .Texture("image", kRgba32)
        .Fragment("color = SampleTexture(image, vec2(0.5, 0.5));\n");
    const DrawportDrawCall call = Take(
        TryMakeCall(reader, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6, .values = [&](ProgramValues& values) {
                               values.SetTexture("image", first->GetColorTexture(0), Take(renderer->GetSampler(0)));
                             }}));
    DrawInto(target, {call});
    DropEverything();
  }
  EXPECT_EQ(Read(target).Count(kRed), 64);
}

TEST_F(GraphicsMemoryTest, DepthsAreDrawnWithoutAFragmentStage) {
  GraphicsBuilder program(*this);
  program.Attribute(Type::Float2, "position").Vertex("OutPosition = vec4(position.x, position.y, 0.25, 1.0);\n");
  target = MakeTarget(4, 4, 1, DrawportDepthFormat::Float32, 0);
  const auto less = [](DrawportStateDescription& state) { Take(state.SetDepthTestMode(1)); };
  DrawInto(target, {Take(TryMakeCall(program, {.vertices = MakeRectangle(-1, -1, 0, 1), .count = 6, .state = less}))});
  const BaseArray<Float32> depths = Take(renderer->ReadDepth(*target));
  EXPECT_EQ(depths[0], 0.25f);
  EXPECT_EQ(depths[3], 1);
  EXPECT_EQ(target->GetColorTexture(0), nullptr);
}

TEST_F(GraphicsMemoryTest, MemoryThatRunsOutIsAnErrorAndTheNextDrawWorks) {
  GraphicsBuilder program = MakePlain("vec4(UNIFORM(shade), 0.0, 0.0, 1.0)");
  program.Uniform(DrawportStage::Fragment, Type::Float, "shade");
  DrawportDrawCall call = Take(TryMakeCall(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6}));
  UInt64 owner = 1000;
  const PixelFormatRef format = FindFormat(kRgba32);
  const auto draw = [&]() -> Result<void> {
    DrawportRenderTargetDescription description{.width = 4, .height = 4};
    description.colorFormats[0] = format;
    description.depthFormat = DrawportDepthFormat::Float32;
    OSTRA_ASSIGN_OR_RETURN(const DrawportRenderTargetRef drawn, renderer->CreateTarget(description));
    OSTRA_ASSIGN_OR_RETURN(call.values, call.program->GetParameterValueSet(*_context, ++owner, 1));
    OSTRA_RETURN_IF_ERROR(call.program->StartSetParameters(*_context, *call.values));
    OSTRA_RETURN_IF_ERROR(
        call.program->SetParameterFloat(*call.values, call.program->GetParameterHandle("shade"_iid), 1));
    OSTRA_RETURN_IF_ERROR(call.program->EndSetParameters(*_context, *call.values));
    OSTRA_RETURN_IF_ERROR(renderer->Begin(drawn, {}));
    Result<void> result = renderer->Draw(call);
    Result<void> ended = renderer->End();
    OSTRA_RETURN_IF_ERROR(std::move(result));
    OSTRA_RETURN_IF_ERROR(std::move(ended));
    OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> bytes, renderer->ReadColor(*drawn, 0));
    return bytes.GetCount() == 256 ? Result<void>(OK) : Error::Make(kIllegalStateError, "short", "test", 1);
  };
  Int failures = 0;
  for (Int n = 1;; ++n) {
    ASSERT_LT(n, 1000);
    AllocationFaults::FailNth(n);
    const Result<void> result = draw();
    const Bool fired = AllocationFaults::HasFired();
    AllocationFaults::Disable();
    // What does not fit is tried again once memory was given back, so not every failure is seen.
    if (!result) {
      EXPECT_EQ(result.GetError().GetKind(), kOutOfMemoryError) << n;
    }
    failures += !result;
    if (!fired) break;
  }
  EXPECT_GT(failures, 5);
  EXPECT_THAT(draw(), IsOk());
}

TEST_F(GraphicsMemoryTest, ATargetThatNoDeviceHasRoomForIsRefusedBeforeTheDriverIsAsked) {
  DrawportRenderTargetDescription description{.width = 16384, .height = 16384};
  description.colorFormats[0] = FindFormat(kRgba32);
  description.sampleCount = 4;
  const auto made = renderer->CreateTarget(description);
  if (made) {
    std::cout << "This device has room for 16 GiB of samples.\n";
    return;
  }
  EXPECT_THAT(made.GetError().GetKind(), testing::AnyOf(kIllegalArgumentError, kOutOfMemoryError));
}

TEST_F(GraphicsMemoryTest, ATargetDoesNotGrowBeyondTheMemoryLimit) {
  SetDrawportMemoryLimit(1 << 20);
  DrawportRenderTargetDescription description{.width = 4096, .height = 4096};
  description.colorFormats[0] = FindFormat(kRgba32);
  EXPECT_THAT(renderer->CreateTarget(description), IsErrorOfKind(kOutOfMemoryError));
  SetDrawportMemoryLimit(0);
  EXPECT_THAT(renderer->CreateTarget({.width = 4, .height = 4, .depthFormat = DrawportDepthFormat::Float32}), IsOk());
}

}  // namespace
