#include <algorithm>

#include "plans/scene/read_draw.h"

namespace ostra::plans {

namespace {

// In the order of SceneShape.
const std::vector<std::string> kShapes = {"quad", "grid", "box", "sphere", "torus", "points"};

// What a shape has beside its name.
struct ShapeForm {
  Int sizeCount;
  Int segmentCount;
  Bool hasRadius, hasTube;
  SceneShapeSettings start;
};

ShapeForm GetForm(SceneShape shape) {
  switch (shape) {
    case SceneShape::Quad:
      return {2, 0, false, false, {.shape = shape, .size = {2, 2, 1}}};
    case SceneShape::Grid:
      return {2, 2, false, false, {.shape = shape, .segments = {16, 16, 1}}};
    case SceneShape::Box:
      return {3, 0, false, false, {.shape = shape}};
    case SceneShape::Sphere:
      return {0, 2, true, false, {.shape = shape, .segments = {48, 24, 1}}};
    case SceneShape::Torus:
      return {0, 2, true, true, {.shape = shape, .segments = {64, 32, 1}}};
    case SceneShape::Points:
      break;
  }
  return {3, 3, false, false, {.shape = shape, .segments = {16, 16, 16}}};
}

Result<void> ReadLength(const JsonPlace& place, const char* key, Float64& length) {
  const auto member = place.Find(key);
  if (!member) return OK;
  OSTRA_ASSIGN_OR_RETURN(length, member->GetNumber());
  return length > 0 ? Result<void>(OK) : member->MakeError("needs a number above 0");
}

Result<SceneShapeSettings> ReadShape(const JsonPlace& place) {
  OSTRA_ASSIGN_OR_RETURN(const JsonPlace name, place.Get("shape"));
  OSTRA_ASSIGN_OR_RETURN(const Int number, name.GetWord(kShapes));
  const ShapeForm form = GetForm(static_cast<SceneShape>(number));
  std::vector<std::string> keys = {"shape"};
  if (form.sizeCount > 0) keys.push_back("size");
  if (form.segmentCount > 0) keys.push_back("segments");
  if (form.hasRadius) keys.push_back("radius");
  if (form.hasTube) keys.push_back("tube");
  OSTRA_RETURN_IF_ERROR(place.CheckKeys(keys));
  SceneShapeSettings settings = form.start;
  if (const auto size = place.Find("size")) {
    OSTRA_ASSIGN_OR_RETURN(const std::vector<Float64> numbers, size->GetNumbers(form.sizeCount, form.sizeCount));
    std::copy(numbers.begin(), numbers.end(), settings.size);
  }
  if (const auto segments = place.Find("segments")) {
    OSTRA_ASSIGN_OR_RETURN(const std::vector<JsonPlace> elements, segments->GetElements());
    if (static_cast<Int>(elements.size()) != form.segmentCount)
      return segments->MakeError("needs " + std::to_string(form.segmentCount) + " numbers");
    const Bool isRound = settings.shape == SceneShape::Sphere || settings.shape == SceneShape::Torus;
    for (std::size_t i = 0; i < elements.size(); ++i) {
      OSTRA_ASSIGN_OR_RETURN(settings.segments[i], elements[i].GetInteger(isRound ? 3 : 1, 4096));
    }
    // A cell of a surface has 6 vertices.
    const Int cellVertices = settings.shape == SceneShape::Points ? 1 : 6;
    if (settings.segments[0] * settings.segments[1] * settings.segments[2] * cellVertices > kMaxSceneVertices)
      return segments->MakeError("these are more than " + std::to_string(kMaxSceneVertices) + " vertices");
  }
  OSTRA_RETURN_IF_ERROR(ReadLength(place, "radius", settings.radius));
  OSTRA_RETURN_IF_ERROR(ReadLength(place, "tube", settings.tube));
  return settings;
}

// Numbers in a row, or an array for each vertex.
Result<SceneAttribute> ReadAttribute(const JsonPlace& place) {
  SceneAttribute attribute;
  attribute.path = place.GetPath();
  if (place.IsText()) {
    OSTRA_ASSIGN_OR_RETURN(attribute.file, ReadFileName(place));
    return attribute;
  }
  OSTRA_ASSIGN_OR_RETURN(const std::vector<JsonPlace> elements, place.GetElements());
  if (elements.empty()) return place.MakeError("there are no vertices");
  const Bool hasRows = elements[0].IsArray();
  std::size_t rowSize = 0;
  for (const JsonPlace& element : elements) {
    if (!hasRows) {
      OSTRA_ASSIGN_OR_RETURN(const Float64 number, element.GetNumber());
      attribute.numbers.push_back(number);
      continue;
    }
    OSTRA_ASSIGN_OR_RETURN(const std::vector<Float64> row, element.GetNumbers(1, 4));
    if (rowSize != 0 && row.size() != rowSize)
      return element.MakeError("the vertices have different numbers of components");
    rowSize = row.size();
    attribute.numbers.insert(attribute.numbers.end(), row.begin(), row.end());
  }
  return attribute;
}

}  // namespace

Result<SceneVertices> ReadSceneVertices(const JsonPlace& place, const Scene& scene) {
  SceneVertices vertices;
  vertices.path = place.GetPath();
  if (place.Find("shape")) {
    OSTRA_ASSIGN_OR_RETURN(vertices.shape, ReadShape(place));
  } else if (const auto model = place.Find("model")) {
    OSTRA_RETURN_IF_ERROR(place.CheckKeys({"model"}));
    OSTRA_ASSIGN_OR_RETURN(vertices.model, ReadFileName(*model));
  } else if (place.Find("kernel")) {
    OSTRA_RETURN_IF_ERROR(place.CheckKeys({"kernel", "buffer", "count"}));
    OSTRA_ASSIGN_OR_RETURN(vertices.kernelBuffer, ReadSceneKernelBuffer(place, scene));
    if (const auto count = place.Find("count")) {
      OSTRA_ASSIGN_OR_RETURN(vertices.count, count->GetInteger(1, kMaxSceneVertices));
    }
  } else {
    OSTRA_RETURN_IF_ERROR(place.CheckKeys({"attributes", "shape", "model", "kernel"}));
    OSTRA_ASSIGN_OR_RETURN(const JsonPlace attributes, place.Get("attributes"));
    OSTRA_ASSIGN_OR_RETURN(const auto members, attributes.GetMembers());
    if (members.empty()) return attributes.MakeError("there are no attributes");
    for (const auto& [name, member] : members) {
      OSTRA_ASSIGN_OR_RETURN(vertices.attributes[name], ReadAttribute(member));
    }
  }
  return vertices;
}

}  // namespace ostra::plans
