// What reaches the pixels: clearing, triangles, coordinates, depth, culling, blending, topologies.
#include "tests/drawport_vulkan/graphics_fixture.h"

using namespace ostra;

namespace {

TEST_F(GraphicsTest, APassWithoutDrawsClears) {
  target = MakeTarget(4, 3);
  DrawportClearValues clear;
  clear.colors[0] = {0.25f, 0.5f, 0.75f, 1};
  clear.depth = 0.5f;
  DrawInto(target, {}, clear);
  EXPECT_EQ(Read(target).Count({0.25f, 0.5f, 0.75f, 1}), 12);
  const BaseArray<Float32> depths = Take(renderer->ReadDepth(*target));
  ASSERT_EQ(depths.GetCount(), 12);
  EXPECT_EQ(depths[11], 0.5f);
}

TEST_F(GraphicsTest, WhatIsNotClearedStays) {
  target = MakeTarget(2, 2);
  EXPECT_EQ(Read(target).Count(kEmpty), 4);  // zero at first
  DrawportClearValues clear;
  clear.colors[0] = {1, 0, 0, 1};
  DrawInto(target, {}, clear);
  clear.colors[0] = {0, 1, 0, 1};
  clear.clearsColor = false;
  DrawInto(target, {}, clear);
  EXPECT_EQ(Read(target).Count(kRed), 4);
}

TEST_F(GraphicsTest, ATriangleCoversItsPixelsOnly) {
  GraphicsBuilder program = MakePlain();
  const Picture picture = Draw(program, {.vertices = MakeBuffer<Float32>({-1, -1, 1, -1, -1, 1})});
  EXPECT_EQ(picture.At(0, 7), kRed);    // bottom left
  EXPECT_EQ(picture.At(7, 0), kEmpty);  // top right
  EXPECT_GE(picture.Count(kRed), 28);
  EXPECT_LE(picture.Count(kRed), 36);
}

TEST_F(GraphicsTest, YGrowsUpwardsAndRowsAreReadFromTheTop) {
  GraphicsBuilder program = MakePlain();
  const Picture picture = Draw(program, {.vertices = MakeRectangle(-1, 0, 1, 1), .count = 6});
  EXPECT_EQ(picture.At(0, 0), kRed);
  EXPECT_EQ(picture.At(7, 3), kRed);
  EXPECT_EQ(picture.At(0, 4), kEmpty);
  EXPECT_EQ(picture.Count(kRed), 32);
}

TEST_F(GraphicsTest, FragmentsAreCountedFromTheTopLeft) {
  GraphicsBuilder program = MakePlain("vec4(InFragCoord.x, InFragCoord.y, InFragCoord.z, 1.0)", "0.25");
  const Picture picture = Draw(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6});
  EXPECT_EQ(picture.At(0, 0), (Rgba{0.5f, 0.5f, 0.25f, 1}));
  EXPECT_EQ(picture.At(6, 2), (Rgba{6.5f, 2.5f, 0.25f, 1}));
}

TEST_F(GraphicsTest, DepthsGoFromZeroToOneAndTheRestIsCutOff) {
  for (const auto& [depth, isSeen] :
       {std::pair("0.0", true), std::pair("1.0", true), std::pair("-0.5", false), std::pair("1.5", false)}) {
    GraphicsBuilder program = MakePlain("vec4(1.0, 0.0, 0.0, 1.0)", depth);
    const Picture picture = Draw(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6});
    EXPECT_EQ(picture.Count(kRed), isSeen ? 64 : 0) << depth;
  }
}

