#include "tests/kernels/kernel_runner.h"

#include <algorithm>

#include "tests/kernels/linked_kernels.h"

namespace ostra::test {
namespace {

ClassRef MakeKernelClass(const std::string& id) {
  for (const KernelTable table : LinkedKernels::GetAll()) {
    for (const auto& entry : table) {
      if (entry.id != id) continue;
      auto kernelClass = entry.create();
      EXPECT_THAT(kernelClass, IsOk());
      EXPECT_EQ((*kernelClass)->GetId().GetView(), id);
      return *kernelClass;
    }
  }
  ADD_FAILURE() << "There is no kernel " << id;
  std::abort();
}

}  // namespace

KernelRunner::KernelRunner(const std::string& id) : KernelRunner(MakeKernelClass(id)) {}

KernelRunner::KernelRunner(const ClassRef& kernelClass) : _class(kernelClass) {
  auto kernel = _class->CreateObject<KernelInterface>();
  EXPECT_THAT(kernel, IsOk());
  _kernel = *kernel;
  EXPECT_THAT(_kernel->Init(), IsOk());
  _range = FindInterface<KernelRangeInterface>(*_kernel);
  _groups = FindInterface<KernelGroupInterface>(*_kernel);
  EXPECT_TRUE(_range || _groups);
}

void KernelRunner::SetTypedValue(const char* name, const DataType& type, const void* value) {
  const KernelParameter* parameter = FindParameter(name);
  ASSERT_TRUE(parameter) << name;
  ASSERT_TRUE(parameter->type == type) << name << " is a " << parameter->type.GetView();
  EXPECT_THAT(_kernel->Set(MakeName(name), value), IsOk());
}

void KernelRunner::SetTypedBuffer(const char* name, const conformance::BufferElements& elements) {
  const KernelParameter* parameter = FindParameter(name);
  ASSERT_TRUE(parameter) << name;
  ASSERT_TRUE(parameter->type == elements.blockType) << name << " is a " << parameter->type.GetView();
  std::vector<Byte>& bytes = _buffers[name];
  const Int size = elements.elementType.GetSize();
  bytes.resize(static_cast<std::size_t>(elements.count * size));
  std::memcpy(bytes.data(), elements.first, bytes.size());
  const Block<Generic> block(reinterpret_cast<Generic*>(bytes.data()), elements.count, size);
  EXPECT_THAT(_kernel->Set(MakeName(name), &block), IsOk());
}

void KernelRunner::SetCounter(const char* name, UInt32 value) {
  const KernelParameter* parameter = FindParameter(name);
  ASSERT_TRUE(parameter) << name;
  ASSERT_TRUE(parameter->type == GetDataType<AtomicUInt32*>()) << name << " is a " << parameter->type.GetView();
  _counters[name].Store(value);
  EXPECT_THAT(_kernel->Set(MakeName(name), &_counters[name]), IsOk());
}

void KernelRunner::SetNoise(const Id& classId, Int32 seed) {
  auto registry = ClassRegistry::Find(kRenderNoiseRegistry);
  ASSERT_THAT(registry, IsOk());
  auto noiseClass = registry->FindEntryValue(classId);
  ASSERT_THAT(noiseClass, IsOk());
  auto noise = (*noiseClass)->CreateObject<RenderNoiseInterface>();
  ASSERT_THAT(noise, IsOk());
  ASSERT_THAT((*noise)->Init(seed, kNoiseDepth, classId), IsOk());
  _noise = *noise;
  const Block<RenderNoiseRef> block(&_noise, 1);
  EXPECT_THAT(_kernel->Set("noiseData", &block), IsOk());
}

// In ascending order, but backwards for small pieces: groups do not need each other.
Result<void> KernelRunner::RunGroups(const Vec3<UInt32>& extent, Bool isOneByOne, Bool isInSmallPieces,
                                     Bool isOrdered) {
  KernelGroups groups;
  groups.isOrdered = isOrdered;
  groups.count = (extent + _kernel->GetKernelWorkGroupSize() - 1u) / _kernel->GetKernelWorkGroupSize();
  const UInt64 count = UInt64{groups.count.x} * groups.count.y * groups.count.z;
  const UInt64 piece = isOneByOne ? 1 : isInSmallPieces ? 2 : count;
  for (UInt64 i = 0; i < (count + piece - 1) / piece; ++i) {
    groups.first = (isInSmallPieces ? (count + piece - 1) / piece - 1 - i : i) * piece;
    groups.end = std::min(groups.first + piece, count);
    OSTRA_RETURN_IF_ERROR(_groups->RunGroups(groups));
  }
  return OK;
}

Result<void> KernelRunner::Run(const Vec3<UInt32>& extent, Way way) {
  const Bool isOneByOne = way == Way::kOneByOne;
  if (isOneByOne && !_groups) return RunOneByOne(extent);
  using kernel::InstructionLevel;
  const auto level = kernel::g_instructionLevel;
  if (way == Way::kBaseline || way == Way::kBaselineInSmallPieces)
    kernel::g_instructionLevel = InstructionLevel::kBaseline;
  if (way == Way::kVectors256 || way == Way::kVectors256InSmallPieces)
    kernel::g_instructionLevel = std::min(level, InstructionLevel::kVectors256);
  const Bool isInSmallPieces =
      way == Way::kInSmallPieces || way == Way::kBaselineInSmallPieces || way == Way::kVectors256InSmallPieces;
  const Bool isOrdered = way == Way::kOrdered;
  Result<void> result = _groups ? RunGroups(extent, isOneByOne, isInSmallPieces, isOneByOne || isOrdered)
                                : RunPieces(extent, isInSmallPieces, isOrdered);
  kernel::g_instructionLevel = level;
  return result;
}

Result<void> KernelRunner::RunRange(const KernelRange& range) {
  KernelRange stoppable = range;
  if (!range.stop) stoppable.stop = &_stop;
  return _range->RunRange(stoppable);
}

std::vector<Byte> KernelRunner::GetState() const {
  std::vector<Byte> state;
  for (const auto& [name, bytes] : _buffers) state.insert(state.end(), bytes.begin(), bytes.end());
  for (const auto& [name, counter] : _counters) {
    const UInt32 value = counter.LoadRelaxed();
    const auto* bytes = reinterpret_cast<const Byte*>(&value);
    state.insert(state.end(), bytes, bytes + sizeof(value));
  }
  return state;
}

const KernelParameter* KernelRunner::FindParameter(const char* name) const {
  return _kernel->GetKernelParameterMap().Find(MakeName(name));
}

CString KernelRunner::MakeName(const char* name) {
  auto made = CString::Create(name);
  EXPECT_THAT(made, IsOk());
  return *made;
}

Result<void> KernelRunner::RunOneByOne(const Vec3<UInt32>& extent) {
  const Vec3<UInt32>& size = _kernel->GetKernelWorkGroupSize();
  for (UInt32 z = 0; z < extent.z; ++z)
    for (UInt32 y = 0; y < extent.y; ++y)
      for (UInt32 x = 0; x < extent.x; ++x)
        OSTRA_RETURN_IF_ERROR(
            _kernel->Kernel({x, y, z}, {x % size.x, y % size.y, z % size.z}, {x / size.x, y / size.y, z / size.z}));
  return OK;
}

Result<void> KernelRunner::RunPieces(const Vec3<UInt32>& extent, Bool isInSmallPieces, Bool isOrdered) {
  constexpr UInt32 kPieceSizes[] = {7, 1, 16, 5, 3, 33, 8, 2};
  const UInt32 total = extent.x * extent.y * extent.z;
  std::size_t piece = 0;
  for (UInt32 first = 0; first < total;) {
    const UInt32 size = isInSmallPieces ? kPieceSizes[piece++ % std::size(kPieceSizes)] : total;
    const UInt32 count = std::min(size, total - first);
    OSTRA_RETURN_IF_ERROR(
        RunRange({.extent = extent, .first = first, .count = count, .isOrdered = isOrdered, .stop = &_stop}));
    first += count;
  }
  return OK;
}

}  // namespace ostra::test
