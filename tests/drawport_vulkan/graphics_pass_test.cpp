// What passes, kernels and transfers hand to each other: textures of earlier passes, several samples, buffers that
// kernels have written, work in between.
#include "ostra/render/gradient.h"
#include "tests/drawport_vulkan/graphics_fixture.h"

using namespace ostra;

namespace {

using Type = DrawportShaderValueType;

constexpr const char* kRed32 = "net.ostra.image.pixelformat.dynamic.redf32";

class GraphicsPassTest : public GraphicsTest {
 public:
  // A pass over the whole picture that reads textures of another target.
  GraphicsBuilder MakeReader(std::string_view code) {
    GraphicsBuilder program(*this);
    program.Attribute(Type::Float2, "position")
        .Vertex("OutPosition = vec4(position.x, position.y, 0.5, 1.0);\n")
        .Color("color")
        .Fragment(code);
    return program;
  }
  // A slanted edge: only some samples of the pixels along it are covered.
  DrawportDeviceBuffer* MakeSlope() { return MakeBuffer<Float32>({-1, -1, 1, -0.625f, -1, 0.875f}); }
};

TEST_F(GraphicsPassTest, ALaterPassReadsColourAndDepthOfAnEarlierOne) {
  const DrawportRenderTargetRef first = MakeTarget(4, 4);
  GraphicsBuilder plain = MakePlain("vec4(0.25, 0.5, 0.75, 1.0)", "0.125");
  const auto less = [](DrawportStateDescription& state) { Take(state.SetDepthTestMode(1)); };
  const DrawportDrawCall drawn =
      Take(TryMakeCall(plain, {.vertices = MakeRectangle(-1, -1, 0, 1), .count = 6, .state = less}));
  GraphicsBuilder reader = MakeReader(
      "vec4 seen = SampleTexture(image, vec2(InFragCoord.x, InFragCoord.y) / 4.0);\n"
      "color = vec4(seen.x, seen.y, FetchTexture(depth, int2(InFragCoord.x, InFragCoord.y)), 1.0);\n");
  reader.Texture("image", kRgba32).Texture("depth", kRed32);
  const DrawportDrawCall read = Take(
      TryMakeCall(reader, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6, .values = [&](ProgramValues& values) {
                             DrawportTextureSampler* sampler = Take(renderer->GetSampler(0));
                             values.SetTexture("image", first->GetColorTexture(0), sampler);
                             values.SetTexture("depth", first->GetDepthTexture(), sampler);
                           }}));
  target = MakeTarget(4, 4);
  DrawInto(first, {drawn});
  DrawInto(target, {read});
  const Picture picture = Read(target);
  EXPECT_EQ(picture.At(0, 0), (Rgba{0.25f, 0.5f, 0.125f, 1}));
  EXPECT_EQ(picture.At(3, 3), (Rgba{0, 0, 1, 1}));  // nothing was drawn there: the depth is that of clearing
}

TEST_F(GraphicsPassTest, OneSampleIsAllOrNothingAndSeveralShareAPixel) {
  std::vector<Int> partial;
  for (const Int32 sampleCount : {1, 4}) {
    GraphicsBuilder program = MakePlain();
    target = MakeTarget(8, 8, sampleCount);
    DrawInto(target, {Take(TryMakeCall(program, {.vertices = MakeSlope()}))});
    const Picture picture = Read(target);
    Int count = 0;
    for (const Rgba& pixel : picture.pixels) {
      count += pixel.r > 0 && pixel.r < 1;
      // A share of four samples.
      EXPECT_EQ(pixel.r * 4, std::round(pixel.r * 4));
    }
    partial.push_back(count);
    EXPECT_EQ(target->GetColorSamples(0) == target->GetColorTexture(0), sampleCount == 1);
  }
  EXPECT_EQ(partial[0], 0);
  EXPECT_GT(partial[1], 4);
}

