// RenderScene: a scene file, which says what is drawn with graphics programs from stage files, becomes a picture.
//
//   OSTRA_ASSIGN_OR_RETURN(const Url file, Url::Create("terrain.json"));
//   OSTRA_ASSIGN_OR_RETURN(const Image picture, RenderScene(host, file, {.width = 640, .height = 360}));
//   const Float32 red = picture.rgba[4 * (y * picture.width + x)];  // of the pixel at (x, y), y from the top
//
// docs/scene-files.md has every key of scene files. Link ostra::plans. The module "parallelprogram" must be loaded.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ostra/host.h"
#include "ostra/image/image.h"
#include "plans/work_observer.h"

namespace ostra {

struct RenderSettings {
  Int width = 0, height = 0;  // of the picture, in pixels; both 0: as the scene says
  // Numbers that replace values of the scene: {{"angle", {30}}}.
  std::vector<std::pair<std::string, std::vector<Float64>>> values = {};
  // Of compiled kernels; empty: as KernelRuntimeSettings::cacheFolder.
  std::string cacheFolder = {};
  std::string cacheSetting = "RenderSettings::cacheFolder";  // what messages call the way to choose it
  // Called by the thread that renders, before RenderScene returns. Null: only diagnostics are shown, on standard error.
  plans::WorkObserver* observer = nullptr;
};

// Draws on the first GPU; the backend is loaded into `host` unless it is there. `file` may be relative to the working
// folder. Errors: file errors of the scene; illegal argument "FILE: PATH: ..." for what is wrong in the scene and in
// files that it names, "file:line: error: ..." for a stage file or a kernel; of the kind plans::kUsageError for a value
// that the scene does not have and for sizes; illegal state without a device, without enough of its memory and if the
// observer stops the work; out of memory. Used by one thread at a time, together with all other functions of the host.
OSTRA_API Result<Image> RenderScene(Host& host, const Url& file, const RenderSettings& settings = {});

// The same for the text of a scene. `name` stands for the file in messages; names of files count from `folder`.
OSTRA_API Result<Image> RenderSceneText(Host& host, std::string_view text, std::string_view name, const Url& folder,
                                        const RenderSettings& settings = {});

}  // namespace ostra
