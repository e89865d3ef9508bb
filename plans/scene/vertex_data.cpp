#include "plans/scene/vertex_data.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "ostra/core/format.h"
#include "ostra/core/source_message.h"
#include "ostra/io/file.h"
#include "plans/buffers/buffer_file.h"
#include "plans/names/nearest_name.h"
#include "plans/scene/obj_file.h"
#include "plans/scene/shapes.h"
#include "plans/values/scalar_type.h"

OSTRA_UNIT("vertex_data");

namespace ostra::plans {

namespace {

constexpr Int kMaxModelSize = Int(1) << 30;  // bytes of text, several times that as vertices

struct Attribute {
  std::string name;
  DataType type;
  ElementLayout layout;
  Int offset = 0;               // in numbers
  std::vector<UInt32> numbers;  // of all vertices
};

class VertexMaker {
 public:
  VertexMaker(const Scene& scene, const SceneDraw& draw, const Url& folder)
      : _scene(scene), _vertices(draw.vertices), _draw(draw), _folder(folder) {}

  Result<VertexData> Make(const StageFile& stage) {
    OSTRA_RETURN_IF_ERROR(CollectAttributes(stage));
    VertexData data;
    for (const Attribute& attribute : _attributes) data.stride += attribute.type.GetSize();
    if (_vertices.kernelBuffer) {
      data.count = _vertices.count;
      return data;
    }
    OSTRA_RETURN_IF_ERROR(CheckTopology());
    if (_vertices.shape) {
      OSTRA_RETURN_IF_ERROR(TakeShape(MakeShape(*_vertices.shape, _draw.topology), "shapes"));
    } else if (!_vertices.model.empty()) {
      OSTRA_ASSIGN_OR_RETURN(ShapeVertices model, LoadModel());
      if (_draw.topology == SceneTopology::Lines) model = MakeWireframe(model);
      OSTRA_RETURN_IF_ERROR(TakeShape(model, "models"));
    } else {
      OSTRA_RETURN_IF_ERROR(TakeNumbers());
    }
    data.count = _count;
    return Join(std::move(data));
  }

 private:
  Error MakeError(std::string_view path, std::string_view text) const {
    return OSTRA_ILLEGAL_ARGUMENT("@: @: @", _scene.file, path, text);
  }

  // Shapes and models come as lists of cells: what joins one vertex with the next would join what lies anywhere.
  Result<void> CheckTopology() const {
    const SceneTopology topology = _draw.topology;
    const Bool isModel = !_vertices.model.empty();
    if (!_vertices.shape && !isModel) return OK;
    const std::string path = _draw.path + ".topology";
    const Bool isLattice = !isModel && _vertices.shape->shape == SceneShape::Points;
    if (isLattice && topology != SceneTopology::Points)
      return MakeError(path, R"(the shape "points" is drawn with the topology "points")");
    if (topology == SceneTopology::LineStrip || topology == SceneTopology::TriangleStrip)
      return MakeError(path, R"(shapes and models are no strips; "lines" draws their edges)");
    if (topology == SceneTopology::Patches && !isModel && _draw.patchSize != 4)
      return MakeError(_draw.path + ".patchSize",
                       "the patches of shapes have 4 corners, not " + std::to_string(_draw.patchSize));
    return OK;
  }

  Result<void> CollectAttributes(const StageFile& stage) {
    Int offset = 0;
    for (const ShaderInputEntry& input : stage.parser->GetInputEntries()) {
      if (!IsAttribute(input)) continue;
      Attribute& attribute = _attributes.emplace_back();
      attribute.name = input.name.GetString().GetView();
      attribute.type = input.dataType;
      auto layout = GetElementLayout(input.dataType);
      const Bool isVector = layout && layout->componentCount <= 4 && layout->scalar->GetSize() == 4;
      if (!isVector)
        return MakeSourceError(
            stage.file.GetView(), input.origin.line,
            "vertices cannot have the attribute \"" + attribute.name + "\" of " + DescribeType(input.dataType),
            kOstraUnit, __LINE__);
      attribute.layout = *layout;
      attribute.offset = offset;
      offset += layout->componentCount;
    }
    if (_attributes.empty())
      return MakeSourceError(stage.file.GetView(), 0, "a vertex stage needs attributes to be drawn from a scene",
                             kOstraUnit, __LINE__);
    return OK;
  }

