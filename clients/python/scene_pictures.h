// Scenes, drawn by graphics programs, as numpy arrays.
#pragma once

#include <pybind11/numpy.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "ostra/core/types.h"

namespace ostra::python {

// A scene: a file, or a text that is called `path` in messages and whose files count from `folder`.
struct SceneSource {
  std::string path;
  bool isText = false;
  std::string text = {}, folder = {};
};

// Draws it on the GPU: an array of float32 of the shape (height, width, 4), and what should be known of it, a list of
// str. `size`: width and height, zeros for those of the scene. `values` replace those of the scene. Throws ValueError
// for values that the scene does not have and for sizes, and Exception with the errors of RenderScene.
pybind11::tuple RenderPicture(const SceneSource& source, const std::array<Int, 2>& size,
                              const std::vector<std::pair<std::string, std::vector<double>>>& values);

}  // namespace ostra::python
