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

Result<void> EnterFirst(ModuleDescriptor& module) {
  OSTRA_ASSIGN_OR_RETURN(ClassRef nothing, Class::Create<Nothing>("com.example.nothing"_id));
  return RegisterClass(module, nothing);
}
void LeaveFirst(ModuleDescriptor&) { DiagnosticOutput("leave first"); }

Result<void> EnterSecond(ModuleDescriptor& module) {
  OSTRA_RETURN_IF_ERROR(RegisterRegistry(module, kCounterRegistry));
  return EnterFirst(module);
}
void LeaveSecond(ModuleDescriptor&) { DiagnosticOutput("leave second"); }

constexpr std::array<ModuleEntry, 2> kUnits = {
    {{"first", &EnterFirst, &LeaveFirst}, {"second", &EnterSecond, &LeaveSecond}}};

}  // namespace
}  // namespace ostra

using namespace ostra::literals;

OSTRA_MODULE_DESCRIPTOR = {.id = "com.example.refused"_id, .version = "1.0", .units = ostra::kUnits};