TEST_F(GraphicsPassTest, DepthsOfSeveralSamplesAreTestedAndGiven) {
  const auto less = [](DrawportStateDescription& state) { Take(state.SetDepthTestMode(1)); };
  target = MakeTarget(4, 4, 4);
  GraphicsBuilder near = MakePlain("vec4(1.0, 0.0, 0.0, 1.0)", "0.25");
  GraphicsBuilder far = MakePlain("vec4(0.0, 1.0, 0.0, 1.0)", "0.75");
  DrawportDeviceBuffer* all = MakeRectangle(-1, -1, 1, 1);
  DrawInto(target, {Take(TryMakeCall(near, {.vertices = all, .count = 6, .state = less})),
                    Take(TryMakeCall(far, {.vertices = all, .count = 6, .state = less}))});
  EXPECT_EQ(Read(target).Count(kRed), 16);
  EXPECT_EQ(Take(renderer->ReadDepth(*target))[5], 0.25f);
}

TEST_F(GraphicsPassTest, ProgramsReadSamplesOneByOne) {
  const DrawportRenderTargetRef first = MakeTarget(8, 8, 4);
  GraphicsBuilder plain = MakePlain();
  DrawInto(first, {Take(TryMakeCall(plain, {.vertices = MakeSlope()}))});
  // All four samples are counted by hand: the same as what the device resolves.
  GraphicsBuilder reader = MakeReader(
      "float sum = 0.0;\nfor (int i = 0; i < 4; ++i) sum += GetFramebufferTexel(PassTexture(layer), "
      "int2(InFragCoord.x, InFragCoord.y), i).x;\ncolor = vec4(sum / 4.0, 0.0, 0.0, 1.0);\n");
  reader.Texture("layer", kRgba32, true);
  target = MakeTarget(8, 8);
  DrawInto(target,
           {Take(TryMakeCall(
               reader, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6, .values = [&](ProgramValues& values) {
                          values.SetTexture("layer", first->GetColorSamples(0), Take(renderer->GetSampler(0)));
                        }}))});
  const Picture counted = Read(target);
  const Picture resolved = Read(first);
  for (std::size_t i = 0; i < counted.pixels.size(); ++i) EXPECT_EQ(counted.pixels[i].r, resolved.pixels[i].r) << i;
}

TEST_F(GraphicsPassTest, TheSampleNumberRunsTheStageForEachSample) {
  // Each sample gets a colour of its own: the mean tells that all four were there.
  GraphicsBuilder program = MakeReader("color = vec4(float(InSampleID), 0.0, 0.0, 1.0);\n");
  target = MakeTarget(2, 2, 4);
  DrawInto(target, {Take(TryMakeCall(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6}))});
  EXPECT_EQ(Read(target).Count({1.5f, 0, 0, 1}), 4);
  GraphicsBuilder single = MakeReader("color = vec4(float(InSampleID), 0.0, 0.0, 1.0);\n");
  EXPECT_EQ(Draw(single, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6}).Count(kBlack), 64);
}

TEST_F(GraphicsPassTest, TwoAndEightSamplesWorkWhereTheDeviceHasThem) {
  for (const Int32 sampleCount : {2, 8}) {
    DrawportRenderTargetDescription description{.width = 8, .height = 8, .sampleCount = sampleCount};
    description.colorFormats[0] = FindFormat(kRgba32);
    const auto made = renderer->CreateTarget(description);
    if (!made) {
      EXPECT_THAT(made, IsErrorOfKind(kIllegalArgumentError));
      std::cout << "This device has no " << sampleCount << " samples a pixel.\n";
      continue;
    }
    GraphicsBuilder program = MakePlain();
    DrawInto(*made, {Take(TryMakeCall(program, {.vertices = MakeSlope()}))});
    EXPECT_GT(Read(*made).At(0, 7).r, 0);
  }
}

