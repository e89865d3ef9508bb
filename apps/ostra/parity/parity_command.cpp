#include "apps/ostra/parity/parity_command.h"

#include "apps/ostra/names/one_of.h"
#include "apps/ostra/output/progress.h"
#include "apps/ostra/output/quiet_option.h"
#include "apps/ostra/output/standard_output.h"
#include "apps/ostra/parity/parity_report.h"
#include "apps/ostra/start_host.h"
#include "conformance/kernel_folder.h"
#include "conformance/suite.h"
#include "ostra/core/format.h"
#include "ostra/core/silent_diagnostics.h"
#include "ostra/drawport/device_list.h"
#include "ostra/drawport/settings.h"
#include "plans/start_gpu.h"

OSTRA_UNIT("parity_command");

namespace ostra::tool {

using namespace plans;

namespace {

constexpr const char* kDetails =
    "Runs the same kernels and the same client code on the CPU and on the GPU of this machine, and shows beside every\n"
    "promise what was reached: the same bits for sums, products, integers, noises and texels; for quotients, roots "
    "and\n"
    "functions what Vulkan demands of devices; for values between texels one step of the device's weights.\n"
    "\n"
    "With a software driver this can take more than a minute; progress is shown on a terminal. OSTRA_VULKAN_DEVICE\n"
    "in the environment chooses among several GPUs; see 'ostra info --help'.\n"
    "\n"
    "Examples:\n"
    "  ostra parity\n"
    "  ostra parity --language HLSL --json\n"
    "\n"
    "Exit status: 0 everything is held, 1 something is not or failed, 2 wrong usage.\n";

void RunSuite(const conformance::ConformanceSetting& setting, std::vector<conformance::ConformanceRow>& rows) {
  // What scenarios do wrong on purpose is no news for the user: not even critical lines are.
  const SilentDiagnosticStream silence;
  const std::vector<conformance::ConformanceCase> cases = conformance::GetAllConformanceCases();
  Progress progress("comparing", static_cast<Int>(cases.size()), "groups");
  for (const conformance::ConformanceCase& each : cases) {
    for (conformance::ConformanceRow& row : each.run(setting)) rows.push_back(std::move(row));
    progress.Advance();
  }
}

}  // namespace

CLI::App& AddParityCommand(CLI::App& app, ParityArguments& arguments) {
  CLI::App& command = *app.add_subcommand("parity", "Compare the results of the GPU with those of the CPU");
  command.footer(kDetails);
  command.add_option("--language", arguments.language, "What kernels are translated to on their way: GLSL or HLSL")
      ->type_name("NAME")
      ->check(OneOf({"GLSL", "HLSL"}));
  command.add_flag("--json", arguments.isJson, "Report as JSON");
  AddQuietOption(command)->excludes("--json");
  return command;
}

Result<void> RunParity(const ParityArguments& arguments, std::span<const char* const> processArguments) {
  OSTRA_ASSIGN_OR_RETURN(Host host, StartHost(processArguments));
  OSTRA_RETURN_IF_ERROR(StartGpu(host, "there is nothing to compare with the CPU"));
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<DrawportDeviceInformation> devices, GetDrawportDevices());
  if (devices.IsEmpty()) return OSTRA_ILLEGAL_STATE("there is no GPU device");
  OSTRA_ASSIGN_OR_RETURN(const Id language, Id::Create(arguments.language));
  SetDrawportShadingLanguage(language);
  OSTRA_RETURN_IF_ERROR(conformance::RegisterConformanceKernels());
  OSTRA_ASSIGN_OR_RETURN(const conformance::KernelFolder kernels, conformance::KernelFolder::Create());
  ParityReport report{std::string(devices[0].name.GetView()), arguments.language, {}};
  RunSuite({kernels.GetUrl(), devices[0].filterWeightBits}, report.rows);
  OSTRA_RETURN_IF_ERROR(WriteReport(arguments.isJson ? FormatParityReportAsJson(report) : FormatParityReport(report)));
  return CheckParityReport(report);
}

}  // namespace ostra::tool
