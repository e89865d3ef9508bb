// Graphics programs of a few lines, drawn into small targets, for tests.
//
//   GraphicsBuilder program(*this);
//   program.Attribute(DrawportShaderValueType::Float2, "position").Vertex("OutPosition = vec4(position.x, ...);\n");
//   program.Color("color").Fragment("color = vec4(1.0, 0.0, 0.0, 1.0);\n");
//   const Picture picture = Draw(program, {.vertices = MakeBuffer(points), .count = 3});
#pragma once

#include <cmath>

#include "ostra/drawport/renderer.h"
#include "tests/drawport_vulkan/program_builder.h"

namespace ostra {

struct Rgba {
  Float32 r = 0, g = 0, b = 0, a = 0;
  friend bool operator==(const Rgba&, const Rgba&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Rgba& c) {
    return out << c.r << " " << c.g << " " << c.b << " " << c.a;
  }
};

inline PixelFormatRef FindFormat(std::string_view name) { return Take(GetPixelFormat(Id(Take(String::Create(name))))); }

// A colour of the fragment stage.
inline ShaderParameter MakeOutput(std::string_view name, DrawportShaderValueType type) {
  ShaderParameter output;
  output.kind = ShaderParameterKind::Output;
  output.name = Take(String::Create(name));
  output.valueType = type;
  return output;
}

inline constexpr Rgba kRed{1, 0, 0, 1}, kGreen{0, 1, 0, 1}, kBlue{0, 0, 1, 1}, kBlack{0, 0, 0, 1}, kEmpty{0, 0, 0, 0};

// A picture that was read back; row 0 is the top.
struct Picture {
  Int width = 0, height = 0;
  std::vector<Rgba> pixels;
  const Rgba& At(Int x, Int y) const { return pixels[static_cast<std::size_t>(y * width + x)]; }
  Int Count(const Rgba& color) const { return static_cast<Int>(std::count(pixels.begin(), pixels.end(), color)); }
};

class GraphicsBuilder {
 public:
  explicit GraphicsBuilder(GpuTest& test) : _test(test) {}

  using Step = std::function<Result<void>(DrawportProgramDescription&)>;
  GraphicsBuilder& Add(Step step) {
    _steps.push_back(std::move(step));
    return *this;
  }
  GraphicsBuilder& Attribute(DrawportShaderValueType type, std::string_view name) {
    const InternedId id = Take(InternedId::Create(name));
    attributes.push_back({0, type, id});
    return Add([=](DrawportProgramDescription& p) { return p.AddAttribute(DrawportStage::Vertex, type, id); });
  }
  GraphicsBuilder& Varying(DrawportShaderValueType type, std::string_view name,
                           DrawportStage from = DrawportStage::Vertex, DrawportStage to = DrawportStage::Fragment) {
    const InternedId id = Take(InternedId::Create(name));
    return Add([=](DrawportProgramDescription& p) { return p.AddVaryingVariable(from, to, type, id); });
  }
  GraphicsBuilder& Color(std::string_view name, Int32 target = 0) {
    const InternedId id = Take(InternedId::Create(name));
    return Add([=](DrawportProgramDescription& p) { return p.AddOutputColorVariable(target, id); });
  }
  GraphicsBuilder& Uniform(DrawportStage stage, DrawportShaderValueType type, std::string_view name) {
    const InternedId id = Take(InternedId::Create(name));
    return Add([=](DrawportProgramDescription& p) { return p.AddUniformParameter(stage, type, id); });
  }
  GraphicsBuilder& Texture(std::string_view name, std::string_view format, Bool isMultisampled = false) {
    const InternedId id = Take(InternedId::Create(name));
    const PixelFormatRef pixelFormat = FindFormat(format);
    return Add([=](DrawportProgramDescription& p) {
      return p.AddTextureParameter(DrawportStage::Fragment, DrawportTextureType::Texture2D, pixelFormat, false, id,
                                   false, isMultisampled);
    });
  }
  GraphicsBuilder& Code(DrawportStage stage, std::string_view text,
                        DrawportCodeSection section = DrawportCodeSection::Body) {
    const String code = Take(String::Create(text));
    return Add([=](DrawportProgramDescription& p) { return p.AddCode(stage, kAppendCode, code, section); });
  }
  GraphicsBuilder& Vertex(std::string_view text) { return Code(DrawportStage::Vertex, text); }
  GraphicsBuilder& Fragment(std::string_view text) { return Code(DrawportStage::Fragment, text); }
  // Pieces of a stage as a translator makes them: for lines "#define" and outputs of other types.
  GraphicsBuilder& Stage(DrawportStage stage, std::string_view defines, std::string_view body,
                         std::vector<ShaderParameter> parameters = {}) {
    const String definesText = Take(String::Create(defines));
    const String bodyText = Take(String::Create(body));
    return Add([=](DrawportProgramDescription& p) -> Result<void> {
      ShaderRecords records;
      records.stage = stage;
      records.language = kShadingLanguageGlsl;
      if (definesText.IsPopulated()) OSTRA_RETURN_IF_ERROR(records.defines.Append(ShaderCode{definesText, {}}));
      records.body.text = bodyText;
      OSTRA_RETURN_IF_ERROR(records.body.origins.Append(ShaderOrigin{"stage.file"_s, 7}));
      for (const ShaderParameter& parameter : parameters) OSTRA_RETURN_IF_ERROR(records.parameters.Append(parameter));
      return p.SetShaderRecords(std::move(records));
    });
  }