TEST_F(GraphicsPassTest, WhatAKernelHasWrittenIsDrawnWithoutACopy) {
  // Positions on a row of pixels, written into the buffer that the draw reads: no barrier is asked for.
  DrawportDeviceBuffer* positions = MakeBuffer(8 * 8);
  ProgramBuilder kernel(*this);
  kernel.Writes("positions", "vec2", 8);
  const GpuComputeRef compute = kernel.Make(
      "uint i = InGlobalInvocationID.x;\nif (i < 8u) UNIFORM_BUFFER(positions)[i] = vec2(float(i) * 0.25 - 0.875, "
      "0.125);\n",
      [&](ProgramValues& values) { values.SetBuffer("positions", positions); });
  Take(compute->UpdateUniforms(_context, true));
  GraphicsBuilder points = MakePlain();
  const DrawportDrawCall call =
      Take(TryMakeCall(points, {.vertices = positions, .count = 8, .topology = DrawportTopology::Points}));
  target = MakeTarget(8, 8);
  Take(compute->Dispatch(1, 1, 1));
  DrawInto(target, {call});
  const Picture picture = Read(target);
  for (Int x = 0; x < 8; ++x) EXPECT_EQ(picture.At(x, 3), kRed) << x;
  EXPECT_EQ(picture.Count(kRed), 8);
}

TEST_F(GraphicsPassTest, AKernelReadsWhatAPassHasDrawn) {
  target = MakeTarget(4, 4);
  GraphicsBuilder plain = MakePlain("vec4(0.25, 0.5, 0.75, 1.0)");
  DrawInto(target, {Take(TryMakeCall(plain, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6}))});
  DrawportDeviceBuffer* sums = MakeBuffer(16);
  ProgramBuilder kernel(*this);
  kernel.Writes("sums", "vec4", 16).Texture("image", DrawportTextureType::Texture2D, FindFormat(kRgba32), false);
  kernel.Run(
      "if (InGlobalInvocationID.x == 0u) {\nvec4 sum = vec4(0.0, 0.0, 0.0, 0.0);\n"
      "for (int i = 0; i < 16; ++i) sum += FetchTexture(image, int2(i & 3, i >> 2));\n"
      "UNIFORM_BUFFER(sums)[0] = sum;\n}\n",
      1, [&](ProgramValues& values) {
        values.SetBuffer("sums", sums);
        values.SetTexture("image", target->GetColorTexture(0), Take(renderer->GetSampler(0)));
      });
  EXPECT_THAT(Download<Float32>(*sums), testing::ElementsAre(4, 8, 12, 16));
}

TEST_F(GraphicsPassTest, StagesWriteBuffersThatKernelsAndTheHostRead) {
  DrawportDeviceBuffer* counts = MakeBuffer(4);
  GraphicsBuilder program(*this);
  const InternedId name = "counts"_iid;
  program.Attribute(Type::Float2, "position")
      .Vertex("OutPosition = vec4(position.x, position.y, 0.5, 1.0);\n")
      .Color("color")
      .Add([=](DrawportProgramDescription& p) {
        return p.AddBufferParameter(DrawportStage::Fragment, {.typeName = "uint"_s, .members = {}, .byteSize = 4}, name,
                                    DrawportBufferAccess::ReadWrite);
      })
      .Fragment("uint old;\nAtomicAdd(UNIFORM_BUFFER(counts)[0], 1u, old);\ncolor = vec4(1.0, 0.0, 0.0, 1.0);\n");
  Draw(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6, .values = [&](ProgramValues& values) {
                   values.SetBuffer("counts", counts);
                 }});
  EXPECT_THAT(Download<UInt32>(*counts), testing::ElementsAre(64u));
}

