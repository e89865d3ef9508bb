#include "parallelprogram/gpu/gpu_kernel_compiler.h"

#include <algorithm>

#include "ostra/drawport/settings.h"
#include "ostra/jobs/job.h"
#include "parallelprogram/base/configuration_variables.h"
#include "parallelprogram/device/cache_keys.h"
#include "parallelprogram/device/kernel_mistakes.h"
#include "parallelprogram/program/noise_modes.h"
#include "parallelprogram/shaderassembly/assembly_records.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

constexpr DrawportStage kCompute = DrawportStage::Compute;

constexpr DrawportFeature kRequiredFeatures[] = {DrawportFeature::ComputeShader, DrawportFeature::ShaderStorageBuffer,
                                                 DrawportFeature::AtomicOperations, DrawportFeature::ImageLoadStore};

struct NoiseFunctionUse {
  Id id;
  Int32 variant;
};

// In the order in which the GPU layer is given them. Sema comes twice: its second variant is a function of its own.
constexpr NoiseFunctionUse kNoiseFunctions[] = {
    {"net.ostra.drawport.noise.turbulence4d"_id, 0},
    {kGaseousNoise, 0},
    {kElectricNoise, 0},
    {kBoxNoise, 0},
    {kBlisteredTurbulenceNoise, 0},
    {kCranalNoise, 0},
    {kBuyaNoise, 0},
    {kDentsNoise, 0},
    {kCellNoise, 0},
    {kDisplacedTurbulenceNoise, 0},
    {kHamaNoise, 0},
    {kLukaNoise, 0},
    {kModNoise, 0},
    {kNakiNoise, 0},
    {kNutousNoise, 0},
    {kOberNoise, 0},
    {kPezoNoise, 0},
    {kPoxoNoise, 0},
    {kSemaNoise, 0},
    {kStuplNoise, 0},
    {kVlNoise, 0},
    {kWavyTurbulenceNoise, 0},
    {kZadaNoise, 0},
    {kSemaNoise, 2},
};

Bool IsDeclared(const DrawportProgramDescription& program, const InternedId& name) {
  for (const DrawportParameter& parameter : program.GetParameters())
    if (parameter.stage == kCompute && parameter.name == name) return true;
  return false;
}

// A kernel may declare the values of a noise itself.
Result<void> AddNoiseUniform(DrawportProgramDescription& program, std::string_view pattern, Int number,
                             DrawportShaderValueType type) {
  OSTRA_ASSIGN_OR_RETURN(const InternedId name, InternedId::Create(pattern, number));
  return IsDeclared(program, name) ? Result<void>(OK) : program.AddUniformParameter(kCompute, type, name);
}

Result<void> AddNoises(DrawportProgramDescription& program, Int tableCount) {
  for (const NoiseFunctionUse& use : kNoiseFunctions)
    OSTRA_RETURN_IF_ERROR(program.AddNoiseFunction(kCompute, use.id, use.variant));
  for (Int i = 0; i < tableCount; ++i) {
    OSTRA_RETURN_IF_ERROR(AddNoiseUniform(program, kNoiseModePattern, i, DrawportShaderValueType::Int));
    OSTRA_RETURN_IF_ERROR(AddNoiseUniform(program, kNoiseSeedPattern, i, DrawportShaderValueType::Int));
    OSTRA_RETURN_IF_ERROR(AddNoiseUniform(program, "noiseData_@", i, DrawportShaderValueType::NoiseTable));
  }
  return OK;
}

// Nothing is added for kernels as they are compiled by themselves.
UInt64 AppendReportOptions(UInt64 hash, const KernelReportOptions& options) {
  if (!options.hasReports) hash = AppendToKey(hash, 1);
  if (options.isTraced) hash = AppendToKey(hash, 4);
  return options.hasChecks ? AppendToKey(hash, 2) : hash;
}

UInt64 HashProgram(const GpuKernel& kernel) {
  UInt64 hash = AppendToKey(MixKey(kernel.fileName.GetHashCode()), MixKey(kernel.sources.stamp));
  hash = AppendReportOptions(hash, kernel.reportOptions);
  for (const Int32 mode : kernel.noiseModes) hash = AppendToKey(hash, MixKey(static_cast<UInt32>(mode)));
  return kernel.hasKnownModes ? hash : ~hash;
}

// The modes that a program of `count` noises is built for: those that were set last, and 0 before.
Result<BaseArray<Int32>> MakeNoiseModes(const GpuKernel& kernel, Int count) {
  BaseArray<Int32> modes;
  if (!kernel.hasKnownModes) return modes;
  OSTRA_RETURN_IF_ERROR(modes.Resize(count));
  for (Int i = 0; i < count; ++i) modes[i] = i < kernel.noiseModes.GetCount() ? kernel.noiseModes[i] : 0;
  return modes;
}

