#include "plans/run/program_run.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ostra/core/diagnostics.h"
#include "ostra/core/silent_diagnostics.h"
#include "ostra/jobs/job_failure.h"
#include "ostra/object/class.h"
#include "plans/profile/profile.h"
#include "plans/run/guarded_array.h"
#include "plans/stopped_work.h"

OSTRA_UNIT("program_run");

namespace ostra::plans {

namespace {
constexpr Bool kWithBarrier = false;  // what the parameter disableBarrier is then

// While it lives, nothing is said of a job that failed: the next call to the program ends with the same words, and
// those are the tool's line. Other diagnostics are said when it ends.
class QuietCompilation final : public DiagnosticListener {
 public:
  explicit QuietCompilation(WorkObserver* observer) : _observer(observer) {}
  ~QuietCompilation() override {
    for (const std::string& line : _lines)
      if (_observer) _observer->Report(line);
  }
  void Notify(DiagnosticLevel level, std::string_view text) override {
    if (level >= DiagnosticLevel::Warning && !IsJobFailure(text)) _lines.emplace_back(text);
  }

 private:
  WorkObserver* const _observer;
  SilentDiagnosticStream _silence;
  std::vector<std::string> _lines;  // guarded by the list of listeners, which is locked while they are told
};

// Advances progress by the dispatches that are done. A GPU is asked for that so seldom that it does not matter, and not
// at all where nothing is shown: there dispatches are recorded and submitted together.
class Throttle {
 public:
  Throttle(ParallelProgramInterface& program, Bool isOnGpu, WorkProgress& progress)
      : _program(program), _isWaiting(isOnGpu && progress.IsOn()), _progress(progress) {}
  Throttle(const Throttle&) = delete;
  Throttle& operator=(const Throttle&) = delete;
  ~Throttle() { _progress.Advance(_recorded); }

  Result<void> Advance() {
    if (++_recorded < _together) return OK;
    if (_isWaiting) {
      OSTRA_RETURN_IF_ERROR(_program.Execute(true));
      const Clock::time_point now = Clock::now();
      if (now - _last < std::chrono::milliseconds(50)) _together *= 2;
      _last = now;
    }
    _progress.Advance(std::exchange(_recorded, 0));
    return OK;
  }

