// Its second unit enters an ID that its first one has taken, after another registration that was fine.
#include <array>

#include "ostra/core/diagnostics.h"
#include "ostra/object/registration.h"
#include "tests/object/plugins/counter.h"

namespace ostra {
namespace {

class Nothing final : public Component<Nothing, CounterInterface> {
 public:
  static constexpr const char* kComponentName = "com.example.nothing";
  Int Next() override { return 0; }
};

Result<void> RegisterFirst(ModuleDescriptor& module) {
  OSTRA_ASSIGN_OR_RETURN(ClassRef nothing, Class::Create<Nothing>("com.example.nothing"_id));
  return RegisterClass(module, nothing);
}
void UnregisterFirst(ModuleDescriptor&) { DiagnosticOutput("leave first"); }

Result<void> RegisterSecond(ModuleDescriptor& module) {
  OSTRA_RETURN_IF_ERROR(RegisterRegistry(module, kCounterRegistry));
  return RegisterFirst(module);
}
void UnregisterSecond(ModuleDescriptor&) { DiagnosticOutput("leave second"); }

constexpr std::array<ModuleEntry, 2> kUnits = {
    {{"first", &RegisterFirst, &UnregisterFirst}, {"second", &RegisterSecond, &UnregisterSecond}}};

}  // namespace
}  // namespace ostra

using namespace ostra::literals;

OSTRA_MODULE_DESCRIPTOR = {.id = "com.example.refused"_id, .version = "1.0", .units = ostra::kUnits};
