// `ostra render`: draws a scene into a picture.
#pragma once

#include <span>
#include <string>
#include <utility>
#include <vector>

#include "ostra/io/url.h"
#include "plans/values/extents.h"

namespace ostra::tool {

struct RenderOptions {
  Url sceneFile;
  Url target;
  plans::Extents size;                                      // unknown: that of the scene
  std::vector<std::pair<std::string, std::string>> values;  // values of the scene that are replaced: "angle", "1,2,3"
  std::string cacheFolder;
  Bool isProfiled = false;
  std::string traceFile = {};  // of the profile; empty for none
  Bool isJson = false;
};

// Reads the scene, draws it on the first device, writes the picture whole or not at all, and reports. `arguments` are
// those of the process, for the host. Errors: as ParseScene, MakeRenderPlan and SceneRenderer give them; illegal state
// without a device; usage errors for values that the scene does not have and pictures that cannot be written.
Result<void> Render(const RenderOptions& options, std::span<const char* const> arguments);

}  // namespace ostra::tool