TEST_F(GraphicsTest, TheDepthTestComparesWithWhatIsThere) {
  DrawportDeviceBuffer* all = MakeRectangle(-1, -1, 1, 1);
  // Over a cleared depth of 0.5: what is nearer, equal and farther.
  for (const auto& [mode, near, equal, far] : {std::tuple(DrawportDepthTestMode::Off, true, true, true),
                                               std::tuple(DrawportDepthTestMode::Less, true, false, false),
                                               std::tuple(DrawportDepthTestMode::Equal, false, true, false),
                                               std::tuple(DrawportDepthTestMode::LessEqual, true, true, false),
                                               std::tuple(DrawportDepthTestMode::Greater, false, false, true),
                                               std::tuple(DrawportDepthTestMode::NotEqual, true, false, true),
                                               std::tuple(DrawportDepthTestMode::GreaterEqual, false, true, true),
                                               std::tuple(DrawportDepthTestMode::Always, true, true, true)}) {
    for (const auto& [depth, isSeen] : {std::pair("0.25", near), std::pair("0.5", equal), std::pair("0.75", far)}) {
      GraphicsBuilder program = MakePlain("vec4(1.0, 0.0, 0.0, 1.0)", depth);
      target = MakeTarget(2, 2);
      DrawportClearValues clear;
      clear.depth = 0.5f;
      const auto setMode = [mode = mode](DrawportStateDescription& state) {
        Take(state.SetDepthTestMode(static_cast<Int32>(mode)));
      };
      DrawInto(target, {Take(TryMakeCall(program, {.vertices = all, .count = 6, .state = setMode}))}, clear);
      EXPECT_EQ(Read(target).Count(kRed), isSeen ? 4 : 0) << static_cast<int>(mode) << " " << depth;
      // Only a test writes.
      const Float32 expected = isSeen && mode != DrawportDepthTestMode::Off ? std::strtof(depth, nullptr) : 0.5f;
      EXPECT_EQ(Take(renderer->ReadDepth(*target))[0], expected) << static_cast<int>(mode) << " " << depth;
    }
  }
}

TEST_F(GraphicsTest, NearThingsHideFarOnesWhateverTheOrder) {
  DrawportDeviceBuffer* all = MakeRectangle(-1, -1, 1, 1);
  const auto less = [](DrawportStateDescription& state) { Take(state.SetDepthTestMode(1)); };
  for (const bool nearFirst : {false, true}) {
    GraphicsBuilder near = MakePlain("vec4(1.0, 0.0, 0.0, 1.0)", "0.25");
    GraphicsBuilder far = MakePlain("vec4(0.0, 1.0, 0.0, 1.0)", "0.75");
    target = MakeTarget(2, 2, 1, DrawportDepthFormat::Unorm16);
    std::vector<DrawportDrawCall> calls = {Take(TryMakeCall(near, {.vertices = all, .count = 6, .state = less})),
                                           Take(TryMakeCall(far, {.vertices = all, .count = 6, .state = less}))};
    if (!nearFirst) std::swap(calls[0], calls[1]);
    DrawInto(target, calls);
    EXPECT_EQ(Read(target).Count(kRed), 4);
    EXPECT_NEAR(Take(renderer->ReadDepth(*target))[0], 0.25f, 1e-4f);
  }
}

TEST_F(GraphicsTest, AFragmentStageMayComputeTheDepth) {
  for (const bool isTested : {false, true}) {
    GraphicsBuilder program(*this);
    const ShaderParameter depth = MakeOutput("depth", DrawportShaderValueType::Float);
    const ShaderParameter color = MakeOutput("color", DrawportShaderValueType::Float4);
    program.Attribute(DrawportShaderValueType::Float2, "position")
        .Vertex("OutPosition = vec4(position.x, position.y, 0.5, 1.0);\n")
        .Stage(DrawportStage::Fragment, "", "{\ndepth = 0.125;\ncolor = vec4(1.0, 0.0, 0.0, 1.0);\n}", {color, depth})
        .Add([](DrawportProgramDescription& p) { return p.SetDepthWriteMode(1); });
    const auto state = [isTested](DrawportStateDescription& s) { Take(s.SetDepthTestMode(isTested ? 1 : 0)); };
    Draw(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6, .state = state});
    EXPECT_EQ(Take(renderer->ReadDepth(*target))[0], 0.125f);
  }
}

TEST_F(GraphicsTest, FacesAreCulledByTheirWindingInThePicture) {
  // Counter-clockwise, seen with y upwards.
  DrawportDeviceBuffer* triangle = MakeBuffer<Float32>({-1, -1, 1, -1, 0, 1});
  for (const auto& [cull, front, isSeen] : {std::tuple(0, 0, true), std::tuple(2, 0, true), std::tuple(1, 0, false),
                                            std::tuple(2, 1, false), std::tuple(1, 1, true), std::tuple(0, 1, true)}) {
    GraphicsBuilder program = MakePlain();
    const auto state = [cull = cull, front = front](DrawportStateDescription& s) {
      Take(s.SetCullFace(cull));
      Take(s.SetFrontFace(front));
    };
    EXPECT_EQ(Draw(program, {.vertices = triangle, .state = state}).Count(kRed) > 0, isSeen) << cull << front;
  }
}