// Mistakes are told in the words that the CPU program has for them.
Result<void> ExplainFailure(const GpuKernel& kernel, Result<void> compiled) {
  if (compiled) return compiled;
  return ExplainCompileError(kernel.file, kernel.templateArgument.GetView(), compiled.GetError());
}

// What does not depend on the kernel's file.
Result<void> BeginProgram(const InternedId& kernelId, DrawportProgramDescription& program,
                          const DrawportParameterBinder& binder) {
  OSTRA_RETURN_IF_ERROR(program.ReinitializeDrawportNoise(0));
  OSTRA_RETURN_IF_ERROR(program.SetParameterInitializationHandler(binder, kernelId.GetHashCode()));
  for (const DrawportFeature feature : kRequiredFeatures)
    OSTRA_RETURN_IF_ERROR(program.AddRequiredFeature(kCompute, feature));
  return OK;
}

}  // namespace

Result<void> GpuKernelCompiler::Compile(const InternedId& kernelId, Bool wait) {
  OSTRA_ASSIGN_OR_RETURN(const GpuKernelRef kernel, _kernels.Find(kernelId));
  const auto compile = [&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(const GpuComputeCallbacks callbacks, MakeCallbacks(*kernel));
    GpuComputeOptions options;
    options.wait = wait;
    OSTRA_RETURN_IF_ERROR(kernel->compute->Init(_contexts.current.context, callbacks, options));
    const Job* job = GetCurrentJob();
    if ((job && job->IsCancelled()) || kernel->HasDescription()) return OK;
    // The program was there already, so the sources were not asked for.
    OSTRA_ASSIGN_OR_RETURN(const ParsedKernel parsed, Parse(*kernel, kernel->file.GetHashCode()));
    OSTRA_ASSIGN_OR_RETURN(KernelDescription description, DescribeKernel(parsed));
    kernel->SetDescription(std::move(description));
    return OK;
  };
  Result<void> result = ExplainFailure(*kernel, compile());
  kernel->EndCompile(result, false);
  return result;
}

Result<GpuComputeCallbacks> GpuKernelCompiler::MakeCallbacks(const GpuKernel& kernel) {
  GpuComputeCallbacks callbacks;
  const InternedId id = kernel.id;
  OSTRA_ASSIGN_OR_RETURN(callbacks.hash, Delegate<Result<void>(DrawportHashStream&)>::Create(
                                             [this, id](DrawportHashStream& stream) -> Result<void> {
                                               OSTRA_ASSIGN_OR_RETURN(const GpuKernelRef found, _kernels.Find(id));
                                               stream.Write(HashProgram(*found));
                                               return OK;
                                             }));
  OSTRA_ASSIGN_OR_RETURN(callbacks.bind, _binder.Make(id));
  OSTRA_ASSIGN_OR_RETURN(callbacks.build, DrawportProgramBuilder::Create(
                                              [this, id, binder = callbacks.bind](DrawportProgramDescription& program) {
                                                return Build(id, program, binder);
                                              }));
  return callbacks;
}

Result<void> GpuKernelCompiler::Build(const InternedId& kernelId, DrawportProgramDescription& program,
                                      const DrawportParameterBinder& binder) {
  OSTRA_RETURN_IF_ERROR(BeginProgram(kernelId, program, binder));
  OSTRA_ASSIGN_OR_RETURN(const GpuKernelRef kernel, _kernels.Find(kernelId));
  OSTRA_ASSIGN_OR_RETURN(const ParsedKernel parsed, Parse(*kernel, kernel->fileName.GetHashCode()));
  // Mistakes may end glslang's HLSL front end, and the process with it.
  if (GetDrawportShadingLanguage() == kShadingLanguageHlsl)
    OSTRA_RETURN_IF_ERROR(CheckKernelMistakes(kernel->file, kernel->templateArgument.GetView()));
  return Describe(*kernel, parsed, program);
}

Result<void> GpuKernelCompiler::Describe(GpuKernel& kernel, const ParsedKernel& parsed,
                                         DrawportProgramDescription& program) {
  OSTRA_ASSIGN_OR_RETURN(KernelDescription description, DescribeKernel(parsed));
  OSTRA_ASSIGN_OR_RETURN(ShaderRecords records, MakeShaderRecords(*parsed.parser, kCompute));
  for (ShaderTexture& texture : records.textures)
    texture.format = FindStoredFormat(texture.format, _textures.GetNarrow());
  // A kernel may compute the number of a noise: there are then as many as have been set.
  if (description.usesNoise) records.noiseTableCount = std::max(records.noiseTableCount, kernel.noiseModes.GetCount());
  const Int noiseTableCount = records.noiseTableCount;
  OSTRA_ASSIGN_OR_RETURN(records.noiseModes, MakeNoiseModes(kernel, noiseTableCount));
  OSTRA_RETURN_IF_ERROR(program.SetShaderRecords(std::move(records)));
  if (description.usesNoise) OSTRA_RETURN_IF_ERROR(AddNoises(program, noiseTableCount));
  const WorkGroupSize size = description.workGroupSize;
  OSTRA_RETURN_IF_ERROR(program.SetComputeShaderProperties(size.x, size.y, size.z));
  kernel.SetDescription(std::move(description));
  return program.SetDebugLabel(kernel.id.GetView());
}