 private:
  using Clock = std::chrono::steady_clock;
  ParallelProgramInterface& _program;
  const Bool _isWaiting;
  WorkProgress& _progress;
  Int _recorded = 0, _together = 1;
  Clock::time_point _last = Clock::now();
};

}  // namespace

Result<ProgramRun> ProgramRun::Create(RunPlan& plan, const Id& programClass, const ProgramFile& file,
                                      const DrawportContextRef* context) {
  ProgramRun run(plan, file.hasGuards && programClass == kCpuProgramClass);
  OSTRA_ASSIGN_OR_RETURN(run._program, CreateObject<ParallelProgramInterface>(programClass));
  run._isOnGpu = programClass == kGpuProgramClass;
  run._byteCount = run.CountBytes();
  run._observer = file.observer;
  OSTRA_RETURN_IF_ERROR(run.AddKernel(programClass, file, context));
  {
    ProfilePart part("upload");
    part.AddBytes(run._byteCount);
    OSTRA_RETURN_IF_ERROR(run.StoreBuffers());
    OSTRA_RETURN_IF_ERROR(run.StoreTextures());
    OSTRA_RETURN_IF_ERROR(run.SetValues());
  }
  Profile::Measure(*run._program);
  return run;
}

Int ProgramRun::CountBytes() const {
  Int bytes = 0;
  for (const PlannedBuffer& buffer : _plan->buffers) bytes += buffer.count * buffer.elementType.GetSize();
  for (const PlannedTexture& texture : _plan->textures) bytes += texture.contents.texels.GetCount();
  return bytes;
}

Result<void> ProgramRun::AddKernel(const Id& programClass, const ProgramFile& file, const DrawportContextRef* context) {
  const ProfilePart part("build");
  const Bool isGpu = programClass == kGpuProgramClass;
  Url kernelFile = file.kernelFile, resourcePath;
  if (isGpu && !file.templateArgument.empty()) {
    OSTRA_ASSIGN_OR_RETURN(TemplateFolder folder, TemplateFolder::Create(file.kernelFile, file.templateArgument));
    _templateFolder = std::make_unique<TemplateFolder>(std::move(folder));
    kernelFile = _templateFolder->GetKernelFile();
    resourcePath = _templateFolder->GetResourcePath();
  }
  OSTRA_RETURN_IF_ERROR(_program->Init(resourcePath, context, 0, isGpu && !context));
  if (auto* const reports = FindInterface<KernelReportInterface>(*_program)) {
    OSTRA_RETURN_IF_ERROR(reports->SetPrintRoom(file.printRoom));
    reports->SetStepLimit(static_cast<UInt32>(file.stepLimit));
    if (isGpu) OSTRA_RETURN_IF_ERROR(reports->SetReportOptions(file.reports));
  }
  if (!isGpu && !file.classId.empty()) {
    OSTRA_ASSIGN_OR_RETURN(kernelFile, Url::Create(file.classId));
  }
  OSTRA_ASSIGN_OR_RETURN(const InternedId name, InternedId::Create(file.kernelFile.GetName().GetView()));
  const auto quiet = isGpu ? std::make_unique<QuietCompilation>(file.observer) : nullptr;
  const auto added = _program->AddKernel(name, kernelFile, true);
  if (!added && _templateFolder) return _templateFolder->Explain(added.GetError());
  return added;
}

Result<void> ProgramRun::StoreBuffers() {
  for (PlannedBuffer& buffer : _plan->buffers) {
    OSTRA_RETURN_IF_ERROR(StoreBuffer(buffer));
    if (_plan->isRunOnce) buffer.start = GenericBaseArray();
    OSTRA_RETURN_IF_ERROR(_program->SetBufferToActiveKernelSameId(buffer.name));
  }
  return OK;
}

Result<void> ProgramRun::StoreBuffer(PlannedBuffer& buffer) {
  if (!_hasGuards || !buffer.elementType.IsPlain() || buffer.count == 0) {
    GenericBaseArray elements;
    if (_plan->isRunOnce)
      elements = std::move(buffer.start);
    else
      OSTRA_RETURN_IF_ERROR(elements.CopyFrom(buffer.start));
    return _program->StoreUniformBufferData(buffer.name, buffer.elementType, std::move(elements));
  }
  const auto* const first = static_cast<const Byte*>(buffer.start.GetFirst());
  const Bool areZero = buffer.source.empty() && std::all_of(first, first + buffer.elementType.GetSize(),
                                                            [](Byte byte) { return byte == Byte{}; });
  OSTRA_ASSIGN_OR_RETURN(StrongRef<ArrayInterface> elements, GuardedArray::Create(buffer.start, areZero));
  _guardedBuffers.push_back(std::make_unique<Array<Generic>>(std::move(elements)));
  OSTRA_ASSIGN_OR_RETURN(const Data link, Data::Create(_guardedBuffers.back().get()));
  return _program->SetGlobalBufferLink(buffer.name, link);
}

Bool ProgramRun::AreBufferEndsWhole() const {
  return std::all_of(_guardedBuffers.begin(), _guardedBuffers.end(), [](const auto& buffer) {
    return static_cast<const GuardedArray&>(*buffer->GetReference()).AreMarginsWhole();
  });
}

Result<void> ProgramRun::StoreTextures() {
  for (PlannedTexture& texture : _plan->textures) {
    TextureBindData description = texture.description;
    description._data = texture.contents.texels.GetFirst();
    OSTRA_RETURN_IF_ERROR(_program->StoreTextureBindData(texture.name, description, false));
    if (_plan->isRunOnce) texture.contents.texels = BaseArray<Byte>();
    OSTRA_RETURN_IF_ERROR(_program->SetTextureToActiveKernelSameId(texture.name));
  }
  return OK;
}

Result<void> ProgramRun::SetValues() {
  for (const PlannedUniform& uniform : _plan->uniforms)
    OSTRA_RETURN_IF_ERROR(_program->SetUniform(uniform.name, uniform.value));
  for (const PlannedCounter& counter : _plan->counters) {
    OSTRA_RETURN_IF_ERROR(_program->AddAtomicCounter(counter.name, UInt32(0)));
    OSTRA_RETURN_IF_ERROR(_program->SetAtomicCounterToActiveKernel(counter.name));
    OSTRA_RETURN_IF_ERROR(_program->SetAtomicCounter(counter.name, counter.start));
  }
  return OK;
}

Result<void> ProgramRun::Restart() {
  _sink = nullptr;  // it would print the same again
  for (const PlannedBuffer& buffer : _plan->buffers) {
    // In place: a stored buffer would be kept beside the old one.
    OSTRA_RETURN_IF_ERROR(_program->UpdateUniformBufferData(buffer.name, 0, buffer.start));
    OSTRA_RETURN_IF_ERROR(_program->SetBufferToActiveKernelSameId(buffer.name));
  }
  for (const PlannedCounter& counter : _plan->counters)
    OSTRA_RETURN_IF_ERROR(_program->SetAtomicCounter(counter.name, counter.start));
  return OK;
}

Result<Float64> ProgramRun::Run(Int iterations, WorkProgress& progress) {
  std::optional<ProfilePart> part(std::in_place, "dispatch");
  const auto start = std::chrono::steady_clock::now();
  const auto done = DispatchAll(iterations, progress);
  if (!done && _templateFolder) return _templateFolder->Explain(done.GetError());
  OSTRA_RETURN_IF_ERROR(done);
  const auto end = std::chrono::steady_clock::now();
  part.reset();
  OSTRA_RETURN_IF_ERROR(Profile::Take(*_program, _isOnGpu, _byteCount));
  return std::chrono::duration<Float64, std::milli>(end - start).count();
}

// What was printed before an error is shown before it.
Result<void> ProgramRun::Dispatch(Int number, Bool isOnlyOne) {
  const auto side = [](Int length) { return static_cast<UInt32>(length); };
  const Result<void> done = _program->DispatchKernel(side(_plan->size.width), side(_plan->size.height),
                                                     side(_plan->size.depth), kWithBarrier);
  if (_sink) {
    OSTRA_RETURN_IF_ERROR(_sink->Take(*_program, _backend, isOnlyOne ? 0 : number));
    if (!done) _sink->Flush();
  }
  return done;
}

// What is done before a dispatch.
Result<void> ProgramRun::Prepare(Int number) {
  if (number > 1)
    for (const auto& [first, second] : _plan->swaps) OSTRA_RETURN_IF_ERROR(_program->SwapBuffers(first, second));
  return _program->UpdateUniforms();
}

Result<void> ProgramRun::Step(Int number) {
  OSTRA_RETURN_IF_ERROR(Prepare(number));
  OSTRA_RETURN_IF_ERROR(Dispatch(number, true));
  return _program->Execute(true);
}

void ProgramRun::SetTrace(const KernelTrace& trace) {
  if (auto* const reports = FindInterface<KernelReportInterface>(*_program)) reports->SetTrace(trace);
}

Result<KernelPrints> ProgramRun::TakePrints() {
  auto* const reports = FindInterface<KernelReportInterface>(*_program);
  return reports ? reports->TakePrints() : Result<KernelPrints>(KernelPrints());
}

Result<void> ProgramRun::DispatchAll(Int iterations, WorkProgress& progress) {
  Throttle throttle(*_program, _isOnGpu, progress);
  for (Int i = 0; i < iterations; ++i) {
    OSTRA_RETURN_IF_ERROR(CheckStopped(_observer));
    OSTRA_RETURN_IF_ERROR(Prepare(i + 1));
    OSTRA_RETURN_IF_ERROR(Dispatch(i + 1, iterations == 1));
    OSTRA_RETURN_IF_ERROR(throttle.Advance());
  }
  return _program->Execute(true);
}

Result<Array<Generic>> ProgramRun::GetBuffer(InternedId name) const {
  OSTRA_ASSIGN_OR_RETURN(const Data data, _program->GetKernelBufferData(name));
  OSTRA_ASSIGN_OR_RETURN(const Array<Generic>& array, data.Get<Array<Generic>>());
  return array;
}

}  // namespace ostra::plans
