#include "parallelprogram/module/kernel_base_class.h"

#include "parallelprogram/program/kernel_base.h"

OSTRA_UNIT("kernelbase_impl");

namespace ostra {
namespace {

class BareKernel final : public KernelBase<BareKernel> {
 public:
  static constexpr const char* kComponentName = "net.ostra.kernelclasses.base";
  Result<void> Kernel(const Vec3<UInt32>&, const Vec3<UInt32>&, const Vec3<UInt32>&) override {
    return OSTRA_NOT_IMPLEMENTED("The kernel base class computes nothing.");
  }
  Result<void> Init() override { return OK; }
};

}  // namespace

Result<ClassRef> CreateKernelBaseClass() { return Class::Create<BareKernel>(kKernelBaseClass); }

}  // namespace ostra
