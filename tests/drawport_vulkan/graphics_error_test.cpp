// Mistakes: they are told, nothing is drawn, and the pass goes on.
#include "tests/drawport_vulkan/graphics_fixture.h"

using namespace ostra;

namespace {

using Type = DrawportShaderValueType;

ShaderParameter MakeVarying(std::string_view name, Type type, std::string_view file = {}, Int line = 0) {
  ShaderParameter varying;
  varying.kind = ShaderParameterKind::Varying;
  varying.name = Take(String::Create(name));
  varying.valueType = type;
  varying.origin = {Take(String::Create(file)), line};
  return varying;
}

class GraphicsErrorTest : public GraphicsTest {
 public:
  GraphicsBuilder MakeStages(std::vector<ShaderParameter> given, std::string_view vertex,
                             std::vector<ShaderParameter> received, std::string_view fragment) {
    received.push_back(MakeOutput("color", Type::Float4));
    GraphicsBuilder program(*this);
    program.Stage(DrawportStage::Vertex, "", "{ OutPosition = vec4(0.0, 0.0, 0.0, 1.0); " + std::string(vertex) + " }",
                  std::move(given));
    program.Stage(DrawportStage::Fragment, "", "{ " + std::string(fragment) + " }", std::move(received));
    return program;
  }
};

TEST_F(GraphicsErrorTest, VaryingsThatDoNotMatchAreNamedWithTheirLine) {
  const GraphicsBuilder missing =
      MakeStages({}, "", {MakeVarying("x", Type::Float, "glow.frag", 12)}, "color = vec4(x, x, x, 1.0);");
  EXPECT_THAT(
      missing.TryBuild(),
      IsErrorWith(kIllegalArgumentError,
                  "glow.frag:12: error: the fragment stage receives the varying \"x\", which the vertex stage does "
                  "not give"));
  const GraphicsBuilder unused =
      MakeStages({}, "", {MakeVarying("x", Type::Float)}, "color = vec4(1.0, 1.0, 1.0, 1.0);");
  EXPECT_THAT(unused.TryBuild(), IsErrorOfKind(kIllegalArgumentError));
  const GraphicsBuilder other = MakeStages({MakeVarying("x", Type::Float3)}, "x = vec3(1.0, 1.0, 1.0);",
                                           {MakeVarying("x", Type::Float4, "glow.frag", 3)}, "color = x;");
  EXPECT_THAT(
      other.TryBuild(),
      IsErrorWith(kIllegalArgumentError,
                  "glow.frag:3: error: the varying \"x\" has another type in the fragment stage than in the vertex "
                  "stage"));
}

TEST_F(GraphicsErrorTest, VaryingsThatNobodyReceivesAreNoMistake) {
  const GraphicsBuilder program =
      MakeStages({MakeVarying("x", Type::Float3)}, "x = vec3(1.0, 1.0, 1.0);", {}, "color = vec4(1.0, 0.0, 0.0, 1.0);");
  EXPECT_THAT(program.TryBuild(), IsOk());
}

TEST_F(GraphicsErrorTest, AStageThatDoesNotCompileNamesItsLine) {
  const GraphicsBuilder program = MakeStages({}, "", {}, "color = vec4(nonsense, 0.0, 0.0, 1.0);");
  EXPECT_THAT(program.TryBuild(), IsErrorContaining(kIllegalArgumentError, "stage.file:7: error:"));
}

TEST_F(GraphicsErrorTest, AttributesMustBeGivenInTheirType) {
  GraphicsBuilder program = MakePlain();
  DrawportDrawCall call = Take(TryMakeCall(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6}));
  const DrawportProgramFactoryItemRef item = Take(program.TryBuild());
  target = MakeTarget(2, 2);
  Take(renderer->Begin(target, {}));
  const std::string missing = "The GPU program reads the attribute \"position\", which the vertices do not have.";
  call.attributes = MakeAttributes({{0, Type::Float2, "place"_iid}});
  EXPECT_THAT(renderer->Draw(call), IsErrorWith(kIllegalArgumentError, missing));
  EXPECT_THAT(item->MakeValid(*_context, call.attributes, nullptr), IsErrorWith(kIllegalArgumentError, missing));
  call.attributes = MakeAttributes({{0, Type::Float3, "position"_iid}});
  const std::string other = "The attribute \"position\" of the GPU program has another type than that of the vertices.";
  EXPECT_THAT(renderer->Draw(call), IsErrorWith(kIllegalArgumentError, other));
  EXPECT_THAT(item->MakeValid(*_context, call.attributes, nullptr), IsErrorWith(kIllegalArgumentError, other));
  call.attributes = nullptr;
  EXPECT_THAT(renderer->Draw(call), IsErrorOfKind(kIllegalArgumentError));
  Take(renderer->End());
  EXPECT_EQ(Read(target).Count(kEmpty), 4);
}

