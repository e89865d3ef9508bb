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
    {"general_shader_loader_impl", &EnterGeneralShaderLoader, &LeaveGeneralShaderLoader},
    {"shader_data_entries", &EnterShaderDataEntries},
    {"kernelbase_impl", &EnterKernelBase},
    {"kernelinterface_texture", &EnterKernelTextures},
    {"parallelprogram_cpu_impl", &EnterCpuProgram},
    {"parallelprogram_gpu_impl", &EnterGpuProgram, &LeaveGpuProgram},
    {"texture_sampling_structs", &EnterTextureStructures},
    {"shaderparser", nullptr},
    {"kernelclassregistry", &EnterKernelClassRegistry},
    {"reflection", nullptr},
    {"register", &EnterModuleFrame},
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
