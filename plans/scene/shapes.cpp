#include "plans/scene/shapes.h"

#include <cmath>
#include <numbers>

namespace ostra::plans {

namespace {

struct Vertex {
  Float64 position[3];
  Float64 normal[3];
  Float64 uv[2];
};

void Append(ShapeVertices& target, const Vertex& vertex) {
  for (const Float64 number : vertex.position) target.positions.push_back(static_cast<Float32>(number));
  for (const Float64 number : vertex.normal) target.normals.push_back(static_cast<Float32>(number));
  for (const Float64 number : vertex.uv) target.uvs.push_back(static_cast<Float32>(number));
}

// A surface over (u, v) in 0 ... 1, whose outside is where u goes to the right and v down.
template <class Place>
void AppendSurface(ShapeVertices& target, SceneTopology topology, Int columns, Int rows, const Place& place) {
  const auto corner = [&](Int column, Int row) {
    Append(target, place(static_cast<Float64>(column) / static_cast<Float64>(columns),
                         static_cast<Float64>(row) / static_cast<Float64>(rows)));
  };
  if (topology == SceneTopology::Points) {
    for (Int row = 0; row <= rows; ++row)
      for (Int column = 0; column <= columns; ++column) corner(column, row);
    return;
  }
  if (topology == SceneTopology::Lines) {
    const auto line = [&](Int column, Int row, Int nextColumn, Int nextRow) {
      corner(column, row);
      corner(nextColumn, nextRow);
    };
    for (Int row = 0; row <= rows; ++row)
      for (Int column = 0; column < columns; ++column) line(column, row, column + 1, row);
    for (Int column = 0; column <= columns; ++column)
      for (Int row = 0; row < rows; ++row) line(column, row, column, row + 1);
    return;
  }
  for (Int row = 0; row < rows; ++row)
    for (Int column = 0; column < columns; ++column) {
      // From the upper left, counterclockwise.
      const Int places[4][2] = {{column, row}, {column, row + 1}, {column + 1, row + 1}, {column + 1, row}};
      if (topology == SceneTopology::Patches) {
        for (const auto& [x, y] : places) corner(x, y);
        continue;
      }
      for (const Int i : {0, 1, 2, 0, 2, 3}) corner(places[i][0], places[i][1]);
    }
}

void AppendBox(ShapeVertices& target, SceneTopology topology, const Float64 (&size)[3]) {
  // The way to the right, down, and out of each side.
  constexpr Float64 kSides[6][3][3] = {
      {{1, 0, 0}, {0, -1, 0}, {0, 0, 1}},  {{-1, 0, 0}, {0, -1, 0}, {0, 0, -1}}, {{0, 0, -1}, {0, -1, 0}, {1, 0, 0}},
      {{0, 0, 1}, {0, -1, 0}, {-1, 0, 0}}, {{1, 0, 0}, {0, 0, 1}, {0, 1, 0}},    {{1, 0, 0}, {0, 0, -1}, {0, -1, 0}},
  };
  for (const auto& side : kSides)
    AppendSurface(target, topology, 1, 1, [&](Float64 u, Float64 v) {
      Vertex vertex{{}, {side[2][0], side[2][1], side[2][2]}, {u, v}};
      for (Int i = 0; i < 3; ++i)
        vertex.position[i] = size[i] * ((u - 0.5) * side[0][i] + (v - 0.5) * side[1][i] + 0.5 * side[2][i]);
      return vertex;
    });
}

void AppendSphere(ShapeVertices& target, SceneTopology topology, const SceneShapeSettings& settings) {
  AppendSurface(target, topology, settings.segments[0], settings.segments[1], [&](Float64 u, Float64 v) {
    const Float64 around = u * 2 * std::numbers::pi, down = v * std::numbers::pi;
    const Float64 x = std::sin(down) * std::sin(around), y = std::cos(down), z = std::sin(down) * std::cos(around);
    const Float64 r = settings.radius;
    return Vertex{{r * x, r * y, r * z}, {x, y, z}, {u, v}};
  });
}

// Around the y axis.
void AppendTorus(ShapeVertices& target, SceneTopology topology, const SceneShapeSettings& settings) {
  AppendSurface(target, topology, settings.segments[0], settings.segments[1], [&](Float64 u, Float64 v) {
    const Float64 around = u * 2 * std::numbers::pi, across = -v * 2 * std::numbers::pi;
    const Float64 out = std::cos(across), up = std::sin(across);
    const Float64 distance = settings.radius + settings.tube * out;
    return Vertex{{distance * std::sin(around), settings.tube * up, distance * std::cos(around)},
                  {out * std::sin(around), up, out * std::cos(around)},
                  {u, v}};
  });
}

void AppendPoints(ShapeVertices& target, const SceneShapeSettings& settings) {
  const auto place = [&](Int axis, Int index) {
    const Int count = settings.segments[axis];
    return count == 1 ? 0.0
                      : settings.size[axis] * (static_cast<Float64>(index) / static_cast<Float64>(count - 1) - 0.5);
  };
  for (Int z = 0; z < settings.segments[2]; ++z)
    for (Int y = 0; y < settings.segments[1]; ++y)
      for (Int x = 0; x < settings.segments[0]; ++x)
        Append(target, {{place(0, x), place(1, y), place(2, z)},
                        {0, 0, 1},
                        {(static_cast<Float64>(x) + 0.5) / static_cast<Float64>(settings.segments[0]),
                         (static_cast<Float64>(y) + 0.5) / static_cast<Float64>(settings.segments[1])}});
}

}  // namespace

const std::vector<Float32>* ShapeVertices::Find(std::string_view attribute, Int& componentCount) const {
  componentCount = attribute == "uv" || attribute == "texUv" ? 2 : 3;
  if (attribute == "position") return &positions;
  if (attribute == "normal") return &normals;
  return componentCount == 2 ? &uvs : nullptr;
}

std::vector<std::string> ListShapeAttributes() { return {"position", "normal", "uv", "texUv"}; }

ShapeVertices MakeShape(const SceneShapeSettings& settings, SceneTopology topology) {
  ShapeVertices vertices;
  switch (settings.shape) {
    case SceneShape::Quad:
      AppendSurface(vertices, topology, 1, 1, [&](Float64 u, Float64 v) {
        return Vertex{{settings.size[0] * (u - 0.5), settings.size[1] * (0.5 - v), 0}, {0, 0, 1}, {u, v}};
      });
      break;
    case SceneShape::Grid:
      AppendSurface(vertices, topology, settings.segments[0], settings.segments[1], [&](Float64 u, Float64 v) {
        return Vertex{{settings.size[0] * (u - 0.5), 0, settings.size[1] * (v - 0.5)}, {0, 1, 0}, {u, v}};
      });
      break;
    case SceneShape::Box:
      AppendBox(vertices, topology, settings.size);
      break;
    case SceneShape::Sphere:
      AppendSphere(vertices, topology, settings);
      break;
    case SceneShape::Torus:
      AppendTorus(vertices, topology, settings);
      break;
    case SceneShape::Points:
      AppendPoints(vertices, settings);
      break;
  }
  return vertices;
}

ShapeVertices MakeWireframe(const ShapeVertices& triangles) {
  ShapeVertices lines;
  const auto append = [](const std::vector<Float32>& from, std::vector<Float32>& to, Int size, Int vertex) {
    to.insert(to.end(), from.begin() + size * vertex, from.begin() + size * (vertex + 1));
  };
  for (Int i = 0; i + 2 < triangles.GetCount(); i += 3)
    for (const Int corner : {0, 1, 1, 2, 2, 0}) {
      append(triangles.positions, lines.positions, 3, i + corner);
      append(triangles.normals, lines.normals, 3, i + corner);
      append(triangles.uvs, lines.uvs, 2, i + corner);
    }
  return lines;
}

}  // namespace ostra::plans