TEST_F(GraphicsErrorTest, VerticesMustLieInTheirBuffer) {
  GraphicsBuilder program = MakePlain();
  DrawportDrawCall call = Take(TryMakeCall(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6}));
  target = MakeTarget(2, 2);
  Take(renderer->Begin(target, {}));
  call.count = 7;
  EXPECT_THAT(
      renderer->Draw(call),
      IsErrorWith(kIllegalArgumentError, "The draw needs 7 vertices of 8 bytes; the vertex buffer has 48 bytes."));
  call.count = 4;
  call.first = 3;
  EXPECT_THAT(renderer->Draw(call), IsErrorOfKind(kIllegalArgumentError));
  call.first = INT64_MAX;
  EXPECT_THAT(renderer->Draw(call), IsErrorOfKind(kIllegalArgumentError));
  call.first = 0;
  for (const auto& [count, first, instances] :
       {std::tuple(0, 0, 1), std::tuple(-1, 0, 1), std::tuple(3, -1, 1), std::tuple(3, 0, 0)}) {
    DrawportDrawCall wrong = call;
    wrong.count = count;
    wrong.first = first;
    wrong.instanceCount = instances;
    EXPECT_THAT(renderer->Draw(wrong), IsErrorOfKind(kIllegalArgumentError)) << count << first << instances;
  }
  call.vertices = nullptr;
  EXPECT_THAT(renderer->Draw(call),
              IsErrorWith(kIllegalArgumentError, "The GPU program reads vertices; the draw has no vertex buffer."));
  Take(renderer->End());
  EXPECT_EQ(Read(target).Count(kEmpty), 4);
}

TEST_F(GraphicsErrorTest, ColoursNeedATargetOfTheirKind) {
  GraphicsBuilder program = MakePlain();
  program.Color("second", 1).Fragment("second = vec4(0.0, 0.0, 0.0, 1.0);\n");
  const DrawportProgramFactoryItemRef item = Take(program.TryBuild());
  target = MakeTarget(2, 2);
  const std::string tooMany = "The GPU program gives \"second\" as the colour of target 1; there are 1 targets.";
  EXPECT_THAT(item->MakeValid(*_context, nullptr, target->GetDefaultFramebufferTargetSet()),
              IsErrorWith(kIllegalArgumentError, tooMany));
  DrawportDrawCall call = MakeCall(item, program.attributes, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6});
  Take(renderer->Begin(target, {}));
  EXPECT_THAT(renderer->Draw(call), IsErrorWith(kIllegalArgumentError, tooMany));
  Take(renderer->End());
  DrawportRenderTargetDescription description{.width = 2, .height = 2};
  description.colorFormats[0] = FindFormat("net.ostra.image.pixelformat.rgba.u32");
  target = Take(renderer->CreateTarget(description));
  GraphicsBuilder floats = MakePlain();
  EXPECT_THAT(Take(floats.TryBuild())->MakeValid(*_context, nullptr, target->GetDefaultFramebufferTargetSet()),
              IsErrorContaining(kIllegalArgumentError, "of another type than target 0"));
}

TEST_F(GraphicsErrorTest, PassesBeginAndEndInTurns) {
  target = MakeTarget(2, 2);
  DrawportCommandList& list = GetList();
  EXPECT_THAT(list.EndDrawPass(), IsErrorWith(kIllegalStateError, "There is no draw pass."));
  EXPECT_THAT(list.Draw({}), IsErrorWith(kIllegalStateError, "There is no draw pass."));
  EXPECT_THAT(renderer->Draw({}), IsErrorWith(kIllegalStateError, "There is no draw pass."));
  EXPECT_THAT(renderer->End(), IsErrorWith(kIllegalStateError, "There is no draw pass."));
  EXPECT_THAT(renderer->Begin({}, {}), IsErrorWith(kIllegalArgumentError, "A draw pass needs a target."));
  Take(renderer->Begin(target, {}));
  EXPECT_THAT(renderer->Begin(target, {}),
              IsErrorWith(kIllegalStateError, "A draw pass begins inside of another one."));
  EXPECT_THAT(renderer->Draw({}), IsErrorWith(kIllegalArgumentError, "A draw needs a GPU program and its values."));
  Take(renderer->End());
  DrawportClearValues clear;
  clear.depth = 1.5f;
  EXPECT_THAT(renderer->Begin(target, clear),
              IsErrorWith(kIllegalArgumentError, "A depth is between 0 and 1, not 1.5."));
}

