#include "bench/workloads/virtual_kernels.h"

#include "ostra/object/registration.h"
#include "parallelprogram/program/kernel_base.h"

namespace bench {

using namespace ostra;

namespace {

class SaxpyKernel final : public KernelBase<SaxpyKernel> {
 public:
  static constexpr const char* kComponentName = kVirtualSaxpy;
  Result<void> Init() override {
    _workGroupSize = {256, 1, 1};
    OSTRA_RETURN_IF_ERROR(AddParameter("a", _a));
    OSTRA_RETURN_IF_ERROR(AddParameter("x", _x));
    return AddParameter("y", _y);
  }
  Result<void> Kernel(const Vec3<UInt32>& id, const Vec3<UInt32>&, const Vec3<UInt32>&) override {
    _y[id.x] += _a * _x[id.x];
    return OK;
  }

 private:
  Float32 _a = 0;
  Block<Float32> _x, _y;
};

class IndexKernel final : public KernelBase<IndexKernel> {
 public:
  static constexpr const char* kComponentName = kVirtualIndex;
  Result<void> Init() override {
    _workGroupSize = {256, 1, 1};
    return AddParameter("values", _values);
  }
  Result<void> Kernel(const Vec3<UInt32>& id, const Vec3<UInt32>&, const Vec3<UInt32>&) override {
    _values[id.x] = id.x;
    return OK;
  }

 private:
  Block<UInt32> _values;
};

}  // namespace

Result<void> RegisterVirtualKernels(ModuleDescriptor& module) {
  OSTRA_ASSIGN_OR_RETURN(ClassRef saxpy, Class::Create<SaxpyKernel>(Id("bench.saxpy"_s)));
  OSTRA_RETURN_IF_ERROR(RegisterClass(module, kKernelClassRegistry, saxpy));
  OSTRA_ASSIGN_OR_RETURN(ClassRef index, Class::Create<IndexKernel>(Id("bench.index"_s)));
  return RegisterClass(module, kKernelClassRegistry, index);
}

}  // namespace bench