  Result<DrawportProgramFactoryItemRef> TryBuild() const {
    const auto build = [this](DrawportProgramDescription& p) -> Result<void> {
      for (const Step& step : _steps) OSTRA_RETURN_IF_ERROR(step(p));
      return p.SetDebugLabel("drawn");
    };
    DrawportCacheKey key = MakeDrawportCacheKey(_test._drawport, DrawportCacheKeyKind::ProgramFactory);
    key.Append(++_test._keys);
    DrawportProgramFactoryItemRef item;
    OSTRA_ASSIGN_OR_RETURN(const DrawportProgramBuilder builder, DrawportProgramBuilder::Create(build));
    OSTRA_RETURN_IF_ERROR(_test._cache->GetProgramFactory(key, builder, item, *_test._context));
    OSTRA_RETURN_IF_ERROR(item->MakeValid(*_test._context));
    return item;
  }

  std::vector<DrawportVertexAttribute> attributes;

 private:
  GpuTest& _test;
  std::vector<Step> _steps;
};

// What a test draws.
struct DrawOptions {
  DrawportDeviceBuffer* vertices = nullptr;
  Int count = 3;
  DrawportTopology topology = DrawportTopology::Triangles;
  Int patchSize = 3;
  Int first = 0;
  Int instanceCount = 1;
  std::function<void(DrawportStateDescription&)> state = {};
  std::function<void(ProgramValues&)> values = {};
};

class GraphicsTest : public GpuTest {
 public:
  static constexpr const char* kRgba32 = "net.ostra.image.pixelformat.rgba.f32";

  void SetUp() override {
    GpuTest::SetUp();
    if (_context) renderer.emplace(_context);
  }
  void TearDown() override {
    DropPrograms();
    target = {};
    renderer.reset();
    GpuTest::TearDown();
  }

  // Releases the programs of all calls, with their attributes and states.
  void DropPrograms() {
    _programs.clear();
    _sets.clear();
    _states.clear();
  }

  DrawportRenderTargetRef MakeTarget(Int width, Int height, Int32 sampleCount = 1,
                                     DrawportDepthFormat depth = DrawportDepthFormat::Float32, Int colorCount = 1) {
    DrawportRenderTargetDescription description;
    description.width = width;
    description.height = height;
    for (Int i = 0; i < colorCount; ++i) description.colorFormats[i] = FindFormat(kRgba32);
    description.depthFormat = depth;
    description.sampleCount = sampleCount;
    return Take(renderer->CreateTarget(description));
  }