  std::vector<std::string> ListNames() const {
    std::vector<std::string> names;
    for (const Attribute& attribute : _attributes) names.push_back(attribute.name);
    return names;
  }

  Result<ShapeVertices> LoadModel() const {
    OSTRA_ASSIGN_OR_RETURN(const Url file, FindSceneFile(_folder, _vertices.model));
    const auto bytes = ReadFileToMemory(file, {.maxSize = kMaxModelSize});
    if (!bytes) return MakeError(_vertices.path + ".model", bytes.GetError().GetMessage().GetView());
    auto model =
        DecodeObj({reinterpret_cast<const char*>(bytes->GetFirst()), static_cast<std::size_t>(bytes->GetCount())});
    if (!model)
      return MakeError(_vertices.path + ".model", std::string(file.GetView()) + " cannot be read: " +
                                                      std::string(model.GetError().GetMessage().GetView()));
    return model;
  }

  Result<void> TakeShape(const ShapeVertices& shape, const std::string& kind) {
    _count = shape.GetCount();
    for (Attribute& attribute : _attributes) {
      Int componentCount = 0;
      const std::vector<Float32>* const found = shape.Find(attribute.name, componentCount);
      if (!found)
        return MakeError(_vertices.path, kind + " have no attribute \"" + attribute.name + "\"" +
                                             SuggestName(attribute.name, ListShapeAttributes()));
      if (!(attribute.layout.scalar->type == GetDataType<Float32>()))
        return MakeError(_vertices.path, "the attribute \"" + attribute.name + "\" of " + kind +
                                             " is made of float32, not " + DescribeType(attribute.type));
      Widen(*found, componentCount, attribute);
    }
    return OK;
  }

  // More components than the shape has are 0, and 1 for the last one of a position.
  void Widen(const std::vector<Float32>& numbers, Int componentCount, Attribute& attribute) const {
    for (Int i = 0; i < _count; ++i)
      for (Int k = 0; k < attribute.layout.componentCount; ++k) {
        Float32 number = k == 3 && attribute.name == "position" ? 1.0f : 0.0f;
        if (k < componentCount) number = numbers[static_cast<std::size_t>(i * componentCount + k)];
        attribute.numbers.push_back(std::bit_cast<UInt32>(number));
      }
  }

  Result<void> TakeNumbers() {
    for (const auto& [name, given] : _vertices.attributes) {
      const std::vector<std::string> names = ListNames();
      if (std::find(names.begin(), names.end(), name) == names.end())
        return MakeError(given.path, "the vertex stage has no attribute \"" + name + "\"" + SuggestName(name, names));
    }
    for (Attribute& attribute : _attributes) {
      const auto given = _vertices.attributes.find(attribute.name);
      if (given == _vertices.attributes.end())
        return MakeError(_vertices.path + ".attributes",
                         "the attribute \"" + attribute.name + "\" (" + DescribeType(attribute.type) + ") is missing");
      OSTRA_RETURN_IF_ERROR(given->second.file.empty() ? Convert(given->second, attribute)
                                                       : Load(given->second, attribute));
      const Int componentCount = attribute.layout.componentCount;
      const Int count = static_cast<Int>(attribute.numbers.size()) / componentCount;
      if (static_cast<Int>(attribute.numbers.size()) % componentCount != 0)
        return MakeError(given->second.path, "the " + std::to_string(attribute.numbers.size()) +
                                                 " numbers are no multiple of the " + std::to_string(componentCount) +
                                                 " of a vertex");
      if (_count > 0 && count != _count)
        return MakeError(given->second.path, "these are " + std::to_string(count) + " vertices, and \"" +
                                                 _attributes.front().name + "\" has " + std::to_string(_count));
      _count = count;
    }
    return OK;
  }

