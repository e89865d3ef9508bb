#include "plans/run_kernel.h"

#include <algorithm>
#include <optional>

#include "ostra/core/catch_exceptions.h"
#include "parallelprogram/device/step_limit.h"
#include "parallelprogram/kernelruntime/kernel_runtime.h"
#include "parallelprogram/program/kernel_print_text.h"
#include "plans/run/build_messages.h"
#include "plans/run/prepare_kernel.h"
#include "plans/run/program_run.h"
#include "plans/start_gpu.h"
#include "plans/usage_error.h"

OSTRA_UNIT("run_kernel");

namespace ostra {

using namespace plans;

namespace {

constexpr std::string_view kFailure = "The kernel cannot be run";

// What messages call the members of a request.
constexpr SettingNames kNames = {.input = "inputs",
                                 .output = "outputs",
                                 .value = "values",
                                 .swap = "swaps",
                                 .texture = "textures",
                                 .size = "the size",
                                 .backend = "isOnGpu"};

class KeptPrints final : public PrintSink {
 public:
  explicit KeptPrints(KernelRunResult& result) : _result(result) {}
  Result<void> Take(ParallelProgramInterface& program, std::string_view, Int) override {
    auto* const reports = FindInterface<KernelReportInterface>(program);
    if (!reports) return OK;
    OSTRA_ASSIGN_OR_RETURN(const KernelPrints taken, reports->TakePrints());
    for (const KernelPrint& print : taken.prints) _result.prints.push_back(FormatKernelPrint(print));
    _result.lostPrintCount += taken.lostCount;
    return OK;
  }
  void Flush() override {}

 private:
  KernelRunResult& _result;
};

Result<Extents> MakeExtents(const std::vector<Int>& size) {
  if (size.empty()) return Extents();
  std::string text;
  for (const Int side : size) text += (text.empty() ? "" : "x") + std::to_string(side);
  return ParseExtents(text);
}

// A kernel that is ready, and its class on the CPU.
struct ReadyKernel {
  PreparedKernel prepared;
  std::string classId;
};

}  // namespace

class KernelRunner::Implementation {
 public:
  Implementation(Host& host, KernelRunnerSettings settings)
      : _host(host), _settings(std::move(settings)), _messages(GetObserver()) {}

  Result<void> Start() {
    const KernelRuntimeSettings settings = {.cacheFolder = _settings.cacheFolder,
                                            .isFast = _settings.isFast,
                                            .isChecked = _settings.isChecked,
                                            .isOfLanguageAlone = _settings.isChecked,
                                            .observer = &_messages};
    OSTRA_ASSIGN_OR_RETURN(KernelRuntime runtime, KernelRuntime::Create(_host, settings));
    _runtime.emplace(std::move(runtime));
    return OK;
  }

  Result<KernelRunResult> Run(const Url& file, const KernelRunRequest& request) {
    if (request.iterationCount < 1)
      return OSTRA_USAGE_ERROR("a kernel is dispatched once or more, not @ times", request.iterationCount);
    OSTRA_ASSIGN_OR_RETURN(const RunOptions options, MakeOptions(file, request));
    if (request.isOnGpu) OSTRA_RETURN_IF_ERROR(StartGpu(_host, "without isOnGpu the kernel runs on the CPU"));
    OSTRA_ASSIGN_OR_RETURN(const ReadyKernel kernel, Prepare(options));
    const KernelParameters& parameters = kernel.prepared.parameters;
    for (const std::string& name : request.results)
      OSTRA_RETURN_IF_ERROR(parameters.Get("results", name, {ParameterKind::Buffer}));
    OSTRA_ASSIGN_OR_RETURN(RunPlan plan, MakeRunPlan(options, kernel.prepared.opened, parameters));
    for (const PlannedTexture& texture : plan.textures)
      for (const std::string& note : texture.contents.notes) GetObserver().Note(note);
    return Execute(options, kernel.classId, plan, request.results);
  }

 private:
  WorkObserver& GetObserver() { return _settings.observer ? *_settings.observer : _diagnosticsAlone; }

  Result<RunOptions> MakeOptions(const Url& file, const KernelRunRequest& request) const {
    RunOptions options;
    options.kernelFile = file;
    options.templateArgument = request.type;
    options.inputs = request.inputs;
    options.outputs = request.outputs;
    options.settings = request.values;
    options.textures = request.textures;
    options.swaps = request.swaps;
    OSTRA_ASSIGN_OR_RETURN(options.size, MakeExtents(request.size));
    options.iterationCount = request.iterationCount;
    options.backend = request.isOnGpu ? Backend::Gpu : Backend::Cpu;
    options.isFast = _settings.isFast;
    options.isChecked = _settings.isChecked;
    options.cache = {_settings.cacheFolder, "KernelRunnerSettings::cacheFolder"};
    options.names = kNames;
    if (options.templateArgument.empty()) OSTRA_RETURN_IF_ERROR(SplitTemplateName(options));
    return options;
  }

