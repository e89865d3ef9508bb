#include <algorithm>

#include "ostra/core/format.h"
#include "ostra/image/image.h"
#include "ostra/image/pixel_format.h"
#include "plans/scene/read_draw.h"
#include "plans/scene/scene_values.h"

OSTRA_UNIT("scene");

namespace ostra::plans {

namespace {

constexpr Int kMaxPasses = 64;
constexpr Int kMaxTargets = 8;

constexpr std::string_view kFormatPrefix = "net.ostra.image.pixelformat.";

std::vector<std::string> ListColorFormats() {
  std::vector<std::string> names;
  for (Int i = 0; i < kPixelFormatCount; ++i)
    names.emplace_back(GetPixelFormats().GetFirst()[i].id.GetView().substr(kFormatPrefix.size()));
  return names;
}

class SceneReader {
 public:
  explicit SceneReader(std::string_view file) { _scene.file = file; }

  Result<Scene> Read(const JsonPlace& root) {
    OSTRA_RETURN_IF_ERROR(root.CheckKeys({"size", "stageFolder", "values", "kernels", "passes"}));
    if (const auto size = root.Find("size")) {
      OSTRA_ASSIGN_OR_RETURN(_scene.size, ReadSize(*size));
      if (_scene.size.GetCount() > kMaxImagePixels)
        return size->MakeError("a picture has at most " + std::to_string(kMaxImagePixels) + " pixels");
    }
    if (const auto stageFolder = root.Find("stageFolder")) {
      OSTRA_ASSIGN_OR_RETURN(_scene.stageFolder, ReadFileName(*stageFolder));
    }
    if (const auto values = root.Find("values")) OSTRA_RETURN_IF_ERROR(ReadValues(*values));
    if (const auto kernels = root.Find("kernels")) OSTRA_RETURN_IF_ERROR(ReadKernels(*kernels));
    OSTRA_ASSIGN_OR_RETURN(const JsonPlace passes, root.Get("passes"));
    OSTRA_ASSIGN_OR_RETURN(const std::vector<JsonPlace> elements, passes.GetElements());
    if (elements.empty()) return passes.MakeError("a scene needs at least one pass");
    if (static_cast<Int>(elements.size()) > kMaxPasses)
      return passes.MakeError("a scene has at most " + std::to_string(kMaxPasses) + " passes");
    for (const JsonPlace& element : elements) OSTRA_RETURN_IF_ERROR(ReadPass(element));
    if (_scene.passes.back().colorFormats.empty())
      return elements.back().MakeError("the last pass draws the picture and needs a colour target");
    return std::move(_scene);
  }

 private:
  static Result<Extents> ReadSize(const JsonPlace& place) {
    OSTRA_ASSIGN_OR_RETURN(const std::vector<JsonPlace> sides, place.GetElements());
    if (sides.size() != 2) return place.MakeError("needs two numbers: width and height");
    OSTRA_ASSIGN_OR_RETURN(const Int width, sides[0].GetInteger(1, kMaxSceneSide));
    OSTRA_ASSIGN_OR_RETURN(const Int height, sides[1].GetInteger(1, kMaxSceneSide));
    return Extents{width, height, 1};
  }

  Result<void> ReadValues(const JsonPlace& place) {
    OSTRA_ASSIGN_OR_RETURN(const auto members, place.GetMembers());
    for (const auto& [name, member] : members) {
      OSTRA_ASSIGN_OR_RETURN(_scene.values[name], ReadSceneValue(member));
    }
    for (const auto& [name, value] : _scene.values)
      OSTRA_RETURN_IF_ERROR(CheckSceneNames(value, _scene.values, _scene.file));
    return OK;
  }

  Result<void> ReadKernels(const JsonPlace& place) {
    OSTRA_ASSIGN_OR_RETURN(const auto members, place.GetMembers());
    for (const auto& [name, member] : members) {
      OSTRA_ASSIGN_OR_RETURN(_scene.kernels[name], ReadKernel(member));
    }
    return OK;
  }