  // Builds the program anew and fills a draw call with it.
  Result<DrawportDrawCall> TryMakeCall(const GraphicsBuilder& program, const DrawOptions& options) {
    OSTRA_ASSIGN_OR_RETURN(DrawportProgramFactoryItemRef item, program.TryBuild());
    return MakeCall(item, program.attributes, options);
  }
  DrawportDrawCall MakeCall(const DrawportProgramFactoryItemRef& item,
                            const std::vector<DrawportVertexAttribute>& attributes, const DrawOptions& options) {
    _programs.push_back(item);
    DrawportDrawCall call;
    call.program = Take(item->MakeValid(*_context));
    call.values = Take(call.program->GetParameterValueSet(*_context, ++_owners, 1));
    Bind(call, options);
    if (!attributes.empty()) call.attributes = MakeAttributes(attributes);
    if (options.state) call.state = MakeState(options.state);
    call.vertices = options.vertices;
    call.count = options.count;
    call.first = options.first;
    call.instanceCount = options.instanceCount;
    call.topology = options.topology;
    call.patchSize = options.patchSize;
    return call;
  }
  void Bind(DrawportDrawCall& call, const DrawOptions& options) {
    Take(call.program->StartSetParameters(*_context, *call.values));
    ProgramValues values(*call.program, *call.values);
    if (options.values) options.values(values);
    Take(call.program->EndSetParameters(*_context, *call.values));
  }
  DrawportVertexAttributeSet* MakeAttributes(const std::vector<DrawportVertexAttribute>& attributes,
                                             Int32 perInstance = 0) {
    const auto describe = [&](DrawportVertexAttributeLayoutDescription& layout) -> Result<void> {
      Int offset = 0;
      for (const DrawportVertexAttribute& attribute : attributes) {
        OSTRA_RETURN_IF_ERROR(layout.AllocVertexAttribute(offset, attribute.type, attribute.name));
        offset += GetVertexAttributeSize(attribute.type);
      }
      return layout.InitVertexAttributes(perInstance);
    };
    const auto layout =
        Take(_cache->GetVertexAttributeLayout(Take(DrawportVertexAttributeLayoutDescribe::Create(describe))));
    DrawportVertexAttributeSetItemRef set;
    Take(_cache->GetVertexAttributeSet(layout, {}, set, *_context));
    _sets.push_back(set);
    return Take(set->MakeValid(*_context));
  }
  DrawportStateObject* MakeState(const std::function<void(DrawportStateDescription&)>& fill) {
    const auto describe = [&](DrawportStateDescription& state) -> Result<void> {
      OSTRA_RETURN_IF_ERROR(state.InitializeWithDefaults());
      fill(state);
      return OK;
    };
    DrawportCacheKey key = MakeDrawportCacheKey(_drawport, DrawportCacheKeyKind::StateObject);
    key.Append(++_keys);
    DrawportStateObjectItemRef item;
    DrawportStateObject* state = Take(_cache->GetStateObject(key, Take(DrawportStateDescribe::Create(describe)), item));
    _states.push_back(item);
    return state;
  }

  // Clears `target` and draws into it.
  void DrawInto(const DrawportRenderTargetRef& drawn, const std::vector<DrawportDrawCall>& calls,
                const DrawportClearValues& clear = {}) {
    Take(renderer->Begin(drawn, clear));
    for (const DrawportDrawCall& call : calls) Take(renderer->Draw(call));
    Take(renderer->End());
  }
  Picture Read(const DrawportRenderTargetRef& drawn, Int index = 0) {
    const Image image = Take(renderer->ReadImage(*drawn, index));
    Picture picture{image.width, image.height, {}};
    for (Int i = 0; i < image.width * image.height; ++i)
      picture.pixels.push_back(
          {image.rgba[4 * i], image.rgba[4 * i + 1], image.rgba[4 * i + 2], image.rgba[4 * i + 3]});
    return picture;
  }
  // One draw of a program into a target of 8 x 8 pixels.
  Picture Draw(const GraphicsBuilder& program, const DrawOptions& options) {
    target = MakeTarget(8, 8);
    DrawInto(target, {Take(TryMakeCall(program, options))});
    return Read(target);
  }

  // A program that colours what its vertices of two floats cover.
  GraphicsBuilder MakePlain(std::string_view color = "vec4(1.0, 0.0, 0.0, 1.0)", std::string_view depth = "0.5") {
    GraphicsBuilder program(*this);
    program.Attribute(DrawportShaderValueType::Float2, "position")
        .Vertex("OutPosition = vec4(position.x, position.y, " + std::string(depth) + ", 1.0);\n")
        .Color("color")
        .Fragment("color = " + std::string(color) + ";\n");
    return program;
  }
  // Two triangles, counter-clockwise, over a rectangle in clip space.
  DrawportDeviceBuffer* MakeRectangle(Float32 left, Float32 bottom, Float32 right, Float32 top) {
    return MakeBuffer<Float32>({left, bottom, right, bottom, right, top, left, bottom, right, top, left, top});
  }

  std::optional<DrawportRenderer> renderer;
  DrawportRenderTargetRef target;

 private:
  std::vector<DrawportProgramFactoryItemRef> _programs;
  std::vector<DrawportVertexAttributeSetItemRef> _sets;
  std::vector<DrawportStateObjectItemRef> _states;
  UInt64 _owners = 0;
};

}  // namespace ostra
