// A module in order: a class, two start-up entries, a framework of its own, a reference to a host interface. Its
// entries write what they do to the diagnostics.
#include <array>

#include "ostra/core/diagnostics.h"
#include "ostra/object/registration.h"
#include "tests/object/plugins/counter.h"

namespace ostra {
namespace {

class Counter final : public Component<Counter, CounterInterface> {
 public:
  static constexpr const char* kComponentName = "com.example.counter";
  Int Next() override { return ++_count; }

 private:
  Int _count = 0;
};

constinit HostMethod<Result<Int>(Int)> DoubleNumber("DoubleNumber");
constexpr std::array<HostMethodBase*, 1> kNumberMethods = {&DoubleNumber};
constinit InterfaceReference g_numbers{kNumbersInterface, kNumberMethods};
constexpr std::array<InterfaceReference*, 1> kReferences = {&g_numbers};

Result<void> RegisterCounter(ModuleDescriptor& module) {
  DiagnosticOutput("enter counter");
  OSTRA_ASSIGN_OR_RETURN(ClassRef counter, Class::Create<Counter>(kCounterClass));
  return RegisterClass(module, counter);
}
void UnregisterCounter(ModuleDescriptor&) { DiagnosticOutput("leave counter"); }

Result<void> RegisterOwnRegistry(ModuleDescriptor& module) {
  DiagnosticOutput("enter registry");
  return RegisterRegistry(module, kCounterRegistry);
}
void UnregisterOwnRegistry(ModuleDescriptor&) { DiagnosticOutput("leave registry"); }

Result<void> StartNumbers(ModuleDescriptor&) {
  auto number = DoubleNumber(21);
  if (number)
    DiagnosticOutput("start numbers @", *number);
  else
    DiagnosticOutput("start numbers without: @", number.GetError());
  return OK;
}
void StopNumbers(ModuleDescriptor&) { DiagnosticOutput("stop numbers"); }

Result<void> StartLast(ModuleDescriptor& module) {
  DiagnosticOutput("start last");
  return RegisterInterface(module, CounterInterface::kInterfaceId, "CounterInterface");
}
void StopLast(ModuleDescriptor&) { DiagnosticOutput("stop last"); }

constexpr std::array<Id, 2> kNeeds = {"net.ostra.core.framework"_id, kGoodFramework};
constexpr std::array<ModuleEntry, 2> kUnits = {
    {{"counter", &RegisterCounter, &UnregisterCounter}, {"registry", &RegisterOwnRegistry, &UnregisterOwnRegistry}}};
constexpr std::array<ModuleEntry, 2> kStartup = {
    {{"numbers", &StartNumbers, &StopNumbers}, {"last", &StartLast, &StopLast}}};

}  // namespace
}  // namespace ostra

OSTRA_MODULE_DESCRIPTOR = {.id = ostra::kGoodModule,
                           .version = "1.2.3",
                           .requiredFrameworks = ostra::kNeeds,
                           .publishedFramework = ostra::kGoodFramework,
                           .references = ostra::kReferences,
                           .units = ostra::kUnits,
                           .startupEntries = ostra::kStartup};