TEST_F(GraphicsPassTest, OtherWorkMayStandInTheMiddleOfAPass) {
  for (const Int32 sampleCount : {1, 4}) {
    target = MakeTarget(4, 4, sampleCount);
    GraphicsBuilder left = MakePlain("vec4(1.0, 0.0, 0.0, 1.0)");
    GraphicsBuilder right = MakePlain("vec4(0.0, 1.0, 0.0, 1.0)");
    DrawportDeviceBuffer* moved = MakeRectangle(-1, -1, 0, 1);
    const DrawportDrawCall first = Take(TryMakeCall(left, {.vertices = moved, .count = 6}));
    const DrawportDrawCall second = Take(TryMakeCall(right, {.vertices = moved, .count = 6}));
    DrawportDeviceBuffer* count = MakeBuffer(4);
    ProgramBuilder kernel(*this);
    kernel.Writes("count", "uint", 4);
    const GpuComputeRef compute = kernel.Make("if (InGlobalInvocationID.x == 0u) UNIFORM_BUFFER(count)[0] += 1u;\n",
                                              [&](ProgramValues& values) { values.SetBuffer("count", count); });
    Take(compute->UpdateUniforms(_context, true));
    Take(renderer->Begin(target, {}));
    Take(renderer->Draw(first));
    Take(compute->Dispatch(1, 1, 1));
    const std::vector<Float32> rectangle = {0, -1, 1, -1, 1, 1, 0, -1, 1, 1, 0, 1};
    Upload(*moved, rectangle.data(), moved->GetSize());  // while the first draw still has to read the old ones
    Take(renderer->Execute(false));
    Take(renderer->Draw(second));
    EXPECT_THAT(Download<UInt32>(*count), testing::ElementsAre(1u));  // submits and waits
    Take(renderer->End());
    const Picture picture = Read(target);
    EXPECT_EQ(picture.Count(kRed), 8) << sampleCount;
    EXPECT_EQ(picture.Count(kGreen), 8) << sampleCount;
  }
}

TEST_F(GraphicsPassTest, ABarrierBetweenTwoDrawsShowsWhatTheFirstHasWritten) {
  // The first draw counts into a buffer, the second one reads the count as its colour.
  DrawportDeviceBuffer* count = MakeBuffer(4);
  const auto make = [&](std::string_view code, DrawportBufferAccess access) {
    GraphicsBuilder program(*this);
    program.Attribute(Type::Float2, "position")
        .Vertex("OutPosition = vec4(position.x, position.y, 0.5, 1.0);\n")
        .Color("color")
        .Add([=](DrawportProgramDescription& p) {
          return p.AddBufferParameter(DrawportStage::Fragment, {.typeName = "uint"_s, .members = {}, .byteSize = 4},
                                      "count"_iid, access);
        })
        .Fragment(code);
    return Take(TryMakeCall(program, {.vertices = MakeRectangle(-1, -1, 1, 1),
                                      .count = 6,
                                      .values = [&](ProgramValues& values) { values.SetBuffer("count", count); }}));
  };
  const DrawportDrawCall first =
      make("uint old;\nAtomicAdd(UNIFORM_BUFFER(count)[0], 1u, old);\ncolor = vec4(1.0, 1.0, 1.0, 1.0);\n",
           DrawportBufferAccess::ReadWrite);
  const DrawportDrawCall second =
      make("color = vec4(float(UNIFORM_BUFFER(count)[0]), 0.0, 0.0, 1.0);\n", DrawportBufferAccess::ReadOnly);
  target = MakeTarget(4, 4);
  Take(renderer->Begin(target, {}));
  Take(renderer->Draw(first));
  Take(GetList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
  Take(renderer->Draw(second));
  Take(renderer->End());
  EXPECT_EQ(Read(target).Count({16, 0, 0, 1}), 16);
}

TEST_F(GraphicsPassTest, AValueSetMayGoBehindItsDraw) {
  GraphicsBuilder program = MakePlain("UNIFORM(paint)");
  program.Uniform(DrawportStage::Fragment, Type::Float4, "paint");
  target = MakeTarget(4, 4);
  DrawportDrawCall call = Take(
      TryMakeCall(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6, .values = [](ProgramValues& values) {
                              values.Set("paint", Vector4d32{1, 0, 0, 1});
                            }}));
  DrawInto(target, {call});
  call.program->ReleaseParameterValueSet(*call.values);
  call.values = Take(call.program->GetParameterValueSet(*_context, 77, 1));  // in its place
  Bind(call, {.values = [](ProgramValues& values) { values.Set("paint", Vector4d32{0, 1, 0, 1}); }});
  EXPECT_EQ(Read(target).Count(kRed), 16);
}

