#include "plans/render_scene.h"

#include <string_view>

#include "ostra/core/catch_exceptions.h"
#include "plans/scene/draw_scene.h"
#include "plans/start_gpu.h"
#include "plans/usage_error.h"

OSTRA_UNIT("render_scene");

namespace ostra {

using namespace plans;

namespace {

constexpr std::string_view kFailure = "The scene cannot be drawn";

Result<void> ApplySettings(const RenderSettings& settings, Scene& scene) {
  for (const auto& [name, numbers] : settings.values) OSTRA_RETURN_IF_ERROR(SetSceneValue(scene, name, numbers));
  if (settings.width == 0 && settings.height == 0) return OK;
  const auto isSide = [](Int side) { return side >= 1 && side <= kMaxSceneSide; };
  if (!isSide(settings.width) || !isSide(settings.height))
    return OSTRA_USAGE_ERROR("a picture has 1 to @ pixels along each side, not @ x @", kMaxSceneSide, settings.width,
                             settings.height);
  scene.size = {settings.width, settings.height, 1};
  return OK;
}

Result<Image> Render(Host& host, Scene scene, const Url& folder, const RenderSettings& settings) {
  OSTRA_RETURN_IF_ERROR(ApplySettings(settings, scene));
  OSTRA_ASSIGN_OR_RETURN(const RenderPlan plan, MakeRenderPlan(scene, folder));
  WorkObserver diagnosticsAlone;
  WorkObserver& observer = settings.observer ? *settings.observer : diagnosticsAlone;
  ShowNotes(plan, observer);
  OSTRA_RETURN_IF_ERROR(StartGpu(host, "scenes are drawn on a GPU, or by a driver that plays one"));
  OSTRA_ASSIGN_OR_RETURN(DrawnScene drawn,
                         DrawScene(scene, plan, folder, {settings.cacheFolder, settings.cacheSetting}, host, observer));
  return std::move(drawn.rendered.image);
}

}  // namespace

Result<Image> RenderScene(Host& host, const Url& file, const RenderSettings& settings) {
  return CatchExceptions(kOstraUnit, __LINE__, kFailure, [&]() -> Result<Image> {
    OSTRA_ASSIGN_OR_RETURN(Scene scene, ReadScene(file));
    return Render(host, std::move(scene), file.GetDirectory(), settings);
  });
}

Result<Image> RenderSceneText(Host& host, std::string_view text, std::string_view name, const Url& folder,
                              const RenderSettings& settings) {
  return CatchExceptions(kOstraUnit, __LINE__, kFailure, [&]() -> Result<Image> {
    OSTRA_ASSIGN_OR_RETURN(Scene scene, ParseScene(text, name));
    return Render(host, std::move(scene), folder, settings);
  });
}

}  // namespace ostra
