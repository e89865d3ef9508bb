#include "conformance/suite.h"

#include "conformance/client_scenarios.h"
#include "conformance/comparisons.h"
#include "conformance/differences.h"

namespace ostra::conformance {
namespace {

// Runs checks on both classes and counts those that hold.
class CheckCounter {
 public:
  explicit CheckCounter(const ConformanceSetting& setting) : _setting(setting) {}

  void Run(const char* name, void (*check)(ClientRun&)) {
    Bool isHeld = true;
    for (const Id& programClass : {kCpuProgramClass, kGpuProgramClass}) {
      for (const std::string& failure : RunClient(check, programClass, _setting.kernels)) {
        _failures += (_failures.empty() ? "" : "; ") + std::string(name) +
                     (programClass == kGpuProgramClass ? " on the GPU: " : " on the CPU: ") + failure;
        isHeld = false;
      }
    }
    ++_count;
    _held += isHeld;
  }
  ConformanceRow MakeRow(const char* group, const char* what, const char* promised) const {
    ConformanceRow row{group, what, promised, std::to_string(_held) + " of " + std::to_string(_count),
                       _failures.empty()};
    if (!row.isHeld) row.reached += ": " + _failures;
    return row;
  }

 private:
  const ConformanceSetting& _setting;
  Int _count = 0, _held = 0;
  std::string _failures;
};

std::string Capitalize(std::string word) {
  if (!word.empty() && word[0] >= 'a' && word[0] <= 'z') word[0] = static_cast<char>(word[0] - 'a' + 'A');
  return word;
}

ConformanceRow RunClientScenarios(const ConformanceSetting& setting) {
  CheckCounter counter(setting);
  for (const ClientScenario& scenario : GetClientScenarios()) counter.Run(scenario.name, scenario.run);
  return counter.MakeRow("clients", "scenarios on both programs", "the same results and messages");
}

ConformanceRow RunDifferences(const ConformanceSetting& setting) {
  CheckCounter counter(setting);
  for (const Difference& difference : GetDifferences()) counter.Run(difference.test, difference.check);
  return counter.MakeRow("differences", "rows of the table", "each class by its own rule");
}

}  // namespace

std::vector<ConformanceCase> GetConformanceCases() {
  std::vector<ConformanceCase> cases;
  for (const OperationGroup& group : GetOperationGroups())
    cases.push_back({group.test, [&group](const ConformanceSetting& setting) {
                       return CompareOperations(group, setting.kernels);
                     }});
  cases.push_back({"Integers", [](const ConformanceSetting& setting) { return CompareIntegers(setting.kernels); }});
  cases.push_back({"Language", [](const ConformanceSetting& setting) { return CompareLanguage(setting.kernels); }});
  cases.push_back({"Members", [](const ConformanceSetting& setting) { return CompareMembers(setting.kernels); }});
  cases.push_back({"Overflow", [](const ConformanceSetting& setting) { return CompareOverflow(setting.kernels); }});
  cases.push_back({"Remainders", [](const ConformanceSetting& setting) { return CompareRemainders(setting.kernels); }});
  cases.push_back({"Doubles", [](const ConformanceSetting& setting) { return CompareDoubles(setting.kernels); }});
  cases.push_back({"Longs", [](const ConformanceSetting& setting) { return CompareLongs(setting.kernels); }});
  cases.push_back({"Halves", [](const ConformanceSetting& setting) { return CompareHalves(setting.kernels); }});
  cases.push_back({"Shorts", [](const ConformanceSetting& setting) { return CompareShorts(setting.kernels); }});
  cases.push_back({"Noises", [](const ConformanceSetting& setting) { return CompareNoises(setting.kernels); }});
  for (const int dimensions : {1, 2, 3})
    cases.push_back({"Textures" + std::to_string(dimensions) + "D", [dimensions](const ConformanceSetting& setting) {
                       return CompareTextures(dimensions, setting.weightBits, setting.kernels);
                     }});
  cases.push_back({"Texels", [](const ConformanceSetting& setting) { return CompareTexels(setting.kernels); }});
  for (const KernelScenario& scenario : GetKernelScenarios())
    cases.push_back({"Kernel" + Capitalize(scenario.name), [&scenario](const ConformanceSetting& setting) {
                       return CompareKernel(scenario, setting.kernels);
                     }});
  return cases;
}

std::vector<ConformanceCase> GetAllConformanceCases() {
  std::vector<ConformanceCase> cases = GetConformanceCases();
  cases.push_back(
      {"Clients", [](const ConformanceSetting& setting) { return std::vector{RunClientScenarios(setting)}; }});
  cases.push_back(
      {"Differences", [](const ConformanceSetting& setting) { return std::vector{RunDifferences(setting)}; }});
  return cases;
}

}  // namespace ostra::conformance