  static Result<SceneKernel> ReadKernel(const JsonPlace& place) {
    SceneKernel kernel;
    kernel.path = place.GetPath();
    OSTRA_RETURN_IF_ERROR(place.CheckKeys({"file", "size", "set", "in", "swap", "iterations"}));
    OSTRA_ASSIGN_OR_RETURN(const JsonPlace file, place.Get("file"));
    OSTRA_ASSIGN_OR_RETURN(kernel.file, ReadFileName(file));
    if (const auto size = place.Find("size")) OSTRA_RETURN_IF_ERROR(ReadExtents(*size, kernel.size));
    if (const auto iterations = place.Find("iterations")) {
      OSTRA_ASSIGN_OR_RETURN(kernel.iterationCount, iterations->GetInteger(1, 1000000));
    }
    if (const auto settings = place.Find("set")) {
      OSTRA_ASSIGN_OR_RETURN(const auto members, settings->GetMembers());
      for (const auto& [name, member] : members) {
        OSTRA_ASSIGN_OR_RETURN(kernel.settings[name], ReadSetting(member));
      }
    }
    if (const auto inputs = place.Find("in")) {
      OSTRA_ASSIGN_OR_RETURN(const auto members, inputs->GetMembers());
      for (const auto& [name, member] : members) {
        OSTRA_ASSIGN_OR_RETURN(kernel.inputs[name], ReadFileName(member));
      }
    }
    if (const auto swaps = place.Find("swap")) OSTRA_RETURN_IF_ERROR(ReadSwaps(*swaps, kernel));
    return kernel;
  }

  static Result<void> ReadExtents(const JsonPlace& place, Extents& size) {
    OSTRA_ASSIGN_OR_RETURN(const std::vector<JsonPlace> sides, place.GetElements());
    if (sides.empty() || sides.size() > 3) return place.MakeError("needs one to three numbers");
    Int* const targets[] = {&size.width, &size.height, &size.depth};
    for (std::size_t i = 0; i < sides.size(); ++i) {
      OSTRA_ASSIGN_OR_RETURN(*targets[i], sides[i].GetInteger(1, Int(1) << 26));
      // Checked step by step: the product of all could be any number.
      if (size.width * size.height > Int(1) << 26 || size.GetCount() > Int(1) << 26)
        return place.MakeError("more than 2^26 invocations");
    }
    return OK;
  }

  // In the form that `ostra run --set` takes.
  static Result<std::string> ReadSetting(const JsonPlace& place) {
    if (place.IsText()) return place.GetText();
    std::vector<Float64> numbers;
    if (place.IsArray()) {
      OSTRA_ASSIGN_OR_RETURN(numbers, place.GetNumbers(1, 16));
    } else {
      OSTRA_ASSIGN_OR_RETURN(const Float64 number, place.GetNumber());
      numbers.push_back(number);
    }
    return FormatNumbers(numbers);
  }

  static Result<void> ReadSwaps(const JsonPlace& place, SceneKernel& kernel) {
    OSTRA_ASSIGN_OR_RETURN(const std::vector<JsonPlace> pairs, place.GetElements());
    for (const JsonPlace& pair : pairs) {
      OSTRA_ASSIGN_OR_RETURN(const std::vector<JsonPlace> names, pair.GetElements());
      if (names.size() != 2) return pair.MakeError("needs the names of two buffers");
      OSTRA_ASSIGN_OR_RETURN(std::string first, names[0].GetText());
      OSTRA_ASSIGN_OR_RETURN(std::string second, names[1].GetText());
      kernel.swaps.emplace_back(std::move(first), std::move(second));
    }
    return OK;
  }

  Result<void> ReadPass(const JsonPlace& place) {
    ScenePass pass;
    pass.path = place.GetPath();
    OSTRA_RETURN_IF_ERROR(place.CheckKeys({"name", "size", "colors", "depth", "samples", "clear", "draws"}));
    if (const auto name = place.Find("name")) {
      OSTRA_ASSIGN_OR_RETURN(pass.name, name->GetText());
      if (pass.name.empty()) return name->MakeError("a name cannot be empty");
      for (const ScenePass& other : _scene.passes)
        if (other.name == pass.name) return name->MakeError("another pass has the name " + QuoteForMessage(pass.name));
    }
    if (const auto size = place.Find("size")) {
      OSTRA_ASSIGN_OR_RETURN(pass.size, ReadSize(*size));
    }
    OSTRA_RETURN_IF_ERROR(ReadTargets(place, pass));
    if (const auto clear = place.Find("clear")) OSTRA_RETURN_IF_ERROR(ReadClear(*clear, pass));
    OSTRA_ASSIGN_OR_RETURN(const JsonPlace draws, place.Get("draws"));
    OSTRA_ASSIGN_OR_RETURN(const std::vector<JsonPlace> elements, draws.GetElements());
    for (const JsonPlace& element : elements) {
      OSTRA_ASSIGN_OR_RETURN(SceneDraw draw, ReadSceneDraw(element, _scene));
      if (!pass.hasDepth && draw.state.depthTest.value_or(0) != 0)
        return OSTRA_ILLEGAL_ARGUMENT("@: @.state.depthTest: the pass has no depth to test: leave out \"depth\": false",
                                      _scene.file, draw.path);
      pass.draws.push_back(std::move(draw));
    }
    _scene.passes.push_back(std::move(pass));
    return OK;
  }