  Result<ReadyKernel> Prepare(const RunOptions& options) {
    if (options.backend == Backend::Gpu) {
      OSTRA_ASSIGN_OR_RETURN(PreparedKernel prepared, PrepareKernel(options, _host, GetObserver()));
      return ReadyKernel{std::move(prepared), {}};
    }
    OSTRA_ASSIGN_OR_RETURN(kernelruntime::OpenedKernel opened,
                           kernelruntime::OpenedKernel::Open({options.kernelFile, options.templateArgument}));
    OSTRA_ASSIGN_OR_RETURN(const LoadedKernel loaded, _runtime->Load(options.kernelFile, options.templateArgument));
    const std::string classId(loaded.GetClassId().GetView());
    OSTRA_ASSIGN_OR_RETURN(KernelParameters parameters, KernelParameters::Read(classId));
    return ReadyKernel{{std::move(opened), std::move(parameters)}, classId};
  }

  Result<KernelRunResult> Execute(const RunOptions& options, const std::string& classId, RunPlan& plan,
                                  const std::vector<std::string>& results) {
    const Bool isOnGpu = options.backend == Backend::Gpu;
    const ProgramFile file = {.kernelFile = options.kernelFile,
                              .templateArgument = options.templateArgument,
                              .reports = {.hasReports = true, .hasChecks = options.isChecked},
                              .stepLimit = isOnGpu ? GetDefaultStepLimit() : kDefaultStepLimit,
                              .classId = classId,
                              .observer = &GetObserver()};
    OSTRA_ASSIGN_OR_RETURN(ProgramRun run,
                           ProgramRun::Create(plan, isOnGpu ? kGpuProgramClass : kCpuProgramClass, file));
    KernelRunResult result;
    KeptPrints prints(result);
    run.ShowPrints(prints, "");
    const auto progress = GetObserver().Begin("running", options.iterationCount, "dispatches");
    OSTRA_ASSIGN_OR_RETURN(result.milliseconds, run.Run(options.iterationCount, *progress));
    for (const PlannedCounter& counter : plan.counters) {
      OSTRA_ASSIGN_OR_RETURN(const UInt32 value, run.GetCounter(counter.name));
      result.counters.emplace_back(counter.name.GetView(), value);
    }
    for (const PlannedBuffer& buffer : plan.buffers) OSTRA_RETURN_IF_ERROR(Keep(run, plan, buffer, results, result));
    return result;
  }

  // A buffer that is written to a file or returned.
  static Result<void> Keep(const ProgramRun& run, const RunPlan& plan, const PlannedBuffer& buffer,
                           const std::vector<std::string>& results, KernelRunResult& result) {
    const std::string name(buffer.name.GetView());
    const Bool isResult = std::find(results.begin(), results.end(), name) != results.end();
    if (!isResult && !buffer.target) return OK;
    OSTRA_ASSIGN_OR_RETURN(Array<Generic> elements, run.GetBuffer(buffer.name));
    if (buffer.target)
      OSTRA_RETURN_IF_ERROR(SaveBuffer(*buffer.target, buffer.elementType, elements.GetFirstBlock(), plan.pictureSize));
    if (isResult) result.buffers.push_back({name, std::move(elements)});
    return OK;
  }

  Host& _host;
  const KernelRunnerSettings _settings;
  WorkObserver _diagnosticsAlone;
  BuildMessages _messages;  // outlives the runtime
  std::optional<KernelRuntime> _runtime;
};

KernelRunner::KernelRunner(std::unique_ptr<Implementation> implementation)
    : _implementation(std::move(implementation)) {}
KernelRunner::KernelRunner(KernelRunner&&) noexcept = default;
KernelRunner& KernelRunner::operator=(KernelRunner&&) noexcept = default;
KernelRunner::~KernelRunner() = default;

Result<KernelRunner> KernelRunner::Create(Host& host, KernelRunnerSettings settings) {
  return CatchExceptions(kOstraUnit, __LINE__, kFailure, [&]() -> Result<KernelRunner> {
    auto implementation = std::make_unique<Implementation>(host, std::move(settings));
    OSTRA_RETURN_IF_ERROR(implementation->Start());
    return KernelRunner(std::move(implementation));
  });
}

Result<KernelRunResult> KernelRunner::Run(const Url& file, const KernelRunRequest& request) {
  return CatchExceptions(kOstraUnit, __LINE__, kFailure, [&] { return _implementation->Run(file, request); });
}

}  // namespace ostra