  Result<void> Convert(const SceneAttribute& given, Attribute& attribute) const {
    const DataType type = attribute.layout.scalar->type;
    for (const Float64 number : given.numbers) {
      if (type == GetDataType<Float32>()) {
        attribute.numbers.push_back(std::bit_cast<UInt32>(static_cast<Float32>(number)));
        continue;
      }
      const Bool isSigned = type == GetDataType<Int32>();
      const Float64 smallest = isSigned ? -2147483648.0 : 0.0, largest = isSigned ? 2147483647.0 : 4294967295.0;
      if (number != std::floor(number) || number < smallest || number > largest)
        return MakeError(given.path, "the attribute takes whole numbers of " + DescribeType(type));
      attribute.numbers.push_back(static_cast<UInt32>(static_cast<Int>(number)));
    }
    return OK;
  }

  Result<void> Load(const SceneAttribute& given, Attribute& attribute) const {
    OSTRA_ASSIGN_OR_RETURN(const Url file, FindSceneFile(_folder, given.file));
    const auto contents = LoadBuffer(file.GetView(), attribute.type);
    if (!contents) return MakeError(given.path, contents.GetError().GetMessage().GetView());
    const std::size_t count = static_cast<std::size_t>(contents->elements.GetCount() * attribute.layout.componentCount);
    attribute.numbers.resize(count);
    std::memcpy(attribute.numbers.data(), contents->elements.GetFirst(), count * sizeof(UInt32));
    return OK;
  }

  Result<VertexData> Join(VertexData data) const {
    if (_count > kMaxSceneVertices)
      return MakeError(_vertices.path, "these are more than " + std::to_string(kMaxSceneVertices) + " vertices");
    if (const std::string wrong = DescribeWrongCount(_draw, _count); !wrong.empty())
      return MakeError(_vertices.path, wrong);
    const Int numbersPerVertex = data.stride / Int(sizeof(UInt32));
    OSTRA_RETURN_IF_ERROR(data.numbers.Resize(_count * numbersPerVertex));
    for (const Attribute& attribute : _attributes) {
      const Int componentCount = attribute.layout.componentCount;
      for (Int i = 0; i < _count; ++i)
        for (Int k = 0; k < componentCount; ++k)
          data.numbers[i * numbersPerVertex + attribute.offset + k] =
              attribute.numbers[static_cast<std::size_t>(i * componentCount + k)];
    }
    return data;
  }

  const Scene& _scene;
  const SceneVertices& _vertices;
  const SceneDraw& _draw;
  const Url& _folder;
  std::vector<Attribute> _attributes;
  Int _count = 0;
};

}  // namespace

std::string DescribeWrongCount(const SceneDraw& draw, Int count) {
  const auto multiple = [count](Int factor, const char* what) {
    return count > 0 && count % factor == 0 ? std::string()
                                            : "the " + std::to_string(count) + " vertices are no multiple of the " +
                                                  std::to_string(factor) + " " + what;
  };
  const auto least = [count](Int number, const char* what) {
    return count >= number ? std::string()
                           : std::string(what) + " needs at least " + std::to_string(number) + " vertices, not " +
                                 std::to_string(count);
  };
  switch (draw.topology) {
    case SceneTopology::Points:
      return {};
    case SceneTopology::Lines:
      return multiple(2, "ends of a line");
    case SceneTopology::LineStrip:
      return least(2, "a lineStrip");
    case SceneTopology::Triangles:
      return multiple(3, "corners of a triangle");
    case SceneTopology::TriangleStrip:
      return least(3, "a triangleStrip");
    case SceneTopology::Patches:
      return multiple(draw.patchSize, "control points of a patch");
  }
  return {};
}

Result<VertexData> MakeVertexData(const Scene& scene, const SceneDraw& draw, const StageFile& vertexStage,
                                  const Url& folder) {
  return VertexMaker(scene, draw, folder).Make(vertexStage);
}

}  // namespace ostra::plans
