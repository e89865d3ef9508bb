// A kernel class for tests: multiplies "values" (Float32) by "factor".
#pragma once

#include "parallelprogram/program/kernel_base.h"

namespace ostra::test {

// `Form` is the class to build on, such as KernelBase.
template <template <class> class Form>
class ScaleKernel final : public Form<ScaleKernel<Form>> {
 public:
  static constexpr const char* kComponentName = "net.ostra.test.scale";

  Result<void> Init() override {
    this->_workGroupSize = {64, 1, 1};
    OSTRA_RETURN_IF_ERROR(this->AddParameter("values", _values));
    return this->AddParameter("factor", _factor);
  }

  Result<void> Kernel(const Vec3<UInt32>& global, const Vec3<UInt32>&, const Vec3<UInt32>&) override {
    if (global.x < _values.GetCount()) _values[global.x] *= _factor;
    return OK;
  }

 private:
  Block<Float32> _values;
  Float32 _factor = 1;
};

}  // namespace ostra::test
