#include "tests/parallelprogram/noise_fixture.h"

#include "noise_test_kernels.h"

namespace ostra::test {

Block<RenderNoiseRef> g_noiseData;

namespace {

// Keeps its noises where tests can see them.
class NoiseKeeper final : public KernelBase<NoiseKeeper> {
 public:
  static constexpr const char* kComponentName = "net.ostra.test.noisekeeper";
  Result<void> Init() override {
    _workGroupSize = {1, 1, 1};
    OSTRA_RETURN_IF_ERROR(AddParameter("value", _value));
    return AddParameter("noiseData", _noiseData);
  }
  Result<void> Kernel(const Vec3<UInt32>&, const Vec3<UInt32>&, const Vec3<UInt32>&) override {
    g_noiseData = _noiseData;
    return OK;
  }

 private:
  Int32 _value = 0;
  Block<RenderNoiseRef> _noiseData;
};

Result<void> RegisterAll() {
  OSTRA_ASSIGN_OR_RETURN(ClassRegistry & registry, ClassRegistry::Find(kKernelClassRegistry));
  OSTRA_ASSIGN_OR_RETURN(const ClassRef keeper, Class::Create<NoiseKeeper>("net.ostra.test.noisekeeper"_id));
  OSTRA_RETURN_IF_ERROR(registry.Insert(keeper));
  for (const auto& entry : GetKernels_noise_test()) {
    OSTRA_ASSIGN_OR_RETURN(const ClassRef kernelClass, entry.create());
    OSTRA_RETURN_IF_ERROR(registry.Insert(kernelClass));
  }
  return OK;
}

}  // namespace

Result<void> RegisterNoiseKernels() {
  static const Result<void> result = RegisterAll();
  return result;
}

RenderNoiseRef MakeNoise(const Id& id, Int32 seed) {
  auto registry = ClassRegistry::Find(kRenderNoiseRegistry);
  EXPECT_THAT(registry, IsOk());
  auto noise = (*registry->FindEntryValue(id))->CreateObject<RenderNoiseInterface>();
  EXPECT_THAT(noise, IsOk());
  EXPECT_THAT((*noise)->Init(seed, 10, id), IsOk());
  return *noise;
}

}  // namespace ostra::test