TEST_F(GraphicsTest, BlendingMixesWithWhatIsThere) {
  const auto alpha = [](DrawportStateDescription& state) {
    Take(state.SetBlendFunction(DrawportBlendFactor::SourceAlpha, DrawportBlendFactor::OneMinusSourceAlpha,
                                DrawportBlendFactor::One, DrawportBlendFactor::One));
    Take(state.SetAlphaBlendingMode(1));
  };
  GraphicsBuilder program = MakePlain("vec4(1.0, 0.0, 0.0, 0.25)");
  target = MakeTarget(2, 2);
  DrawportClearValues clear;
  clear.colors[0] = {0, 0, 1, 0.5f};
  DrawInto(target, {Take(TryMakeCall(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6, .state = alpha}))},
           clear);
  EXPECT_EQ(Read(target).Count({0.25f, 0, 0.75f, 0.75f}), 4);
}

TEST_F(GraphicsTest, EveryBlendFactorIsTheOneOfItsName) {
  // Source (0.5, 0.25, 1, 0.25) times the factor, target (0.25, 1, 0.5, 0.5) times zero.
  const Rgba source{0.5f, 0.25f, 1, 0.25f}, there{0.25f, 1, 0.5f, 0.5f};
  const auto times = [&](const Rgba& f) {
    return Rgba{source.r * f.r, source.g * f.g, source.b * f.b, source.a * f.a};
  };
  const std::pair<DrawportBlendFactor, Rgba> cases[] = {
      {DrawportBlendFactor::Zero, {0, 0, 0, 0}},
      {DrawportBlendFactor::One, {1, 1, 1, 1}},
      {DrawportBlendFactor::SourceColor, source},
      {DrawportBlendFactor::OneMinusSourceColor, {0.5f, 0.75f, 0, 0.75f}},
      {DrawportBlendFactor::TargetColor, there},
      {DrawportBlendFactor::OneMinusTargetColor, {0.75f, 0, 0.5f, 0.5f}},
      {DrawportBlendFactor::SourceAlpha, {0.25f, 0.25f, 0.25f, 0.25f}},
      {DrawportBlendFactor::OneMinusSourceAlpha, {0.75f, 0.75f, 0.75f, 0.75f}},
  };
  for (const auto& [factor, values] : cases) {
    GraphicsBuilder program = MakePlain("vec4(0.5, 0.25, 1.0, 0.25)");
    const auto blend = [factor = factor](DrawportStateDescription& state) {
      Take(state.SetBlendFunction(factor, DrawportBlendFactor::Zero, factor, DrawportBlendFactor::Zero));
      Take(state.SetAlphaBlendingMode(1));
    };
    target = MakeTarget(1, 1);
    DrawportClearValues clear;
    clear.colors[0] = {there.r, there.g, there.b, there.a};
    DrawInto(target,
             {Take(TryMakeCall(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6, .state = blend}))},
             clear);
    EXPECT_EQ(Read(target).At(0, 0), times(values)) << static_cast<int>(factor);
  }
}