TEST_F(GraphicsPassTest, ValuesAreThoseOfTheirDraw) {
  // More uniforms than the ring holds: 20,000 draws of 256 bytes and more.
  constexpr Int kSide = 100;
  GraphicsBuilder program(*this);
  program.Uniform(DrawportStage::Vertex, Type::Float4, "place")
      .Uniform(DrawportStage::Fragment, Type::Float4, "paint")
      .Uniform(DrawportStage::Fragment, Type::Matrix4, "unused")
      .Vertex("OutPosition = UNIFORM(place);\n")
      .Color("color")
      .Fragment("color = UNIFORM(paint);\n");
  target = MakeTarget(kSide, kSide, 1, DrawportDepthFormat::None);
  DrawportDrawCall call = Take(TryMakeCall(program, {.count = 1, .topology = DrawportTopology::Points}));
  Take(renderer->Begin(target, {}));
  for (Int i = 0; i < 2 * kSide * kSide; ++i) {
    const Int x = i % kSide, y = i / kSide % kSide;
    Bind(call, {.values = [&](ProgramValues& values) {
           const auto toClip = [](Int at) { return (2 * static_cast<Float32>(at) + 1) / kSide - 1; };
           values.Set("place", Vector4d32{toClip(x), -toClip(y), 0.5f, 1});
           values.Set("paint", Vector4d32{static_cast<Float32>(x), static_cast<Float32>(y), 0, 1});
         }});
    Take(renderer->Draw(call));
  }
  Take(renderer->End());
  const Picture picture = Read(target);
  for (Int y = 0; y < kSide; ++y)
    for (Int x = 0; x < kSide; ++x)
      ASSERT_EQ(picture.At(x, y), (Rgba{static_cast<Float32>(x), static_cast<Float32>(y), 0, 1}));
}

TEST_F(GraphicsPassTest, EqualNamesInTwoStagesAreTwoParameters) {
  GraphicsBuilder program = MakePlain("vec4(UNIFORM(shade), 0.0, 0.0, 1.0)");
  program.Uniform(DrawportStage::Vertex, Type::Float, "shade")
      .Uniform(DrawportStage::Fragment, Type::Float, "shade")
      .Vertex("OutPosition.x = OutPosition.x + UNIFORM(shade);\n");
  target = MakeTarget(4, 4);
  DrawportDrawCall call = Take(TryMakeCall(program, {.vertices = MakeRectangle(-1, -1, 0, 1), .count = 6}));
  const DrawportParameterHandle ofVertex = call.program->GetStageParameterHandle(DrawportStage::Vertex, "shade"_iid);
  const DrawportParameterHandle ofFragment =
      call.program->GetStageParameterHandle(DrawportStage::Fragment, "shade"_iid);
  EXPECT_NE(ofVertex.index, ofFragment.index);
  EXPECT_FALSE(call.program->GetStageParameterHandle(DrawportStage::TessellationControl, "shade"_iid));
  Take(call.program->StartSetParameters(*_context, *call.values));
  Take(call.program->SetParameterFloat(*call.values, ofVertex, 1));
  Take(call.program->SetParameterFloat(*call.values, ofFragment, 0.5f));
  Take(call.program->EndSetParameters(*_context, *call.values));
  DrawInto(target, {call});
  EXPECT_EQ(Read(target).At(3, 0), (Rgba{0.5f, 0, 0, 1}));  // moved to the right half
  EXPECT_EQ(Read(target).At(0, 0), kEmpty);
}

// A gradient of a few knots.
GradientRenderData MakeGradient(const std::vector<GradientKnot>& knots) {
  const GradientRef gradient = Take(CreateObject<GradientInterface>(kGradientClass));
  for (const GradientKnot& knot : knots) Take(gradient->InsertKnot(knot));
  return Take(gradient->InitRender());
}