  static Result<void> ReadTargets(const JsonPlace& place, ScenePass& pass) {
    const std::vector<std::string> formats = ListColorFormats();
    pass.colorFormats = {"rgba.u8"};
    if (const auto colors = place.Find("colors")) {
      OSTRA_ASSIGN_OR_RETURN(const std::vector<JsonPlace> elements, colors->GetElements());
      if (static_cast<Int>(elements.size()) > kMaxTargets)
        return colors->MakeError("a pass has at most " + std::to_string(kMaxTargets) + " colour targets");
      pass.colorFormats.clear();
      for (const JsonPlace& element : elements) {
        OSTRA_ASSIGN_OR_RETURN(const Int format, element.GetWord(formats));
        pass.colorFormats.push_back(formats[static_cast<std::size_t>(format)]);
      }
    }
    if (const auto depth = place.Find("depth")) {
      OSTRA_ASSIGN_OR_RETURN(pass.hasDepth, depth->GetBool());
    }
    if (pass.colorFormats.empty() && !pass.hasDepth) return place.MakeError("the pass has nothing to draw into");
    if (const auto samples = place.Find("samples")) {
      OSTRA_ASSIGN_OR_RETURN(pass.sampleCount, samples->GetInteger(1, 8));
      if (pass.sampleCount != 1 && pass.sampleCount != 2 && pass.sampleCount != 4 && pass.sampleCount != 8)
        return samples->MakeError("needs 1, 2, 4 or 8");
    }
    pass.clearColors.assign(pass.colorFormats.size(), {0, 0, 0, 1});
    return OK;
  }

  static Result<void> ReadClear(const JsonPlace& place, ScenePass& pass) {
    OSTRA_RETURN_IF_ERROR(place.CheckKeys({"color", "colors", "depth"}));
    if (const auto color = place.Find("color")) {
      OSTRA_ASSIGN_OR_RETURN(const std::vector<Float64> numbers, color->GetNumbers(4, 4));
      pass.clearColors.assign(pass.colorFormats.size(), numbers);
    }
    if (const auto colors = place.Find("colors")) {
      if (place.Find("color")) return place.MakeError("give \"color\" or \"colors\"");
      OSTRA_ASSIGN_OR_RETURN(const std::vector<JsonPlace> elements, colors->GetElements());
      if (elements.size() != pass.colorFormats.size())
        return colors->MakeError("the pass has " + std::to_string(pass.colorFormats.size()) +
                                 (pass.colorFormats.size() == 1 ? " colour target" : " colour targets"));
      for (std::size_t i = 0; i < elements.size(); ++i) {
        OSTRA_ASSIGN_OR_RETURN(pass.clearColors[i], elements[i].GetNumbers(4, 4));
      }
    }
    if (const auto depth = place.Find("depth")) {
      OSTRA_ASSIGN_OR_RETURN(pass.clearDepth, depth->GetNumber());
      if (pass.clearDepth < 0 || pass.clearDepth > 1) return depth->MakeError("depths lie between 0 and 1");
    }
    return OK;
  }

  Scene _scene;
};

}  // namespace

Result<Scene> ParseScene(std::string_view text, std::string_view file) {
  OSTRA_ASSIGN_OR_RETURN(const nlohmann::json json, ParseJson(text, file));
  return SceneReader(file).Read(JsonPlace(json, file));
}

}  // namespace ostra::plans
