#include "plans/scene/read_draw.h"

#include <charconv>
#include <cmath>

#include "plans/names/nearest_name.h"
#include "plans/scene/scene_values.h"

namespace ostra::plans {

namespace {

// In the order of SceneTopology.
const std::vector<std::string> kTopologies = {"points", "lines", "lineStrip", "triangles", "triangleStrip", "patches"};

// In the order of the layer's numbers.
const std::vector<std::string> kDepthTests = {"off",     "less",     "equal",        "lessEqual",
                                              "greater", "notEqual", "greaterEqual", "always"};
const std::vector<std::string> kCullModes = {"none", "front", "back"};
const std::vector<std::string> kFrontFaces = {"counterClockwise", "clockwise"};

Result<void> ReadNumberOrWord(const JsonPlace& place, const char* key, const std::vector<std::string>& words,
                              std::optional<Int32>& target) {
  const auto member = place.Find(key);
  if (!member) return OK;
  if (member->IsNumber()) {
    OSTRA_ASSIGN_OR_RETURN(const Int number, member->GetInteger(0, static_cast<Int>(words.size()) - 1));
    target = static_cast<Int32>(number);
    return OK;
  }
  OSTRA_ASSIGN_OR_RETURN(const Int number, member->GetWord(words));
  target = static_cast<Int32>(number);
  return OK;
}

Result<SceneState> ReadState(const JsonPlace& place) {
  SceneState state;
  OSTRA_RETURN_IF_ERROR(place.CheckKeys({"depthTest", "cullMode", "frontFace", "useAlphaBlending"}));
  OSTRA_RETURN_IF_ERROR(ReadNumberOrWord(place, "depthTest", kDepthTests, state.depthTest));
  OSTRA_RETURN_IF_ERROR(ReadNumberOrWord(place, "cullMode", kCullModes, state.cullMode));
  OSTRA_RETURN_IF_ERROR(ReadNumberOrWord(place, "frontFace", kFrontFaces, state.frontFace));
  if (const auto blending = place.Find("useAlphaBlending")) {
    OSTRA_ASSIGN_OR_RETURN(state.useAlphaBlending, blending->GetBool());
  }
  return state;
}

Result<void> ReadFiles(const JsonPlace& place, SceneTexture& texture) {
  if (!place.IsArray()) {
    OSTRA_ASSIGN_OR_RETURN(std::string file, ReadFileName(place));
    texture.files.push_back(std::move(file));
    return OK;
  }
  OSTRA_ASSIGN_OR_RETURN(const std::vector<JsonPlace> elements, place.GetElements());
  if (elements.empty()) return place.MakeError("needs at least one file");
  for (const JsonPlace& element : elements) {
    OSTRA_ASSIGN_OR_RETURN(std::string file, ReadFileName(element));
    texture.files.push_back(std::move(file));
  }
  return OK;
}

// Appends "key=value" for a key that is there.
Result<void> AddTextureSetting(const JsonPlace& place, const char* key, std::string& settings) {
  const auto member = place.Find(key);
  if (!member) return OK;
  OSTRA_ASSIGN_OR_RETURN(const std::string value, member->GetText());
  if (value.find(',') != std::string::npos || value.find('=') != std::string::npos)
    return member->MakeError("there is no " + QuoteForMessage(value));
  settings.append(settings.empty() ? "" : ",").append(key).append("=").append(value);
  return OK;
}

Result<void> ReadPassTexture(const JsonPlace& place, const Scene& scene, SceneTexture& texture) {
  OSTRA_RETURN_IF_ERROR(place.CheckKeys({"pass", "target"}));
  OSTRA_ASSIGN_OR_RETURN(const JsonPlace pass, place.Get("pass"));
  OSTRA_ASSIGN_OR_RETURN(const std::string name, pass.GetText());
  std::vector<std::string> names;
  for (std::size_t i = 0; i < scene.passes.size(); ++i) {
    if (scene.passes[i].name.empty()) continue;
    if (scene.passes[i].name == name) texture.pass = static_cast<Int>(i);
    names.push_back(scene.passes[i].name);
  }
  if (texture.pass < 0)
    return pass.MakeError("there is no earlier pass " + QuoteForMessage(name) + SuggestName(name, names));
  const ScenePass& source = scene.passes[static_cast<std::size_t>(texture.pass)];
  std::vector<std::string> targets;
  for (std::size_t i = 0; i < source.colorFormats.size(); ++i)
    targets.push_back(i == 0 ? std::string("color") : std::string("color").append(std::to_string(i)));
  if (source.hasDepth) targets.push_back("depth");
  if (const auto target = place.Find("target")) {
    OSTRA_ASSIGN_OR_RETURN(texture.target, target->GetWord(targets));
  }
  texture.isDepth = targets[static_cast<std::size_t>(texture.target)] == "depth";
  if (texture.isDepth) texture.target = 0;
  return OK;
}

Result<SceneTexture> ReadTexture(const JsonPlace& place, const Scene& scene) {
  SceneTexture texture;
  texture.path = place.GetPath();
  if (place.IsText() || place.IsArray()) {
    OSTRA_RETURN_IF_ERROR(ReadFiles(place, texture));
    return texture;
  }
  if (place.Find("pass")) {
    OSTRA_RETURN_IF_ERROR(ReadPassTexture(place, scene, texture));
    return texture;
  }
  OSTRA_RETURN_IF_ERROR(place.CheckKeys({"file", "pass", "wrap", "size", "channels"}));
  OSTRA_ASSIGN_OR_RETURN(const JsonPlace file, place.Get("file"));
  OSTRA_RETURN_IF_ERROR(ReadFiles(file, texture));
  for (const char* key : {"wrap", "size", "channels"})
    OSTRA_RETURN_IF_ERROR(AddTextureSetting(place, key, texture.settings));
  return texture;
}

Result<SceneBuffer> ReadBuffer(const JsonPlace& place, const Scene& scene) {
  SceneBuffer buffer;
  buffer.path = place.GetPath();
  if (place.IsText()) {
    OSTRA_ASSIGN_OR_RETURN(buffer.file, ReadFileName(place));
    return buffer;
  }
  OSTRA_RETURN_IF_ERROR(place.CheckKeys({"kernel", "buffer"}));
  OSTRA_ASSIGN_OR_RETURN(buffer.kernelBuffer, ReadSceneKernelBuffer(place, scene));
  return buffer;
}

}  // namespace

std::string FormatNumbers(const std::vector<Float64>& numbers) {
  std::string text;
  for (const Float64 number : numbers) {
    char digits[40];
    // Whole numbers as such: readers of integers know no exponents.
    const Bool isWhole = number == std::floor(number) && std::abs(number) < 1e15;
    const auto end = isWhole ? std::to_chars(digits, digits + sizeof(digits), static_cast<Int>(number)).ptr
                             : std::to_chars(digits, digits + sizeof(digits), number).ptr;
    text.append(text.empty() ? "" : ",").append(digits, end);
  }
  return text;
}

Result<std::string> ReadFileName(const JsonPlace& place) {
  OSTRA_ASSIGN_OR_RETURN(std::string name, place.GetText());
  if (name.empty()) return place.MakeError("a name of a file cannot be empty");
  return name;
}

Result<SceneKernelBuffer> ReadSceneKernelBuffer(const JsonPlace& place, const Scene& scene) {
  SceneKernelBuffer source;
  OSTRA_ASSIGN_OR_RETURN(const JsonPlace kernel, place.Get("kernel"));
  OSTRA_ASSIGN_OR_RETURN(source.kernel, kernel.GetText());
  if (!scene.kernels.contains(source.kernel)) {
    std::vector<std::string> names;
    for (const auto& [name, other] : scene.kernels) names.push_back(name);
    return kernel.MakeError("there is no kernel " + QuoteForMessage(source.kernel) + SuggestName(source.kernel, names));
  }
  OSTRA_ASSIGN_OR_RETURN(const JsonPlace buffer, place.Get("buffer"));
  OSTRA_ASSIGN_OR_RETURN(source.buffer, buffer.GetText());
  return source;
}

namespace {

// The members of the object under a key; none if there is no such key.
Result<std::vector<std::pair<std::string, JsonPlace>>> FindMembers(const JsonPlace& place, const char* key) {
  if (const auto found = place.Find(key)) return found->GetMembers();
  return std::vector<std::pair<std::string, JsonPlace>>();
}

Result<void> ReadStages(const JsonPlace& place, SceneDraw& draw) {
  OSTRA_ASSIGN_OR_RETURN(const JsonPlace stages, place.Get("stages"));
  OSTRA_ASSIGN_OR_RETURN(const std::vector<JsonPlace> files, stages.GetElements());
  if (files.empty()) return stages.MakeError("a program needs stage files");
  for (const JsonPlace& file : files) {
    OSTRA_ASSIGN_OR_RETURN(std::string name, ReadFileName(file));
    draw.stages.push_back(std::move(name));
  }
  return OK;
}

// What the stages read by name.
Result<void> ReadParameters(const JsonPlace& place, const Scene& scene, SceneDraw& draw) {
  OSTRA_ASSIGN_OR_RETURN(const auto uniforms, FindMembers(place, "uniforms"));
  for (const auto& [name, member] : uniforms) {
    OSTRA_ASSIGN_OR_RETURN(SceneValue value, ReadSceneValue(member));
    OSTRA_RETURN_IF_ERROR(CheckSceneNames(value, scene.values, scene.file));
    draw.uniforms.emplace(name, std::move(value));
  }
  OSTRA_ASSIGN_OR_RETURN(const auto textures, FindMembers(place, "textures"));
  for (const auto& [name, member] : textures) {
    OSTRA_ASSIGN_OR_RETURN(draw.textures[name], ReadTexture(member, scene));
  }
  OSTRA_ASSIGN_OR_RETURN(const auto buffers, FindMembers(place, "buffers"));
  for (const auto& [name, member] : buffers) {
    OSTRA_ASSIGN_OR_RETURN(draw.buffers[name], ReadBuffer(member, scene));
  }
  return OK;
}

}  // namespace

Result<SceneDraw> ReadSceneDraw(const JsonPlace& place, const Scene& scene) {
  SceneDraw draw;
  draw.path = place.GetPath();
  OSTRA_RETURN_IF_ERROR(
      place.CheckKeys({"stages", "vertices", "topology", "patchSize", "uniforms", "textures", "buffers", "state"}));
  OSTRA_RETURN_IF_ERROR(ReadStages(place, draw));
  if (const auto topology = place.Find("topology")) {
    OSTRA_ASSIGN_OR_RETURN(const Int number, topology->GetWord(kTopologies));
    draw.topology = static_cast<SceneTopology>(number);
  }
  if (const auto size = place.Find("patchSize")) {
    if (draw.topology != SceneTopology::Patches) return size->MakeError("only \"patches\" have control points");
    OSTRA_ASSIGN_OR_RETURN(draw.patchSize, size->GetInteger(1, 32));
  }
  OSTRA_ASSIGN_OR_RETURN(const JsonPlace vertices, place.Get("vertices"));
  OSTRA_ASSIGN_OR_RETURN(draw.vertices, ReadSceneVertices(vertices, scene));
  OSTRA_RETURN_IF_ERROR(ReadParameters(place, scene, draw));
  if (const auto state = place.Find("state")) {
    OSTRA_ASSIGN_OR_RETURN(draw.state, ReadState(*state));
  }
  return draw;
}

}  // namespace ostra::plans