TEST_F(GraphicsErrorTest, ARendererThatGoesEndsItsPass) {
  target = MakeTarget(2, 2);
  Take(renderer->Begin(target, {}));
  renderer.reset();
  renderer.emplace(_context);
  EXPECT_THAT(renderer->Begin(target, {}), IsOk());
  Take(renderer->End());
}

TEST_F(GraphicsErrorTest, TargetsAreWhatTheDeviceCanDo) {
  DrawportRenderTargetDescription description{.width = 2, .height = 2};
  EXPECT_THAT(renderer->CreateTarget(description),
              IsErrorWith(kIllegalArgumentError, "A render target needs a colour or a depth."));
  description.colorFormats[0] = FindFormat(kRgba32);
  description.sampleCount = 3;
  EXPECT_THAT(renderer->CreateTarget(description),
              IsErrorWith(kIllegalArgumentError, "A pixel has 1, 2, 4 or 8 samples, not 3."));
  description.sampleCount = 1;
  for (const auto& [width, height] :
       {std::pair<Int, Int>(0, 1), std::pair<Int, Int>(1, -1), std::pair<Int, Int>(1 << 20, 1)}) {
    description.width = width;
    description.height = height;
    EXPECT_THAT(renderer->CreateTarget(description), IsErrorOfKind(kIllegalArgumentError)) << width;
  }
}

TEST_F(GraphicsErrorTest, ATargetIsNotReadWhileItIsDrawnInto) {
  GraphicsBuilder program(*this);
  program.Attribute(Type::Float2, "position")
      .Vertex("OutPosition = vec4(position.x, position.y, 0.5, 1.0);\n")
      .Color("color")
      .Texture("image", kRgba32)
      .Fragment("color = SampleTexture(image, vec2(0.5, 0.5));\n");
  target = MakeTarget(2, 2);
  const DrawportDrawCall call = Take(
      TryMakeCall(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6, .values = [&](ProgramValues& values) {
                              values.SetTexture("image", target->GetColorTexture(0), Take(renderer->GetSampler(0)));
                            }}));
  Take(renderer->Begin(target, {}));
  EXPECT_THAT(renderer->Draw(call),
              IsErrorWith(kIllegalStateError, "The GPU program reads a texture of the target that it draws into."));
  Take(renderer->End());
}

TEST_F(GraphicsErrorTest, TexturesWithSeveralSamplesNeedAProgramForThem) {
  GraphicsBuilder one(*this);
  one.Vertex("OutPosition = vec4(0.0, 0.0, 0.5, 1.0);\n")
      .Color("color")
      .Texture("image", kRgba32)
      .Fragment("color = SampleTexture(image, vec2(0.5, 0.5));\n");
  const DrawportRenderTargetRef several = MakeTarget(2, 2, 4);
  DrawportDrawCall call = Take(TryMakeCall(one, {}));
  Take(call.program->StartSetParameters(*_context, *call.values));
  ProgramValues values(*call.program, *call.values);
  EXPECT_THAT(values.TrySetTexture("image", several->GetColorSamples(0), Take(renderer->GetSampler(0))),
              IsErrorWith(kIllegalArgumentError,
                          "The texture \"image\" of the GPU program has several samples a pixel, not one."));
  EXPECT_THAT(several->GetColorSamples(0)->GetStagingBufferSize({}, {1, 1, 1}, 0, 0),
              IsErrorWith(kIllegalArgumentError, "A texture with 4 samples a pixel cannot be mapped."));
}

TEST_F(GraphicsErrorTest, KernelsDoNotDrawAndDrawnProgramsAreNotDispatched) {
  GraphicsBuilder program = MakePlain();
  DrawportDrawCall call = Take(TryMakeCall(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6}));
  EXPECT_THAT(GetList().Dispatch(*call.program, *call.values, 1, 1, 1), IsErrorOfKind(kIllegalArgumentError));
  GraphicsBuilder both = MakePlain();
  both.Code(DrawportStage::Compute, "uint i = 0u;\n");
  EXPECT_THAT(both.TryBuild(),
              IsErrorWith(kIllegalArgumentError, "A GPU program is either one of compute or one of graphics stages."));
}

