// The methods of KernelInterface for reflection.
#pragma once

#include <array>

#include "ostra/object/reflection.h"
#include "parallelprogram/program/kernel_interface.h"

namespace ostra {

// The methods in slot order, for the reflection record.
inline auto GetKernelInterfaceMethods() {
  using I = KernelInterface;
  return std::array{
      DescribeMethod<&I::Kernel>("Kernel", {"InGlobalInvocationID", "InLocalInvocationID", "InWorkGroupID"}),
      DescribeMethod<&I::Set>("Set", {"paramName", "data"}),
      DescribeMethod<&I::Init>("Init", {}),
      DescribeMethod<&I::GetKernelParameterMap>("GetKernelParameterMap", {}),
      DescribeMethod<&I::GetKernelWorkGroupSize>("GetKernelWorkGroupSize", {}),
      DescribeMethod<&I::GetSingleThreadedThreshold>("GetSingleThreadedThreshold", {}),
      DescribeMethod<&I::GetGranularity>("GetGranularity", {}),
  };
}

}  // namespace ostra
