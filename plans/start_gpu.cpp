#include "plans/start_gpu.h"

#include <algorithm>

#include "ostra/core/format.h"
#include "ostra/drawport/cache.h"
#include "ostra/drawport/device_list.h"
#include "ostra/object/module_loader.h"

OSTRA_UNIT("start_gpu");

namespace ostra::plans {

namespace {

Result<void> LoadBackend(Host& host) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<ModuleInformation> modules, ModuleLoader::GetModules());
  const auto isBackend = [](const ModuleInformation& module) { return module.id == "net.ostra.drawport.vulkan"_id; };
  if (std::any_of(modules.begin(), modules.end(), isBackend)) return OK;
  OSTRA_RETURN_IF_ERROR(host.LoadModule("drawport_vulkan"));
  return OK;
}

}  // namespace

Result<void> StartGpu(Host& host, std::string_view hint) {
  if (auto loaded = LoadBackend(host); !loaded)
    return OSTRA_ILLEGAL_STATE("there is no GPU backend (@): @", hint, loaded.GetError());
  OSTRA_ASSIGN_OR_RETURN(const DrawportCacheRef cache, GetDefaultDrawportCache());
  if (!cache->GetCacheType().IsEmpty()) return OK;
  const auto devices = GetDrawportDevices();  // says why
  if (devices) return OSTRA_ILLEGAL_STATE("there is no GPU device (@)", hint);
  return OSTRA_ILLEGAL_STATE("there is no GPU device (@): @", hint, devices.GetError());
}

}  // namespace ostra::plans