TEST_F(GraphicsErrorTest, AStageHasAtMostEightColours) {
  for (const Int count : {9, 40}) {
    std::vector<ShaderParameter> outputs;
    std::string body = "{\n";
    for (Int i = 0; i < count; ++i) {
      outputs.push_back(MakeOutput("transparency" + std::to_string(i), Type::Float4));
      body += "transparency" + std::to_string(i) + " = vec4(0.0, 0.0, 0.0, 1.0);\n";
    }
    GraphicsBuilder program(*this);
    program.Vertex("OutPosition = vec4(0.0, 0.0, 0.5, 1.0);\n").Stage(DrawportStage::Fragment, "", body + "}", outputs);
    EXPECT_THAT(program.TryBuild(),
                IsErrorWith(kIllegalArgumentError, "The fragment stage of the GPU program has more than 8 colours."));
  }
}

TEST_F(GraphicsErrorTest, ValuesBeyondTheLimitOfUniformsAreRefused) {
  GraphicsBuilder program = MakePlain("UNIFORM(value0)[0] + UNIFORM(value4199)[0]");
  for (Int i = 0; i < 4200; ++i) program.Uniform(DrawportStage::Fragment, Type::Matrix4, "value" + std::to_string(i));
  const auto built = program.TryBuild();
  if (built) {
    std::cout << "This device has room for 268800 bytes of values.\n";
    return;
  }
  EXPECT_THAT(built, IsErrorContaining(kIllegalArgumentError, "The values of the fragment stage have 268800 bytes"));
}

TEST_F(GraphicsErrorTest, NumbersOutsideOfTheirEnumerationsAreRefused) {
  GraphicsBuilder program = MakePlain();
  DrawportDrawCall call = Take(TryMakeCall(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6}));
  target = MakeTarget(2, 2);
  Take(renderer->Begin(target, {}));
  for (const int number : {-1, 6}) {
    call.topology = static_cast<DrawportTopology>(number);
    EXPECT_THAT(renderer->Draw(call), IsErrorOfKind(kIllegalArgumentError));
  }
  Take(renderer->End());
  EXPECT_THAT(renderer->CreateTarget({.width = 1, .height = 1, .depthFormat = static_cast<DrawportDepthFormat>(3)}),
              IsErrorWith(kIllegalArgumentError, "3 is no depth format; there are 0 to 2."));
}

TEST_F(GraphicsErrorTest, ValuesBelongToTheirProgram) {
  GraphicsBuilder first = MakePlain();
  GraphicsBuilder second = MakePlain("vec4(UNIFORM(shade), 0.0, 0.0, 1.0)");
  second.Uniform(DrawportStage::Fragment, Type::Float, "shade");
  DrawportDrawCall call = Take(TryMakeCall(first, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6}));
  call.values = Take(TryMakeCall(second, {})).values;
  target = MakeTarget(2, 2);
  Take(renderer->Begin(target, {}));
  EXPECT_THAT(renderer->Draw(call),
              IsErrorWith(kIllegalArgumentError, "The values of the draw are those of another GPU program."));
  Take(renderer->End());
}

TEST_F(GraphicsErrorTest, AParameterThatIsNotSetIsNamedAndThePassGoesOn) {
  GraphicsBuilder program(*this);
  program.Vertex("OutPosition = vec4(0.0, 0.0, 0.5, 1.0);\n")
      .Color("color")
      .Texture("image", kRgba32)
      .Fragment("color = SampleTexture(image, vec2(0.5, 0.5));\n");
  target = MakeTarget(8, 8);
  GraphicsBuilder plain = MakePlain();
  const DrawportDrawCall good = Take(TryMakeCall(plain, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6}));
  const DrawportDrawCall bad = Take(TryMakeCall(program, {.count = 1, .topology = DrawportTopology::Points}));
  Take(renderer->Begin(target, {}));
  EXPECT_THAT(renderer->Draw(bad),
              IsErrorWith(kIllegalStateError, "The parameter \"image\" of the GPU program is not set."));
  Take(renderer->Draw(good));
  EXPECT_THAT(renderer->Draw(bad), IsErrorOfKind(kIllegalStateError));
  Take(renderer->End());
  EXPECT_EQ(Read(target).Count(kRed), 64);
}

TEST_F(GraphicsErrorTest, TheRendererReadsOnlyWhatIsThere) {
  target = MakeTarget(2, 2, 1, DrawportDepthFormat::None);
  EXPECT_THAT(renderer->ReadColor(*target, 1), IsErrorWith(kIllegalArgumentError, "There is no colour target 1."));
  EXPECT_THAT(renderer->ReadColor(*target, -1), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(renderer->ReadDepth(*target), IsErrorWith(kIllegalArgumentError, "There is no depth target."));
  DrawportRenderer nowhere{DrawportContextRef()};
  EXPECT_THAT(nowhere.CreateTarget({}), IsErrorWith(kIllegalStateError, "A renderer needs a drawport context."));
}

}  // namespace
