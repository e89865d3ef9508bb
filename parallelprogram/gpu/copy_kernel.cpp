#include "parallelprogram/gpu/copy_kernel.h"

#include <algorithm>

#include "ostra/core/diagnostics.h"
#include "ostra/object/class.h"
#include "parallelprogram/device/cache_keys.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

constexpr UInt32 kGroupSize = 256;

constexpr String kBody =
    "uint copyIndex = InGlobalInvocationID.x + InWorkGroupID.y * 16776960u; \n"
    "if (copyIndex < UNIFORM(copyCount)) \n"
    "{ \n"
    " UNIFORM_BUFFER(targetData)[UNIFORM(targetOffset) + copyIndex] = "
    "UNIFORM_BUFFER(sourceData)[UNIFORM(sourceOffset) + copyIndex]; \n"
    "} \n"_s;

struct CopyNames {
  InternedId copyCount = "copyCount"_iid;
  InternedId sourceOffset = "sourceOffset"_iid;
  InternedId targetOffset = "targetOffset"_iid;
  InternedId sourceData = "sourceData"_iid;
  InternedId targetData = "targetData"_iid;
};

const CopyNames& GetNames() {
  static const CopyNames names;
  return names;
}

Result<void> Describe(DrawportProgramDescription& program, const DrawportParameterBinder& binder) {
  constexpr DrawportStage kCompute = DrawportStage::Compute;
  const CopyNames& names = GetNames();
  OSTRA_RETURN_IF_ERROR(program.SetParameterInitializationHandler(binder, HashText(kCopyKernelId)));
  OSTRA_RETURN_IF_ERROR(program.AddRequiredFeature(kCompute, DrawportFeature::ComputeShader));
  OSTRA_RETURN_IF_ERROR(program.AddRequiredFeature(kCompute, DrawportFeature::ShaderStorageBuffer));
  for (const InternedId& name : {names.copyCount, names.sourceOffset, names.targetOffset})
    OSTRA_RETURN_IF_ERROR(program.AddUniformParameter(kCompute, DrawportShaderValueType::UInt, name));
  DrawportStructLayout word;
  word.typeName = "float"_s;
  word.byteSize = 4;
  OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(kCompute, word, names.sourceData, DrawportBufferAccess::ReadOnly));
  OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(kCompute, word, names.targetData, DrawportBufferAccess::ReadWrite));
  OSTRA_RETURN_IF_ERROR(program.AddCode(kCompute, kAppendCode, kBody));
  OSTRA_RETURN_IF_ERROR(program.SetComputeShaderProperties(kGroupSize, 1, 1));
  return program.SetDebugLabel(kCopyKernelId);
}

// Whole words of `count` elements.
UInt32 ToWords(Int count, Float32 wordsPerElement) {
  constexpr Float32 kBeyondAll = 4294967296.0f;
  const Float32 words = static_cast<Float32>(count) * wordsPerElement;
  return words >= kBeyondAll ? UINT32_MAX : static_cast<UInt32>(std::max(words, 0.0f));
}

// One run, in words.
struct Copied {
  DrawportDeviceBuffer& source;
  DrawportDeviceBuffer& target;
  UInt32 count, sourceOffset, targetOffset;
};

Result<void> Bind(const Copied& copied, DrawportProgramFactory& factory, DrawportParameterValueSet& values) {
  const CopyNames& names = GetNames();
  const auto setUInt = [&](const InternedId& name, UInt32 value) {
    return factory.SetParameterUInt(values, factory.GetParameterHandle(name), value);
  };
  OSTRA_RETURN_IF_ERROR(setUInt(names.copyCount, copied.count));
  OSTRA_RETURN_IF_ERROR(setUInt(names.sourceOffset, copied.sourceOffset));
  OSTRA_RETURN_IF_ERROR(setUInt(names.targetOffset, copied.targetOffset));
  OSTRA_RETURN_IF_ERROR(
      factory.SetParameterBuffer(values, factory.GetBufferParameterHandle(names.sourceData), &copied.source));
  return factory.SetParameterBuffer(values, factory.GetBufferParameterHandle(names.targetData), &copied.target);
}

}  // namespace

Result<void> DeviceCopy::Build(const GpuContextData& data) {
  OSTRA_ASSIGN_OR_RETURN(GpuComputeRef compute, CreateObject<GpuComputeInterface>(kGpuComputeClass));
  GpuComputeCallbacks callbacks;
  OSTRA_ASSIGN_OR_RETURN(callbacks.hash, Delegate<Result<void>(DrawportHashStream&)>::Create(
                                             [](DrawportHashStream& stream) -> Result<void> {
                                               stream.Write(MixKey(HashText(kCopyKernelId)));
                                               return OK;
                                             }));
  // Each run brings a binder of its own.
  OSTRA_ASSIGN_OR_RETURN(callbacks.bind,
                         DrawportParameterBinder::Create([](DrawportProgramFactory&, DrawportParameterValueSet&,
                                                            Block<const DrawportParameter>) -> Result<void> {
                           return OSTRA_ILLEGAL_STATE("The copy kernel has values during a copy alone.");
                         }));
  OSTRA_ASSIGN_OR_RETURN(callbacks.build,
                         DrawportProgramBuilder::Create([binder = callbacks.bind](DrawportProgramDescription& program) {
                           return Describe(program, binder);
                         }));
  OSTRA_RETURN_IF_ERROR(compute->Init(data.context, callbacks, GpuComputeOptions()));
  Reset();
  _compute = std::move(compute);
  return OK;
}

UInt32 DeviceCopy::GetWordCount(const Range& range) { return ToWords(range.count, range.wordsPerElement); }

Result<void> DeviceCopy::Run(const GpuContextData& data, DrawportDeviceBuffer& source, DrawportDeviceBuffer& target,
                             const Range& range) {
  const UInt32 asked = GetWordCount(range);
  if (asked == 0) return OK;
  Copied copied{source, target, 0, ToWords(range.sourceOffset, range.wordsPerElement),
                ToWords(range.targetOffset, range.wordsPerElement)};
  if (asked > kMaxWords) WarningOutput("A copy of @ words was cut to @ words.", asked, kMaxWords);
  // Offsets that single precision has rounded up must not lead behind the end.
  const Int words =
      std::min(source.GetSize() / 4 - Int{copied.sourceOffset}, target.GetSize() / 4 - Int{copied.targetOffset});
  copied.count = static_cast<UInt32>(std::clamp<Int>(words, 0, asked));
  if (!_compute) return OSTRA_ILLEGAL_STATE("The copy kernel has not been built.");
  OSTRA_ASSIGN_OR_RETURN(const DrawportParameterBinder bind,
                         DrawportParameterBinder::Create(
                             [&copied](DrawportProgramFactory& factory, DrawportParameterValueSet& values,
                                       Block<const DrawportParameter>) { return Bind(copied, factory, values); }));
  OSTRA_RETURN_IF_ERROR(_compute->UpdateUniformsWith(data.context, bind));
  OSTRA_RETURN_IF_ERROR(data.GetCommandList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
  OSTRA_RETURN_IF_ERROR(_compute->Dispatch(std::min<UInt32>(copied.count >> 8, 65534) + 1, 1, 1));
  return data.GetCommandList().Execute(true);
}

void DeviceCopy::Reset() {
  if (_compute) _compute->Reset();
  _compute = nullptr;
}

}  // namespace ostra