// A program with all noises takes drivers up to minutes to compile, one with those that are chosen a moment. No file is
// looked at: modes are values; a file that was edited meanwhile is read by ReloadChanged.
Result<void> GpuKernelCompiler::UpdateNoiseModes(GpuKernel& kernel) {
  constexpr Int kMaxModeChanges = 32;
  if (!kernel.usesNoise || !kernel.hasKnownModes) return OK;
  Int32 modes[kMaxNoises];
  const Int used = _noises.FindModes(kernel, modes);
  if (std::equal(modes, modes + used, kernel.noiseModes.begin(), kernel.noiseModes.end())) return OK;
  BaseArray<Int32> changed;
  OSTRA_RETURN_IF_ERROR(changed.Resize(used));
  std::copy(modes, modes + used, changed.begin());
  std::swap(kernel.noiseModes, changed);
  kernel.hasKnownModes = kernel.modeChanges < kMaxModeChanges;
  Result<void> rebuilt = Rebuild(kernel);
  if (!rebuilt) {
    // Those of the program that is still there, so that the next update tries again.
    std::swap(kernel.noiseModes, changed);
    kernel.hasKnownModes = true;
    return rebuilt;
  }
  ++kernel.modeChanges;
  return kernel.ApplyCompiled();
}

Result<void> GpuKernelCompiler::Rebuild(GpuKernel& kernel) {
  OSTRA_ASSIGN_OR_RETURN(const DrawportParameterBinder binder, _binder.Make(kernel.id));
  OSTRA_ASSIGN_OR_RETURN(
      const DrawportProgramBuilder builder,
      DrawportProgramBuilder::Create([this, &kernel, &binder](DrawportProgramDescription& program) -> Result<void> {
        OSTRA_RETURN_IF_ERROR(BeginProgram(kernel.id, program, binder));
        return Describe(kernel, kernel.parsed, program);
      }));
  Result<void> rebuilt =
      ExplainFailure(kernel, kernel.compute->ReloadProgramFactoryWith(_contexts.current.context, builder));
  kernel.EndCompile(rebuilt, true);
  return rebuilt;
}

Result<ParsedKernel> GpuKernelCompiler::Parse(GpuKernel& kernel, UInt64 hash) {
  KernelSource source;
  source.file = kernel.file;
  source.templateArgument = kernel.templateArgument;
  if (_contexts.current.drawport) source.language = _contexts.current.drawport->GetShadingLanguage();
  source.reports = kernel.reportOptions;
  source.key =
      MakeParserKey(AppendReportOptions(hash, kernel.reportOptions), kernel.id.GetHashCode(), kernel.sources.stamp);
  SourcesRead read;
  auto parsed = ParseKernel(source, _parserLock, &read);
  if (parsed) {
    read.stamp = parsed->stamp;
    OSTRA_RETURN_IF_ERROR(read.files.CopyFrom(parsed->parser->GetFiles()));
  }
  kernel.SetRead(std::move(read));
  return parsed;
}

// Looks at every kernel, not only at the active one. The stamp is kept before the program is rebuilt: a source that
// does not compile is reported once, and looked at again when it has changed again.
Result<void> GpuKernelCompiler::ReloadChanged() {
  if (!g_reloadKernelsParallelProgram) return OK;
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<GpuKernelRef> kernels, _kernels.GetAll());
  for (const GpuKernelRef& kernel : kernels) {
    const CompileState state = kernel->GetState();
    if (state != CompileState::Ready && state != CompileState::Failed) continue;
    OSTRA_RETURN_IF_ERROR(kernel->ApplyCompiled());
    OSTRA_ASSIGN_OR_RETURN(const UInt64 stamp, MakeSourcesStamp(kernel->file, kernel->sources.files));
    if (stamp == kernel->sources.stamp) continue;
    kernel->sources.stamp = stamp;
    Result<void> reloaded = ExplainFailure(*kernel, kernel->compute->ReloadProgramFactory(_contexts.current.context));
    kernel->EndCompile(reloaded, true);
    OSTRA_RETURN_IF_ERROR(kernel->ApplyCompiled());
    if (!reloaded) return reloaded;
  }
  return OK;
}

}  // namespace ostra
