#include "plans/scene/render_plan.h"

#include <algorithm>
#include <map>

#include "ostra/core/format.h"
#include "ostra/io/file.h"
#include "ostra/math/data_types.h"
#include "ostra/object/class.h"
#include "ostra/render/gradient.h"
#include "parallelprogram/shaderassembly/struct_elements.h"
#include "plans/buffers/buffer_file.h"
#include "plans/buffers/file_kind.h"
#include "plans/names/nearest_name.h"
#include "plans/scene/json_place.h"
#include "plans/scene/read_draw.h"
#include "plans/scene/scene_values.h"
#include "plans/scene/vertex_data.h"
#include "plans/values/scalar_type.h"
#include "plans/values/typed_value.h"

OSTRA_UNIT("render_plan");

namespace ostra::plans {

namespace {

// A texture as a stage file declares it; null for what the tool cannot fill.
class Planner {
 public:
  Planner(const Scene& scene, const Url& folder) : _scene(scene), _folder(folder) {}

  Result<RenderPlan> Make() {
    for (const ScenePass& pass : _scene.passes) {
      PlannedPass planned;
      planned.scene = &pass;
      planned.size = pass.size.IsKnown() ? pass.size : _scene.size;
      _aspect = static_cast<Float64>(planned.size.width) / static_cast<Float64>(planned.size.height);
      for (const SceneDraw& draw : pass.draws) {
        OSTRA_ASSIGN_OR_RETURN(PlannedDraw plannedDraw, PlanDraw(draw, pass.sampleCount));
        planned.draws.push_back(std::move(plannedDraw));
      }
      _plan.passes.push_back(std::move(planned));
    }
    return std::move(_plan);
  }

 private:
  Error MakeError(std::string_view path, std::string_view text) const {
    return OSTRA_ILLEGAL_ARGUMENT("@: @: @", _scene.file, path, text);
  }

  Result<PlannedDraw> PlanDraw(const SceneDraw& draw, Int sampleCount) {
    PlannedDraw planned;
    planned.scene = &draw;
    OSTRA_ASSIGN_OR_RETURN(planned.stages, ReadStageFiles(_scene, draw, sampleCount, _folder));
    OSTRA_ASSIGN_OR_RETURN(planned.program, InternedId::Create(draw.path));
    OSTRA_RETURN_IF_ERROR(CheckNames(draw, planned.stages));
    const auto vertexStage = std::find_if(planned.stages.begin(), planned.stages.end(),
                                          [](const StageFile& stage) { return stage.stage == DrawportStage::Vertex; });
    OSTRA_ASSIGN_OR_RETURN(VertexData vertices, MakeVertexData(_scene, draw, *vertexStage, _folder));
    planned.vertexNumbers = std::move(vertices.numbers);
    planned.stride = vertices.stride;
    planned.vertexCount = vertices.count;
    for (std::size_t i = 0; i < planned.stages.size(); ++i) {
      const ShaderParser& parser = *planned.stages[i].parser;
      for (const ShaderInputEntry& input : parser.GetInputEntries())
        OSTRA_RETURN_IF_ERROR(PlanInput(draw, static_cast<Int32>(i), input, planned));
      for (const ShaderTextureEntry& texture : parser.GetTextureEntries())
        OSTRA_RETURN_IF_ERROR(PlanTexture(draw, static_cast<Int32>(i), texture, planned));
    }
    return planned;
  }

  // Every name that is given must be declared: it would change nothing otherwise.
  Result<void> CheckNames(const SceneDraw& draw, const std::vector<StageFile>& stages) const {
    OSTRA_RETURN_IF_ERROR(CheckNames(draw.uniforms, "uniform", ListInputs(stages, &IsUniform), stages));
    OSTRA_RETURN_IF_ERROR(CheckNames(draw.buffers, "buffer", ListInputs(stages, &IsBuffer), stages));
    return CheckNames(draw.textures, "texture", ListTextures(stages), stages);
  }

  template <class Given>
  Result<void> CheckNames(const Given& given, const char* kind, const std::vector<std::string>& names,
                          const std::vector<StageFile>& stages) const {
    for (const auto& [name, value] : given) {
      if (std::find(names.begin(), names.end(), name) != names.end()) continue;
      if (const std::string lost = FindLostDeclaration(stages, name); !lost.empty())
        return OSTRA_ILLEGAL_ARGUMENT("@", lost);
      return MakeError(value.path,
                       "the stages have no " + std::string(kind) + " \"" + name + "\"" + SuggestName(name, names));
    }
    return OK;
  }