TEST_F(GraphicsPassTest, GradientsAreDrawnAsTheHostSamplesThem) {
  const GradientRenderData first = MakeGradient(
      {{.color = {1, 0, 0}, .position = 0.125f, .bias = 0.25f},
       {.color = {0, 1, 0}, .intensity = 2, .position = 0.5f, .interpolation = GradientInterpolation::Linear},
       {.color = {0, 0, 1}, .position = 0.875f}});
  const GradientRenderData second =
      MakeGradient({{.color = {0, 0, 0}, .position = 0}, {.color = {1, 1, 1}, .position = 1}});
  for (const bool isSwapped : {false, true}) {
    GraphicsBuilder program = MakeReader(
        "vec3 a = SampleGradient(UNIFORM(first), InFragCoord.x / 32.0);\n"
        "vec3 b = SampleGradient(UNIFORM(second), InFragCoord.x / 32.0);\n"
        "color = InFragCoord.y < 1.0 ? vec4(a.x, a.y, a.z, 1.0) : vec4(b.x, b.y, b.z, 1.0);\n");
    program.Uniform(DrawportStage::Fragment, Type::Gradient, "first")
        .Uniform(DrawportStage::Fragment, Type::Gradient, "second");
    target = MakeTarget(32, 2);
    DrawportDrawCall call = Take(TryMakeCall(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6}));
    const auto bind = [&](const GradientRenderData& a, const GradientRenderData& b) {
      Take(call.program->StartSetParameters(*_context, *call.values));
      Take(call.program->SetParameterGradient(*call.values, call.program->GetParameterHandle("first"_iid), a));
      Take(call.program->SetParameterGradient(*call.values, call.program->GetParameterHandle("second"_iid), b));
      Take(call.program->EndSetParameters(*_context, *call.values));
    };
    bind(isSwapped ? second : first, isSwapped ? first : second);
    DrawInto(target, {call});
    const Picture picture = Read(target);
    for (Int x = 0; x < 32; ++x) {
      for (Int y = 0; y < 2; ++y) {
        const Vector32 expected =
            ((y == 0) != isSwapped ? first : second).Sample((static_cast<Float32>(x) + 0.5f) / 32);
        EXPECT_NEAR(picture.At(x, y).r, expected.x, 1e-5f) << x << " " << y;
        EXPECT_NEAR(picture.At(x, y).g, expected.y, 1e-5f);
        EXPECT_NEAR(picture.At(x, y).b, expected.z, 1e-5f);
      }
    }
    // Gradients that are empty, or were never set, are black.
    bind({}, second);
    DrawInto(target, {call});
    EXPECT_EQ(Read(target).At(31, 0), kBlack);
    EXPECT_GT(Read(target).At(31, 1).r, 0.9f);
    Bind(call, {});
    DrawInto(target, {call});
    EXPECT_EQ(Read(target).Count(kBlack), 64);
  }
}

TEST_F(GraphicsPassTest, KernelsReadGradientsToo) {
  const GradientRenderData ramp =
      MakeGradient({{.color = {0, 0, 0}, .position = 0}, {.color = {1, 1, 1}, .position = 1}});
  DrawportDeviceBuffer* values = MakeBuffer(64 * 4);
  ProgramBuilder kernel(*this);
  kernel.Writes("values", "float", 4).Uniform(Type::Gradient, "ramp");
  Bool isSet = false;
  const GpuComputeRef compute = kernel.MakeWithBinder(
      "uint i = InGlobalInvocationID.x;\nUNIFORM_BUFFER(values)[i] = SampleGradient(UNIFORM(ramp), float(i) / "
      "64.0).x;\n",
      [&](DrawportProgramFactory& factory, DrawportParameterValueSet& set,
          Block<const DrawportParameter>) -> Result<void> {
        ProgramValues(factory, set).SetBuffer("values", values);
        if (!isSet) return OK;
        return factory.SetParameterGradient(set, factory.GetParameterHandle("ramp"_iid), ramp);
      });
  for (const Float32 expected : {0.0f, ramp.Sample(0.5f).x}) {
    Take(compute->UpdateUniforms(_context, true));
    Take(compute->Dispatch(1, 1, 1));
    EXPECT_NEAR(Download<Float32>(*values)[32], expected, 1e-6f);
    isSet = true;
  }
}

}  // namespace