TEST_F(GraphicsTest, PointsLinesAndStripsAreDrawn) {
  GraphicsBuilder points = MakePlain();
  // Middles of the pixels (1, 6) and (4, 3).
  EXPECT_EQ(Draw(points, {.vertices = MakeBuffer<Float32>({-0.625f, -0.625f, 0.125f, 0.125f}),
                          .count = 2,
                          .topology = DrawportTopology::Points})
                .Count(kRed),
            2);
  EXPECT_EQ(Read(target).At(1, 6), kRed);
  EXPECT_EQ(Read(target).At(4, 3), kRed);
  GraphicsBuilder lines = MakePlain();
  Picture picture = Draw(lines, {.vertices = MakeBuffer<Float32>({-1, 0.125f, 1, 0.125f, -1, -0.875f, 0, -0.875f}),
                                 .count = 4,
                                 .topology = DrawportTopology::Lines});
  EXPECT_EQ(picture.At(2, 3), kRed);
  EXPECT_EQ(picture.At(2, 7), kRed);
  EXPECT_EQ(picture.At(6, 7), kEmpty);
  EXPECT_LE(picture.Count(kRed), 13);
  GraphicsBuilder lineStrip = MakePlain();
  picture = Draw(lineStrip, {.vertices = MakeBuffer<Float32>({-0.875f, 0.875f, 0.875f, 0.875f, 0.875f, -1}),
                             .topology = DrawportTopology::LineStrip});
  EXPECT_EQ(picture.At(3, 0), kRed);
  EXPECT_EQ(picture.At(7, 5), kRed);
  EXPECT_EQ(picture.At(3, 5), kEmpty);
  GraphicsBuilder strip = MakePlain();
  picture = Draw(strip, {.vertices = MakeBuffer<Float32>({-1, -1, 1, -1, -1, 1, 1, 1}),
                         .count = 4,
                         .topology = DrawportTopology::TriangleStrip});
  EXPECT_EQ(picture.Count(kRed), 64);
}

TEST_F(GraphicsTest, PointsAreAsLargeAsTheVertexStageSays) {
  GraphicsBuilder program(*this);
  program.Vertex("OutPosition = vec4(0.0, 0.0, 0.5, 1.0);\nOutPointSize = 4.0;\n")
      .Color("color")
      .Fragment("color = vec4(1.0, 0.0, 0.0, 1.0);\n");
  EXPECT_EQ(Draw(program, {.count = 1, .topology = DrawportTopology::Points}).Count(kRed), 16);
}

TEST_F(GraphicsTest, DrawsBeginAtTheirFirstVertexAndRepeatForInstances) {
  GraphicsBuilder program(*this);
  program
      .Vertex(
          "float x = float(InVertexID) * 0.25 - 0.875 + float(InInstanceID) * 0.25;\n"
          "OutPosition = vec4(x, 0.125, 0.5, 1.0);\n")
      .Color("color")
      .Fragment("color = vec4(1.0, 0.0, 0.0, 1.0);\n");
  const Picture picture =
      Draw(program, {.count = 2, .topology = DrawportTopology::Points, .first = 3, .instanceCount = 3});
  for (Int x = 0; x < 8; ++x) EXPECT_EQ(picture.At(x, 3) == kRed, x >= 3 && x <= 6) << x;
}

TEST_F(GraphicsTest, AttributesMayBelongToInstances) {
  GraphicsBuilder program(*this);
  program.Attribute(DrawportShaderValueType::Float2, "place")
      .Vertex("OutPosition = vec4(place.x, place.y, 0.5, 1.0);\n")
      .Color("color")
      .Fragment("color = vec4(1.0, 0.0, 0.0, 1.0);\n");
  target = MakeTarget(8, 8);
  DrawportDrawCall call =
      Take(TryMakeCall(program, {.vertices = MakeBuffer<Float32>({-0.875f, 0.875f, 0.875f, -0.875f}),
                                 .count = 1,
                                 .topology = DrawportTopology::Points,
                                 .instanceCount = 2}));
  call.attributes = MakeAttributes(program.attributes, 1);
  DrawInto(target, {call});
  EXPECT_EQ(Read(target).At(0, 0), kRed);
  EXPECT_EQ(Read(target).At(7, 7), kRed);
}

