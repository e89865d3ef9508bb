// The descriptor of the module: what it needs, what it registers and in which order.
#include <array>

#include "ostra/object/host_frameworks.h"
#include "parallelprogram/base/configuration_variables.h"
#include "parallelprogram/module/startup.h"
#include "parallelprogram/module/units.h"

namespace ostra {
namespace {

constexpr std::array kFrameworks = {
    kCoreFramework,
    kMathFramework,
    kCryptFramework,
    kNetworkFramework,
    kImageFramework,
    kDrawportFramework,
    kDrawportMiscFramework,
    kFunctionCacheFramework,
    kPerformanceMonitorFramework,
    "net.ostra.parallelprogram.framework"_id,
};

// Units without registrations keep their place: what they get later must come before the units below them.
constexpr std::array<ModuleEntry, 11> kUnits = {{
    {"general_shader_loader_impl", &RegisterGeneralShaderLoader, &UnregisterGeneralShaderLoader},
    {"shader_data_entries", &RegisterShaderDataEntries},
    {"kernelbase_impl", &RegisterKernelBase},
    {"kernelinterface_texture", &RegisterKernelTextures},
    {"parallelprogram_cpu_impl", &RegisterCpuProgram},
    {"parallelprogram_gpu_impl", &RegisterGpuProgram, &UnregisterGpuProgram},
    {"texture_sampling_structs", &RegisterTextureStructures},
    {"shaderparser", nullptr},
    {"kernelclassregistry", &RegisterKernelClassRegistry},
    {"reflection", nullptr},
    {"register", &RegisterModuleFrame},
}};

constexpr std::array<ModuleEntry, 3> kStartup = {{
    {"configuration", &StartConfiguration, &StopConfiguration},
    {".cpuidinit", &ReadProcessorFlags},
    {".reflection", &RegisterReflections},
}};

}  // namespace
}  // namespace ostra

using namespace ostra::literals;

OSTRA_MODULE_DESCRIPTOR = {
    .id = "net.ostra.parallelprogram"_id,
    .version = OSTRA_MODULE_VERSION,
    .requiredFrameworks = ostra::kFrameworks,
    .publishedFramework = "net.ostra.parallelprogram.framework"_id,
    .references = ostra::g_hostReferences,
    .units = ostra::kUnits,
    .startupEntries = ostra::kStartup,
    .configuration = &ostra::g_configurationTable,
};
