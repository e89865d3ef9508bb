#include "apps/ostra/render/render_command.h"

#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>

#include "apps/ostra/buffers/file_kind.h"
#include "apps/ostra/names/nearest_name.h"
#include "apps/ostra/output/standard_output.h"
#include "apps/ostra/output/table.h"
#include "apps/ostra/profile/profile_report.h"
#include "apps/ostra/render/scene_renderer.h"
#include "apps/ostra/start_host.h"
#include "apps/ostra/tool_error.h"
#include "apps/ostra/tool_memory.h"
#include "apps/ostra/values/text.h"
#include "ostra/drawport/device_list.h"
#include "ostra/image/pixel_format.h"
#include "ostra/io/file.h"

OSTRA_UNIT("render_command");

namespace ostra::tool {

namespace {

Result<Scene> ReadScene(const RenderOptions& options) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> bytes,
                         ReadFileToMemory(options.sceneFile, {.maxSize = kMaxTextFileSize}));
  const std::string_view text(reinterpret_cast<const char*>(bytes.GetFirst()),
                              static_cast<std::size_t>(bytes.GetCount()));
  return ParseScene(text, options.sceneFile.GetView());
}

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
  std::vector<std::string> names;
  for (const auto& [name, value] : scene.values) names.push_back(name);
  for (const auto& [name, text] : options.values) {
    const auto found = scene.values.find(name);
    if (found == scene.values.end())
      return OSTRA_USAGE_ERROR("--set: the scene has no value \"@\"@", name, SuggestName(name, names));
    SceneValue value;
    value.path = found->second.path;
    OSTRA_ASSIGN_OR_RETURN(value.numbers, ParseNumbers(name, text));
    found->second = std::move(value);
  }
  return OK;
}

Result<void> CheckPictureTarget(const Url& target) {
  if (GetFileKind(target) != FileKind::Picture)
    return OSTRA_USAGE_ERROR("--out: @ has no suffix that says how to write it; known are .png and .exr", target);
  return CheckFileTarget(target);
}

Result<DrawportContextRef> MakeContext() {
  OSTRA_ASSIGN_OR_RETURN(const DrawportCacheRef cache, GetDefaultDrawportCache());
  OSTRA_ASSIGN_OR_RETURN(const DrawportRef drawport,
                         cache->AllocDrawport(cache->GetCacheType(), kDrawportSubtypeSystem));
  return drawport->CreateOffscreenRenderContext(false, drawport->GetDrawingDevice());
}

// All targets stay until the picture is read, so that later passes can read earlier ones.
Result<void> CheckTargetMemory(const Scene& scene, const RenderPlan& plan, const DrawportContextInterface& context) {
  Int bytes = 0;
  for (const PlannedPass& pass : plan.passes) {
    Int pixelSize = pass.scene->hasDepth ? Int(sizeof(Float32)) : 0;
    for (const std::string& name : pass.scene->colorFormats) {
      OSTRA_ASSIGN_OR_RETURN(const Id id, Id::Create("net.ostra.image.pixelformat." + name));
      OSTRA_ASSIGN_OR_RETURN(const PixelFormatRef format, GetPixelFormat(id));
      pixelSize += format->GetBytesPerPixel();
    }
    // Samples are resolved to a texture of their own.
    const Int copies = pass.scene->sampleCount > 1 ? pass.scene->sampleCount + 1 : 1;
    bytes += pass.size.GetCount() * pixelSize * copies;
  }
  const VideoMemoryBudget budget = context.GetAvailableAndTotalVRAMBudget();
  if (budget.available < 0 || bytes <= budget.available) return OK;
  return OSTRA_ILLEGAL_STATE("@: the targets of its @ passes need @ of memory, and the device has @ left", scene.file,
                             plan.passes.size(), FormatMemorySize(bytes), FormatMemorySize(budget.available));
}

Result<void> Report(const RenderOptions& options, const Scene& scene, const RenderPlan& plan,
                    const RenderedScene& rendered, const DrawportInterface& drawport,
                    const std::optional<ProfileReport>& profile) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<DrawportDeviceInformation> devices, GetDrawportDevices());
  const Int index = drawport.GetDrawingDevice();
  const std::string device = index < devices.GetCount() ? std::string(devices[index].name.GetView()) : "";
  Int draws = 0;
  for (const PlannedPass& pass : plan.passes) draws += static_cast<Int>(pass.draws.size());
  const Extents size{rendered.image.width, rendered.image.height, 1};
  if (options.isJson) {
    nlohmann::ordered_json json = {{"scene", scene.file},
                                   {"device", device},
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
  return WriteReport(FormatTable({{"device", device},
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
  OSTRA_ASSIGN_OR_RETURN(Scene scene, ReadScene(options));
  OSTRA_RETURN_IF_ERROR(ReplaceValues(options, scene));
  if (options.size.IsKnown()) scene.size = options.size;
  OSTRA_ASSIGN_OR_RETURN(Host host, StartHost(arguments));
  const Url folder = options.sceneFile.GetDirectory();
  std::optional<ProfilePart> part(std::in_place, "plan");
  OSTRA_ASSIGN_OR_RETURN(const RenderPlan plan, MakeRenderPlan(scene, folder));
  part.reset();
  for (const PlannedFileTexture& texture : plan.textures)
    for (const std::string& note : texture.contents.notes) WriteNote(note);
  OSTRA_RETURN_IF_ERROR(StartGpu(host, "scenes are drawn on a GPU, or by a driver that plays one"));
  OSTRA_ASSIGN_OR_RETURN(const DrawportContextRef context, MakeContext());
  OSTRA_RETURN_IF_ERROR(CheckTargetMemory(scene, plan, *context));
  OSTRA_ASSIGN_OR_RETURN(const SceneKernels kernels,
                         SceneKernels::Run(scene, folder, options.cacheFolder, host, context));
  OSTRA_ASSIGN_OR_RETURN(const RenderedScene rendered, SceneRenderer(scene, plan, kernels, context).Render());
  part.emplace("write files");
  OSTRA_RETURN_IF_ERROR(WriteImage(options.target, rendered.image));
  part.reset();
  std::optional<ProfileReport> profile;
  if (options.isProfiled) {
    OSTRA_ASSIGN_OR_RETURN(profile, Profile::Finish());
  }
  return Report(options, scene, plan, rendered, *context->GetDrawport(), profile);
}

}  // namespace ostra::tool
