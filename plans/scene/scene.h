// A scene as its file says it (docs/scene-files.md): records without files, devices and types of programs.
//
//   OSTRA_ASSIGN_OR_RETURN(const Scene scene, ParseScene(text, "scene.json"));
//   scene.passes[0].draws[1].stages;       // {"torus.vert", "torus.frag"}
//
// Names of files are as they stand in the scene file: relative to its folder.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ostra/core/result.h"
#include "plans/values/extents.h"

namespace ostra::plans {

// Where something stands: "passes[0].draws[1]".
using ScenePath = std::string;

// A number, vector or matrix, or how it is made.
struct SceneValue {
  enum class Kind : Int32 {
    Numbers,       // `numbers`; matrices column by column
    Name,          // the scene's value of this `name`
    Perspective,   // numbers: field of view from bottom to top in degrees, near, far, aspect (0: that of the pass)
    Orthographic,  // numbers: height, near, far, aspect (0: that of the pass)
    LookAt,        // parts: eye, target, up
    Translate,     // the only part: way
    Scale,         // the only part: one factor, or three
    Rotate,        // parts: axis, degrees
    Product,       // of `parts`, the last one applied first
    Inverse,       // of the only part
    Normals,       // 3 x 3, for normals where points are moved by the only part
    Gradient,      // numbers: position, red, green and blue of each knot
  };

  ScenePath path;
  Kind kind = Kind::Numbers;
  std::vector<Float64> numbers;
  std::vector<SceneValue> parts;
  std::string name;
};

using SceneValues = std::map<std::string, SceneValue>;

// A kernel that runs before all passes.
struct SceneKernel {
  ScenePath path;
  std::string file;
  Extents size;  // of the dispatch; unknown: that of its inputs
  // In the form of the options of `ostra run`.
  std::map<std::string, std::string> settings;  // uniforms, counters and noises
  std::map<std::string, std::string> inputs;    // buffers and textures, and where their elements come from
  std::vector<std::pair<std::string, std::string>> swaps;
  Int iterationCount = 1;
};

// A buffer of a kernel.
struct SceneKernelBuffer {
  std::string kernel, buffer;
};

enum class SceneShape : Int32 { Quad, Grid, Box, Sphere, Torus, Points };

struct SceneShapeSettings {
  SceneShape shape = SceneShape::Quad;
  Float64 size[3] = {1, 1, 1};
  Float64 radius = 1;
  Float64 tube = 0.4;           // radius of a torus' tube
  Int segments[3] = {1, 1, 1};  // along the shape's own directions
};

// Numbers of an attribute, one vertex after the other, or the file that holds them.
struct SceneAttribute {
  ScenePath path;
  std::vector<Float64> numbers;
  std::string file;
};

struct SceneVertices {
  ScenePath path;
  // One of these four.
  std::optional<SceneShapeSettings> shape;
  std::string model;  // file
  std::map<std::string, SceneAttribute> attributes;
  std::optional<SceneKernelBuffer> kernelBuffer;
  Int count = 0;  // 0: as many as there are
};

inline constexpr Int kMaxSceneVertices = Int(1) << 24;

// A texture from files, or what an earlier pass has drawn.
struct SceneTexture {
  ScenePath path;
  std::vector<std::string> files;
  std::string settings;  // of files, in the form of the option --texture
  Int pass = -1;         // index of the pass; -1 for files
  Bool isDepth = false;
  Int target = 0;  // number of the colour target
};

// A buffer that a stage reads.
struct SceneBuffer {
  ScenePath path;
  std::string file;  // or, when empty:
  SceneKernelBuffer kernelBuffer;
};

enum class SceneTopology : Int32 { Points, Lines, LineStrip, Triangles, TriangleStrip, Patches };

// Numbers as DrawportDepthTestMode, DrawportCullFace and DrawportFrontFace have them; what is not given is left to the
// loader.
struct SceneState {
  std::optional<Int32> depthTest, cullMode, frontFace;
  std::optional<Bool> useAlphaBlending;
};

struct SceneDraw {
  ScenePath path;
  std::vector<std::string> stages;
  SceneVertices vertices;
  SceneTopology topology = SceneTopology::Triangles;
  Int patchSize = 4;  // control points
  std::map<std::string, SceneValue> uniforms;
  std::map<std::string, SceneTexture> textures;
  std::map<std::string, SceneBuffer> buffers;
  SceneState state;
};

struct ScenePass {
  ScenePath path;
  std::string name;                       // empty: no later pass reads it
  Extents size;                           // unknown: that of the picture
  std::vector<std::string> colorFormats;  // names of pixel formats without their common prefix
  Bool hasDepth = true;
  Int sampleCount = 1;
  std::vector<std::vector<Float64>> clearColors;  // four numbers for each target
  Float64 clearDepth = 1;
  std::vector<SceneDraw> draws;
};

struct Scene {
  std::string file;  // for messages
  Extents size{1280, 720, 1};
  std::string stageFolder;  // where stage files are, from the folder of the scene; empty: there
  SceneValues values;
  std::map<std::string, SceneKernel> kernels;
  std::vector<ScenePass> passes;  // the last one draws the picture
};

// Sides of pictures and passes are at most this long, in pixels.
inline constexpr Int kMaxSceneSide = 16384;

// The scene that a JSON text describes; `file` stands in messages. Everything that can be said without other files is
// checked: keys, types, ranges, names of values, kernels and passes. Touches no file and no device. Error: illegal
// argument "FILE: PATH: ...", one line.
Result<Scene> ParseScene(std::string_view text, std::string_view file);

}  // namespace ostra::plans
