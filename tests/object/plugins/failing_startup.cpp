// Its second start-up entry fails.
#include <array>

#include "ostra/core/diagnostics.h"
#include "ostra/object/registration.h"
#include "tests/object/plugins/counter.h"

OSTRA_UNIT("failingstartup");

namespace ostra {
namespace {

Result<void> RegisterOwnRegistry(ModuleDescriptor& module) { return RegisterRegistry(module, kCounterRegistry); }
void UnregisterOwnRegistry(ModuleDescriptor&) { DiagnosticOutput("leave registry"); }
Result<void> StartFirst(ModuleDescriptor&) { return OK; }
void StopFirst(ModuleDescriptor&) { DiagnosticOutput("stop first"); }
Result<void> StartSecond(ModuleDescriptor&) { return OSTRA_ILLEGAL_STATE("The lamp is broken."); }
void StopSecond(ModuleDescriptor&) { DiagnosticOutput("stop second"); }

constexpr std::array<ModuleEntry, 1> kUnits = {{{"registry", &RegisterOwnRegistry, &UnregisterOwnRegistry}}};
constexpr std::array<ModuleEntry, 2> kStartup = {
    {{"first", &StartFirst, &StopFirst}, {"second", &StartSecond, &StopSecond}}};

}  // namespace
}  // namespace ostra

using namespace ostra::literals;

OSTRA_MODULE_DESCRIPTOR = {.id = "com.example.failing"_id,
                           .version = "1.0",
                           .publishedFramework = ostra::kGoodFramework,
                           .units = ostra::kUnits,
                           .startupEntries = ostra::kStartup};