TEST_F(GraphicsTest, AttributesOfEveryTypeArrive) {
  using Type = DrawportShaderValueType;
  struct Case {
    Type type;
    const char* sum;
  };
  const Case cases[] = {{Type::Float, "value"},
                        {Type::Float2, "value.x + value.y"},
                        {Type::Float3, "value.x + value.y + value.z"},
                        {Type::Float4, "value.x + value.y + value.z + value.w"},
                        {Type::Int, "float(value)"},
                        {Type::Int2, "float(value.x + value.y)"},
                        {Type::Int3, "float(value.x + value.y + value.z)"},
                        {Type::Int4, "float(value.x + value.y + value.z + value.w)"},
                        {Type::UInt, "float(value)"},
                        {Type::UInt2, "float(value.x + value.y)"},
                        {Type::UInt3, "float(value.x + value.y + value.z)"},
                        {Type::UInt4, "float(value.x + value.y + value.z + value.w)"}};
  for (const auto& [type, sum] : cases) {
    GraphicsBuilder program(*this);
    program.Attribute(type, "value")
        .Varying(Type::Float, "shade")
        .Vertex("shade = " + std::string(sum) + ";\nOutPosition = vec4(0.0, 0.0, 0.5, 1.0);\nOutPointSize = 8.0;\n")
        .Color("color")
        .Fragment("color = vec4(shade, 0.0, 0.0, 1.0);\n");
    const Int count = GetVertexAttributeSize(type) / 4;
    const bool isFloat = static_cast<int>(type) <= static_cast<int>(Type::Float4);
    DrawportDeviceBuffer* vertices =
        isFloat ? MakeBuffer(std::vector<Float32>{1, 10, 100, 1000}) : MakeBuffer(std::vector<Int32>{1, 10, 100, 1000});
    const Float32 expected = count == 1 ? 1 : count == 2 ? 11 : count == 3 ? 111 : 1111;
    EXPECT_EQ(Draw(program, {.vertices = vertices, .count = 1, .topology = DrawportTopology::Points}).At(4, 4),
              (Rgba{expected, 0, 0, 1}))
        << static_cast<int>(type);
  }
}

TEST_F(GraphicsTest, VaryingsOfEveryTypeArriveAndFloatsAreInterpolated) {
  using Type = DrawportShaderValueType;
  struct Case {
    Type type;
    const char* make;  // from x, 0 or 2 at the left and right border
    const char* sum;
    bool isFlat;
  };
  const Case cases[] = {
      {Type::Float, "x", "value", false},
      {Type::Float2, "vec2(x, 1.0)", "value.x", false},
      {Type::Float3, "vec3(1.0, x, 1.0)", "value.y", false},
      {Type::Float4, "vec4(1.0, 1.0, 1.0, x)", "value.w", false},
      {Type::Matrix3, "mat3(vec3(0.0, 0.0, 0.0), vec3(0.0, 0.0, 0.0), vec3(0.0, 0.0, x))", "value[2].z", false},
      {Type::Matrix4,
       "mat4(vec4(0.0, 0.0, 0.0, 0.0), vec4(0.0, 0.0, 0.0, 0.0), vec4(0.0, 0.0, 0.0, 0.0), "
       "vec4(0.0, 0.0, 0.0, x))",
       "value[3].w", false},
      {Type::Int, "int(x) - 7", "float(value) + 7.0", true},
      {Type::Int2, "int2(0, int(x))", "float(value.y)", true},
      {Type::Int3, "int3(0, 0, int(x))", "float(value.z)", true},
      {Type::UInt3, "uint3(0u, uint(x), 0u)", "float(value.y)", true},
      {Type::Int4, "int4(0, 0, 0, int(x))", "float(value.w)", true},
      {Type::UInt, "uint(x)", "float(value)", true},
      {Type::UInt2, "uint2(0u, uint(x))", "float(value.y)", true},
      {Type::UInt4, "uint4(uint(x), 0u, 0u, 0u)", "float(value.x)", true}};
  for (const auto& [type, make, sum, isFlat] : cases) {
    GraphicsBuilder program(*this);
    program.Attribute(Type::Float2, "position")
        .Varying(type, "value")
        .Varying(Type::Float, "behind")  // whatever comes before it, it has a place of its own
        .Vertex("float x = position.x + 1.0;\nvalue = " + std::string(make) +
                ";\nbehind = 0.5;\nOutPosition = vec4(position.x, position.y, 0.5, 1.0);\n")
        .Color("color")
        .Fragment("color = vec4(" + std::string(sum) + ", behind, 0.0, 1.0);\n");
    const Picture picture = Draw(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6});
    const Rgba& left = picture.At(0, 4);
    const Rgba& right = picture.At(7, 4);
    EXPECT_EQ(left.g, 0.5f);
    if (isFlat) {
      // The first vertex of a triangle gives the value; both begin at the left.
      EXPECT_EQ(left.r, 0) << static_cast<int>(type);
      EXPECT_EQ(right.r, 0) << static_cast<int>(type);
    } else {
      EXPECT_NEAR(left.r, 0.125f, 1e-4f) << static_cast<int>(type);
      EXPECT_NEAR(right.r, 1.875f, 1e-4f) << static_cast<int>(type);
    }
  }
}

