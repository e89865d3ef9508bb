#include "apps/ostra/render/render_command.h"

#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>

#include "apps/ostra/output/shown_work.h"
#include "apps/ostra/output/table.h"
#include "apps/ostra/profile/profile_report.h"
#include "apps/ostra/start_host.h"
#include "apps/ostra/tool_error.h"
#include "plans/buffers/file_kind.h"
#include "plans/scene/draw_scene.h"
#include "plans/start_gpu.h"
#include "plans/values/text.h"

OSTRA_UNIT("render_command");

namespace ostra::tool {

using namespace plans;

namespace {

// "1,2,3".
Result<std::vector<Float64>> ParseNumbers(const std::string& name, const std::string& text) {
  std::vector<Float64> numbers;
  for (const std::string_view part : SplitText(text, ',')) {
    Float64 number = 0;
    const auto [end, code] = std::from_chars(part.data(), part.data() + part.size(), number);
    if (code != std::errc() || end != part.data() + part.size() || !std::isfinite(number))
      return OSTRA_USAGE_ERROR("--set @: \"@\" is not a number", name, part);
    numbers.push_back(number);
  }
  return numbers;
}

Result<void> ReplaceValues(const RenderOptions& options, Scene& scene) {
  for (const auto& [name, text] : options.values) {
    OSTRA_ASSIGN_OR_RETURN(std::vector<Float64> numbers, ParseNumbers(name, text));
    if (const auto set = SetSceneValue(scene, name, std::move(numbers)); !set)
      return OSTRA_USAGE_ERROR("--set: @", set.GetError());
  }
  return OK;
}

Result<void> CheckPictureTarget(const Url& target) {
  if (!IsPictureFile(target))
    return OSTRA_USAGE_ERROR("--out: @ has no suffix that says how to write it; known are @", target,
                             OSTRA_PICTURE_SUFFIXES);
  return CheckFileTarget(target);
}

Result<void> Report(const RenderOptions& options, const Scene& scene, const RenderPlan& plan, const DrawnScene& drawn,
                    const std::optional<ProfileReport>& profile) {
  const RenderedScene& rendered = drawn.rendered;
  Int draws = 0;
  for (const PlannedPass& pass : plan.passes) draws += static_cast<Int>(pass.draws.size());
  const Extents size{rendered.image.width, rendered.image.height, 1};
  if (options.isJson) {
    nlohmann::ordered_json json = {{"scene", scene.file},
                                   {"device", drawn.device},
                                   {"size", {size.width, size.height}},
                                   {"kernels", scene.kernels.size()},
                                   {"passes", plan.passes.size()},
                                   {"draws", draws},
                                   {"vertices", rendered.vertexCount},
                                   {"milliseconds", rendered.milliseconds},
                                   {"output", std::string(options.target.GetView())}};
    if (profile) json["profile"] = FormatProfileAsJson(*profile);
    return WriteReport(json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n");
  }
  char time[40];
  std::snprintf(time, sizeof(time), "%.1f ms, with building the programs", rendered.milliseconds);
  return WriteReport(FormatTable({{"device", drawn.device},
                                  {"size", size.ToText()},
                                  {"passes", std::to_string(plan.passes.size())},
                                  {"draws", std::to_string(draws)},
                                  {"vertices", std::to_string(rendered.vertexCount)},
                                  {"time", time},
                                  {"written", std::string(options.target.GetView())}}) +
                     (profile ? FormatProfile(*profile) : ""));
}

}  // namespace

Result<void> Render(const RenderOptions& options, std::span<const char* const> arguments) {
  OSTRA_RETURN_IF_ERROR(CheckPictureTarget(options.target));
  if (options.isProfiled) Profile::Start(options.traceFile);
  OSTRA_ASSIGN_OR_RETURN(Scene scene, ReadScene(options.sceneFile));
  OSTRA_RETURN_IF_ERROR(ReplaceValues(options, scene));
  if (options.size.IsKnown()) scene.size = options.size;
  OSTRA_ASSIGN_OR_RETURN(Host host, StartHost(arguments));
  const Url folder = options.sceneFile.GetDirectory();
  std::optional<ProfilePart> part(std::in_place, "plan");
  OSTRA_ASSIGN_OR_RETURN(const RenderPlan plan, MakeRenderPlan(scene, folder));
  part.reset();
  ShownWork observer;
  ShowNotes(plan, observer);
  OSTRA_RETURN_IF_ERROR(StartGpu(host, "scenes are drawn on a GPU, or by a driver that plays one"));
  OSTRA_ASSIGN_OR_RETURN(const DrawnScene drawn,
                         DrawScene(scene, plan, folder, {options.cacheFolder, "--cache-dir"}, host, observer));
  part.emplace("write files");
  OSTRA_RETURN_IF_ERROR(WriteImage(options.target, drawn.rendered.image));
  part.reset();
  std::optional<ProfileReport> profile;
  if (options.isProfiled) {
    OSTRA_ASSIGN_OR_RETURN(profile, Profile::Finish());
  }
  return Report(options, scene, plan, drawn, profile);
}

}  // namespace ostra::tool
