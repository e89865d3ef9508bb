#include "plans/scene/draw_scene.h"

#include "ostra/core/format.h"
#include "ostra/drawport/device_list.h"
#include "ostra/image/pixel_format.h"
#include "ostra/io/file.h"
#include "plans/names/nearest_name.h"
#include "plans/usage_error.h"
#include "plans/values/memory_size.h"

OSTRA_UNIT("draw_scene");

namespace ostra::plans {

namespace {

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

// Empty if the devices cannot be listed: the picture is there.
std::string FindDeviceName(const DrawportInterface& drawport) {
  const auto devices = GetDrawportDevices();
  const Int index = drawport.GetDrawingDevice();
  return devices && index < devices->GetCount() ? std::string((*devices)[index].name.GetView()) : std::string();
}

}  // namespace

Result<Scene> ReadScene(const Url& file) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> bytes, ReadFileToMemory(file, {.maxSize = kMaxTextFileSize}));
  const std::string_view text(reinterpret_cast<const char*>(bytes.GetFirst()),
                              static_cast<std::size_t>(bytes.GetCount()));
  return ParseScene(text, file.GetView());
}

Result<void> SetSceneValue(Scene& scene, const std::string& name, std::vector<Float64> numbers) {
  const auto found = scene.values.find(name);
  if (found == scene.values.end()) {
    std::vector<std::string> names;
    for (const auto& [known, value] : scene.values) names.push_back(known);
    return OSTRA_USAGE_ERROR("the scene has no value \"@\"@", name, SuggestName(name, names));
  }
  SceneValue value;
  value.path = found->second.path;
  value.numbers = std::move(numbers);
  found->second = std::move(value);
  return OK;
}

void ShowNotes(const RenderPlan& plan, WorkObserver& observer) {
  for (const PlannedFileTexture& texture : plan.textures)
    for (const std::string& note : texture.contents.notes) observer.Note(note);
}

Result<DrawnScene> DrawScene(const Scene& scene, const RenderPlan& plan, const Url& folder,
                             const KernelCacheFolder& cache, Host& host, WorkObserver& observer) {
  OSTRA_ASSIGN_OR_RETURN(const DrawportContextRef context, MakeContext());
  OSTRA_RETURN_IF_ERROR(CheckTargetMemory(scene, plan, *context));
  OSTRA_ASSIGN_OR_RETURN(const SceneKernels kernels, SceneKernels::Run(scene, folder, cache, host, context, observer));
  DrawnScene drawn;
  OSTRA_ASSIGN_OR_RETURN(drawn.rendered, SceneRenderer(scene, plan, kernels, context, observer).Render());
  drawn.device = FindDeviceName(*context->GetDrawport());
  return drawn;
}

}  // namespace ostra::plans