  Result<void> PlanInput(const SceneDraw& draw, Int32 stage, const ShaderInputEntry& input, PlannedDraw& planned) {
    const std::string name(input.name.GetString().GetView());
    OSTRA_ASSIGN_OR_RETURN(const InternedId id, InternedId::Create(name));
    if (IsCounter(input)) planned.counters.push_back({stage, id, {}});
    if (IsBuffer(input)) return PlanBuffer(draw, stage, input, id, planned);
    if (!IsUniform(input)) return OK;
    const auto given = draw.uniforms.find(name);
    if (given == draw.uniforms.end())
      return MakeError(draw.path + ".uniforms",
                       "the uniform \"" + name + "\" (" + DescribeType(input.dataType) + ") is missing");
    OSTRA_ASSIGN_OR_RETURN(Data value, MakeValue(given->second, input.dataType));
    planned.uniforms.push_back({stage, id, std::move(value)});
    return OK;
  }

  Result<Data> MakeValue(const SceneValue& given, DataType type) const {
    const SceneValue* const gradient = FindSceneGradient(given, _scene.values);
    const Bool needsGradient = type == GetDataType<GradientRenderData>();
    if (needsGradient != (gradient != nullptr))
      return MakeError(given.path, needsGradient
                                       ? R"(needs a gradient, such as {"gradient": [[0, 1, 0, 0], [1, 0, 0, 1]]})"
                                       : "a gradient cannot stand where numbers are needed");
    if (gradient) return MakeGradient(*gradient);
    OSTRA_ASSIGN_OR_RETURN(const std::vector<Float64> numbers,
                           EvaluateSceneValue(given, _scene.values, _aspect, _scene.file));
    const auto layout = GetElementLayout(type);
    if (!layout) return MakeError(given.path, "the tool cannot set a uniform of " + DescribeType(type));
    if (static_cast<Int>(numbers.size()) != layout->componentCount)
      return MakeError(given.path,
                       "the uniform is " + DescribeType(type) +
                           (numbers.size() == 1 ? ", but there is 1 number"
                                                : ", but there are " + std::to_string(numbers.size()) + " numbers"));
    auto value = ParseValue(type, FormatNumbers(numbers));
    if (!value) return MakeError(given.path, value.GetError().GetMessage().GetView());
    return std::move(*value);
  }

  Result<Data> MakeGradient(const SceneValue& value) const {
    OSTRA_ASSIGN_OR_RETURN(GradientRef gradient, CreateObject<GradientInterface>(kGradientClass));
    const auto at = [&value](std::size_t index) { return static_cast<Float32>(value.numbers[index]); };
    for (std::size_t i = 0; i + 3 < value.numbers.size(); i += 4) {
      const auto inserted = gradient->InsertKnot({.color = Vector32(at(i + 1), at(i + 2), at(i + 3)),
                                                  .position = at(i),
                                                  .interpolation = GradientInterpolation::Linear});
      if (!inserted) return MakeError(value.path, inserted.GetError().GetMessage().GetView());
    }
    OSTRA_ASSIGN_OR_RETURN(GradientRenderData data, gradient->InitRender());
    return Data::Create(std::move(data));
  }

  Result<void> PlanBuffer(const SceneDraw& draw, Int32 stage, const ShaderInputEntry& input, const InternedId& id,
                          PlannedDraw& planned) const {
    const auto given = draw.buffers.find(std::string(id.GetView()));
    if (given == draw.buffers.end())
      return MakeError(draw.path + ".buffers", "the buffer \"" + std::string(id.GetView()) + "\" is missing");
    PlannedStageBuffer buffer{stage, id, {}, {}, {}, {}};
    OSTRA_ASSIGN_OR_RETURN(buffer.source, InternedId::Create(given->second.path + "/" + std::to_string(stage)));
    if (given->second.file.empty()) {
      buffer.kernelBuffer = given->second.kernelBuffer;
    } else {
      OSTRA_ASSIGN_OR_RETURN(const Url file, FindSceneFile(_folder, given->second.file));
      OSTRA_ASSIGN_OR_RETURN(
          buffer.elementType,
          FindElementType(*planned.stages[static_cast<std::size_t>(stage)].parser, input, given->second, file));
      auto contents = LoadBuffer(file.GetView(), buffer.elementType);
      if (!contents) return MakeError(given->second.path, contents.GetError().GetMessage().GetView());
      buffer.elements = std::move(contents->elements);
    }
    planned.buffers.push_back(std::move(buffer));
    return OK;
  }

  Result<DataType> FindElementType(const ShaderParser& parser, const ShaderInputEntry& input, const SceneBuffer& given,
                                   const Url& file) const {
    const std::string_view word = input.typeName.GetView();
    const DataType type = DataTypeFromTypeName(word);
    if (type.IsPopulated()) return type;
    OSTRA_ASSIGN_OR_RETURN(const DataType structType, MakeStructElementType(parser, word));
    if (!structType.IsPopulated())
      return MakeError(given.path, "elements of the type \"" + std::string(word) + "\" cannot be read from files");
    const FileKind kind = GetFileKind(file);
    if (kind == FileKind::Raw || kind == FileKind::Npy) return structType;
    return MakeError(given.path,
                     "elements of the struct \"" + std::string(word) + "\" are read from .npy and .raw files");
  }