TEST_F(GraphicsTest, ColoursGoToTheirTargetsAndOthersStay) {
  GraphicsBuilder program = MakePlain("vec4(1.0, 0.0, 0.0, 1.0)");
  program.Color("second", 2).Fragment("second = vec4(0.0, 1.0, 0.0, 1.0);\n");
  target = MakeTarget(2, 2, 1, DrawportDepthFormat::None, 3);
  DrawportClearValues clear;
  clear.colors[1] = {0, 0, 1, 1};
  DrawInto(target, {Take(TryMakeCall(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6}))}, clear);
  EXPECT_EQ(Read(target, 0).Count(kRed), 4);
  EXPECT_EQ(Read(target, 1).Count(kBlue), 4);
  EXPECT_EQ(Read(target, 2).Count(kGreen), 4);
}

TEST_F(GraphicsTest, ComponentsThatAColourDoesNotHaveAreThoseOfBlack) {
  const auto alpha = [](DrawportStateDescription& state) {
    Take(state.SetBlendFunction(DrawportBlendFactor::SourceAlpha, DrawportBlendFactor::OneMinusSourceAlpha,
                                DrawportBlendFactor::One, DrawportBlendFactor::One));
    Take(state.SetAlphaBlendingMode(1));
  };
  using Type = DrawportShaderValueType;
  for (const auto& [type, value, expected] :
       {std::tuple(Type::Float, "0.5", Rgba{0.5f, 0, 0, 1}),
        std::tuple(Type::Float2, "vec2(0.5, 0.25)", Rgba{0.5f, 0.25f, 0, 1}),
        std::tuple(Type::Float3, "vec3(0.5, 0.25, 1.0)", Rgba{0.5f, 0.25f, 1, 1})}) {
    GraphicsBuilder program(*this);
    program.Attribute(Type::Float2, "position")
        .Vertex("OutPosition = vec4(position.x, position.y, 0.5, 1.0);\n")
        .Stage(DrawportStage::Fragment, "",
               "{\nif (InFragCoord.x < 0.0) return;\ncolor = " + std::string(value) + ";\n}",
               {MakeOutput("color", type)});
    EXPECT_EQ(Draw(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6, .state = alpha}).Count(expected), 64);
  }
}

TEST_F(GraphicsTest, TargetsOfEveryKindOfFormatAreDrawnInto) {
  using Type = DrawportShaderValueType;
  for (const auto& [format, type, value, expected] :
       {std::tuple("rgba.u8", Type::Float4, "vec4(1.0, 0.0, 1.0, 0.0)", Rgba{1, 0, 1, 0}),
        std::tuple("rgb.u8", Type::Float4, "vec4(1.0, 0.0, 1.0, 0.0)", Rgba{1, 0, 1, 1}),
        std::tuple("dynamic.redf32", Type::Float, "3.5", Rgba{3.5f, 3.5f, 3.5f, 1}),
        std::tuple("dynamic.redgreenf16", Type::Float2, "vec2(0.5, 0.25)", Rgba{0.5f, 0.25f, 0, 1}),
        std::tuple("rgba.u32", Type::UInt4, "uint4(1u, 2u, 3u, 4u)", Rgba{1, 2, 3, 4}),
        std::tuple("dynamic.redgreens32", Type::Int2, "int2(-5, 6)", Rgba{-5, 6, 0, 1})}) {
    DrawportRenderTargetDescription description{.width = 2, .height = 2};
    description.colorFormats[0] = FindFormat("net.ostra.image.pixelformat." + std::string(format));
    target = Take(renderer->CreateTarget(description));
    GraphicsBuilder program(*this);
    program.Attribute(Type::Float2, "position")
        .Vertex("OutPosition = vec4(position.x, position.y, 0.5, 1.0);\n")
        .Stage(DrawportStage::Fragment, "", "{\ncolor = " + std::string(value) + ";\n}", {MakeOutput("color", type)});
    DrawInto(target, {Take(TryMakeCall(program, {.vertices = MakeRectangle(-1, -1, 1, 1), .count = 6}))});
    EXPECT_EQ(Read(target).Count(expected), 4) << format;
  }
}

}  // namespace