  Result<void> PlanTexture(const SceneDraw& draw, Int32 stage, const ShaderTextureEntry& entry, PlannedDraw& planned) {
    const std::string name(entry.name.GetString().GetView());
    const auto given = draw.textures.find(name);
    if (given == draw.textures.end())
      return MakeError(draw.path + ".textures", "the texture \"" + name + "\" is missing");
    const SceneTexture& source = given->second;
    PlannedStageTexture texture;
    texture.stage = stage;
    OSTRA_ASSIGN_OR_RETURN(texture.name, InternedId::Create(name));
    if (!entry.readOnly)
      return MakeError(source.path, "the stage declares \"" + name + "\" without const, as an image that it writes");
    const std::vector<std::string>& sampled = planned.stages[static_cast<std::size_t>(stage)].multisampledTextures;
    texture.hasSamples = std::find(sampled.begin(), sampled.end(), name) != sampled.end();
    if (texture.hasSamples && (source.pass < 0 || GetPass(source).sampleCount == 1))
      return MakeError(source.path, "the stage reads single samples of \"" + name +
                                        "\", which only what a pass with several of them has drawn has");
    if (source.pass < 0) {
      OSTRA_ASSIGN_OR_RETURN(texture.source, LoadFiles(source, name, entry));
    } else {
      if (entry.textureType != kShaderTexture2D)
        return MakeError(source.path, "what a pass draws is a 2D texture, and the stage declares another one");
      if (entry.format->valueClass != PixelValueClass::FloatingPoint && !source.isDepth &&
          !GetPass(source).colorFormats[static_cast<std::size_t>(source.target)].ends_with("u8"))
        return MakeError(source.path,
                         "the pass draws numbers of another kind than the texture that the stage declares");
      OSTRA_ASSIGN_OR_RETURN(texture.source, InternedId::Create(source.path + "/" + std::to_string(stage)));
      texture.pass = source.pass;
      texture.isDepth = source.isDepth;
      texture.target = source.target;
      texture.isLinear = entry.linear && !source.isDepth;
    }
    planned.textures.push_back(std::move(texture));
    return OK;
  }

  const ScenePass& GetPass(const SceneTexture& source) const {
    return _scene.passes[static_cast<std::size_t>(source.pass)];
  }

  // Files are loaded once for all stages that read them in the same way.
  Result<InternedId> LoadFiles(const SceneTexture& source, const std::string& name, const ShaderTextureEntry& entry) {
    const TextureLayout* const layout = FindTextureLayout(entry);
    if (!layout)
      return MakeError(source.path,
                       "the tool can fill textures of F32, F16 and U8 only, and \"" + name + "\" is another one");
    std::vector<std::string> files;
    std::string key(layout->name);
    key += "|" + source.settings;
    for (const std::string& file : source.files) {
      OSTRA_ASSIGN_OR_RETURN(const Url url, FindSceneFile(_folder, file));
      // Generated texels are no files.
      const Bool isGenerated = file.starts_with("zeros:") || file.starts_with("ones:");
      files.emplace_back(isGenerated ? std::string_view(file) : url.GetView());
      key += "|" + files.back();
    }
    if (const auto known = _loaded.find(key); known != _loaded.end()) return known->second;
    TextureSettings settings;
    auto added = source.settings.empty() ? Result<void>(OK) : AddTextureSettings(source.settings, *layout, settings);
    if (added) added = CheckTextureSettings(*layout, settings);
    if (!added) return MakeError(source.path, added.GetError().GetMessage().GetView());
    auto contents = LoadTexture(name, files, *layout, settings, SettingNames());
    if (!contents) return MakeError(source.path, contents.GetError().GetMessage().GetView());
    if (contents->layers > 1)
      return MakeError(source.path, "the files are " + std::to_string(contents->layers) +
                                        " layers, and textures on the GPU have one");
    PlannedFileTexture texture;
    OSTRA_ASSIGN_OR_RETURN(texture.name, InternedId::Create(source.path + "/" + std::to_string(_plan.textures.size())));
    texture.contents = std::move(*contents);
    texture.description = DescribeTexture(*layout, settings, texture.contents);
    _plan.textures.push_back(std::move(texture));
    return _loaded[key] = _plan.textures.back().name;
  }

  const Scene& _scene;
  const Url& _folder;
  Float64 _aspect = 1;
  RenderPlan _plan;
  std::map<std::string, InternedId> _loaded;
};

}  // namespace

Result<RenderPlan> MakeRenderPlan(const Scene& scene, const Url& folder) { return Planner(scene, folder).Make(); }

}  // namespace ostra::plans
